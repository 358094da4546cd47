# find_package(Tavlo) in the SDK. What there is to link and to copy:
#
#   Tavlo::Tavlo      headers (TavloLib.h, tavlo/tavlo.hpp), identifiers and the system's libraries
#   Tavlo::Guids      the identifiers alone (CLSID_..., IID_...), brought by Tavlo::Tavlo
#   Tavlo::Component  Tavlo.dll; $<TARGET_FILE:Tavlo::Component> is where it lies. Clients need not
#                     link it: they reach it by CoCreateInstance
#   Tavlo::Proxies    TavloPS.dll, for images in other processes and apartments
#   Tavlo::Program    tavlo.exe
#
# Tavlo_TYPE_LIBRARIES are the type libraries, Tavlo_IDL_DIR has the interface definitions, and
# Tavlo_NATVIS shows images to the debugger.
if(NOT WIN32)
  set(Tavlo_FOUND FALSE)
  set(Tavlo_NOT_FOUND_MESSAGE "Tavlo is for Windows; the target system is ${CMAKE_SYSTEM_NAME}.")
  return()
endif()

get_filename_component(_tavlo "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
set(Tavlo_TYPE_LIBRARIES "${_tavlo}/lib/TavloLib.tlb" "${_tavlo}/lib/SentelCommon.tlb")
set(Tavlo_IDL_DIR "${_tavlo}/idl")
set(Tavlo_NATVIS "${_tavlo}/share/natvis/tavlo.natvis")

if(NOT TARGET Tavlo::Tavlo)
  add_library(Tavlo::Guids STATIC IMPORTED)
  set_target_properties(Tavlo::Guids PROPERTIES IMPORTED_LOCATION "${_tavlo}/lib/TavloGuids.lib")

  add_library(Tavlo::Tavlo INTERFACE IMPORTED)
  set_target_properties(Tavlo::Tavlo PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${_tavlo}/include"
    INTERFACE_COMPILE_FEATURES cxx_std_20
    INTERFACE_LINK_LIBRARIES "Tavlo::Guids;ole32;oleaut32;uuid"
    INTERFACE_LINK_OPTIONS "$<$<CXX_COMPILER_ID:MSVC>:/NATVIS:${Tavlo_NATVIS}>")

  add_library(Tavlo::Component SHARED IMPORTED)
  set_target_properties(Tavlo::Component PROPERTIES
    IMPORTED_LOCATION "${_tavlo}/bin/Tavlo.dll"
    IMPORTED_IMPLIB "${_tavlo}/lib/Tavlo.lib")

  add_library(Tavlo::Proxies MODULE IMPORTED)
  set_target_properties(Tavlo::Proxies PROPERTIES IMPORTED_LOCATION "${_tavlo}/bin/TavloPS.dll")

  add_executable(Tavlo::Program IMPORTED)
  set_target_properties(Tavlo::Program PROPERTIES IMPORTED_LOCATION "${_tavlo}/bin/tavlo.exe")
endif()

foreach(_tavlo_file IN ITEMS bin/Tavlo.dll bin/TavloPS.dll bin/tavlo.exe include/TavloLib.h
    include/tavlo/tavlo.hpp lib/TavloGuids.lib)
  if(NOT EXISTS "${_tavlo}/${_tavlo_file}")
    set(Tavlo_FOUND FALSE)
    set(Tavlo_NOT_FOUND_MESSAGE "The SDK in ${_tavlo} is not complete: ${_tavlo_file} is missing.")
  endif()
endforeach()
unset(_tavlo_file)
unset(_tavlo)
