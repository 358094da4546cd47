# Most of a source's compile time is the platform's headers. They are compiled once for the
# component and the program, and once more together with GoogleTest for tests. Every source still
# includes what it uses.
option(TAVLO_PRECOMPILED_HEADERS "Compile the headers of the platform and of GoogleTest once" ON)

set(platform_headers <windows.h> <ole2.h> <olectl.h> <objsafe.h> <wrl/client.h> <SentelCommon.h> <TavloLib.h>)
set(language_headers <algorithm> <array> <atomic> <cstdint> <cstring> <functional> <limits> <map> <memory> <mutex>
  <optional> <ostream> <span> <sstream> <stdexcept> <string> <string_view> <type_traits> <utility> <vector>)

# Carries the headers for others; nothing links it. It knows none of the definitions that its
# users differ in.
function(carrier name)
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/precompiled/${name}.cpp CONTENT "")
  add_library(${name} OBJECT EXCLUDE_FROM_ALL ${CMAKE_BINARY_DIR}/precompiled/${name}.cpp)
  tavlo_warnings(${name})
  target_precompile_headers(${name} PRIVATE ${ARGN})
endfunction()

# To be called once the interfaces' headers and GoogleTest are targets.
function(tavlo_precompile_headers)
  if(TAVLO_PRECOMPILED_HEADERS AND WIN32)
    carrier(tavlo_precompiled ${platform_headers} ${language_headers})
    target_link_libraries(tavlo_precompiled PRIVATE tavlo_idl)
  endif()
endfunction()

# The same for tests, whose compiler options differ: to be called in their folder.
function(tavlo_precompile_test_headers)
  if(TAVLO_PRECOMPILED_HEADERS AND WIN32)
    carrier(tavlo_precompiled_tests ${platform_headers} ${language_headers} <gtest/gtest.h>)
    target_link_libraries(tavlo_precompiled_tests PRIVATE tavlo_idl gtest)
  endif()
endfunction()

# Lets a target of the component or the program use them; it links tavlo_idl. GCC 12 takes some copies
# of short texts in its own library for too long ones, and forgets here that they are not ours.
function(tavlo_use_precompiled)
  if(TAVLO_PRECOMPILED_HEADERS AND WIN32)
    foreach(target IN LISTS ARGN)
      target_precompile_headers(${target} REUSE_FROM tavlo_precompiled)
      target_compile_options(${target} PRIVATE -Wno-array-bounds -Wno-stringop-overread)
    endforeach()
  endif()
endfunction()

# A test program that links tavlo_idl and gtest.
function(tavlo_use_precompiled_tests)
  if(TAVLO_PRECOMPILED_HEADERS AND WIN32)
    foreach(target IN LISTS ARGN)
      target_precompile_headers(${target} REUSE_FROM tavlo_precompiled_tests)
    endforeach()
  endif()
endfunction()
