# widl turns the interface definitions into headers, GUIDs and type libraries. The
# system's own definitions (oaidl.idl, stdole2.tlb) come with Wine here and with the
# toolchain and Windows itself there.
find_program(TAVLO_WIDL NAMES widl-stable x86_64-w64-mingw32-widl widl REQUIRED)
find_path(TAVLO_WIDL_INCLUDE oaidl.idl
  PATHS /usr/include/wine/wine/windows $ENV{MINGW_PREFIX}/include
  NO_CMAKE_FIND_ROOT_PATH REQUIRED)
find_path(TAVLO_STDOLE stdole2.tlb
  PATHS /usr/lib/x86_64-linux-gnu/wine/x86_64-windows $ENV{SystemRoot}/System32
  NO_CMAKE_FIND_ROOT_PATH REQUIRED)
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(TAVLO_WIDL_FLAGS -m64 --win64 -Oicf)
# Type libraries carry the time of their making, as a number and as a local date; ours is always
# the same one.
set(TAVLO_WIDL_AT_NO_TIME ${CMAKE_COMMAND} -E env WIDL_TIME_OVERRIDE=1 TZ=UTC ${TAVLO_WIDL})

# Runs widl on idl/NAME.idl; MODES name what comes out: h (header), i (GUIDs),
# tlb (type library), p (proxies). Files go to DIRECTORY.
function(tavlo_widl name directory)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "MODES;DEPENDS")
  set(option_h -h)
  set(option_i -u)
  set(option_tlb -t)
  set(option_p -p)
  set(output_h ${name}.h)
  set(output_i ${name}_i.c)
  set(output_tlb ${name}.tlb)
  set(output_p ${name}_p.c)
  foreach(mode IN LISTS arg_MODES)
    set(finish "")
    if(mode STREQUAL tlb)
      set(finish COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/cmake/double_default.py
        ${directory}/${output_tlb})
    endif()
    add_custom_command(
      OUTPUT ${directory}/${output_${mode}}
      COMMAND ${TAVLO_WIDL_AT_NO_TIME} ${TAVLO_WIDL_FLAGS} -I ${TAVLO_WIDL_INCLUDE} -I ${PROJECT_SOURCE_DIR}/idl
        -L ${TAVLO_STDOLE} -L ${directory} ${option_${mode}} -o ${directory}/${output_${mode}} ${name}.idl
      ${finish}
      WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}/idl
      DEPENDS ${PROJECT_SOURCE_DIR}/idl/${name}.idl ${PROJECT_SOURCE_DIR}/cmake/double_default.py ${arg_DEPENDS}
      COMMENT "widl ${output_${mode}}"
      VERBATIM)
  endforeach()
endfunction()
