# What a client of the component gets: cmake --install lays it out as an SDK, which may be
# moved and used by find_package(Tavlo).
include(CMakePackageConfigHelpers)

install(TARGETS Tavlo TavloPS LIBRARY DESTINATION bin RUNTIME DESTINATION bin)
install(TARGETS tavlo RUNTIME DESTINATION bin)
install(FILES $<TARGET_FILE:Tavlo>.debug $<TARGET_FILE:TavloPS>.debug $<TARGET_FILE:tavlo>.debug DESTINATION symbols)
# The common type library lies beside the program that registers it, too.
install(FILES ${PROJECT_BINARY_DIR}/idl/SentelCommon.tlb DESTINATION bin)

install(FILES ${PROJECT_BINARY_DIR}/idl/SentelCommon.h ${PROJECT_BINARY_DIR}/idl/TavloLib.h DESTINATION include)
install(DIRECTORY include/tavlo DESTINATION include FILES_MATCHING PATTERN *.hpp)
install(FILES idl/SentelCommon.idl idl/TavloLib.idl idl/TavloInternal.idl
  ${PROJECT_BINARY_DIR}/idl/SentelCommon_i.c ${PROJECT_BINARY_DIR}/idl/TavloLib_i.c DESTINATION idl)

# Libraries of both worlds are archives of the same objects. MSVC's linker looks for .lib, and
# so does mingw-w64's when there is nothing else. Its members are named after the process that
# makes it, and its symbols after the path that it is made at, unless told otherwise.
set(import_library ${PROJECT_BINARY_DIR}/lib/Tavlo.lib)
add_custom_command(OUTPUT ${import_library}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/lib
  COMMAND ${CMAKE_DLLTOOL} --input-def ${PROJECT_SOURCE_DIR}/component/server/Tavlo.def --dllname Tavlo.dll
    --output-lib lib/Tavlo.lib --deterministic-libraries --temp-prefix Tavlo
  WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
  DEPENDS component/server/Tavlo.def
  COMMENT "Import library Tavlo.lib"
  VERBATIM)
add_custom_target(tavlo_import_library ALL DEPENDS ${import_library})
install(FILES ${import_library} component/server/Tavlo.def DESTINATION lib)
install(FILES $<TARGET_FILE:tavlo_guids> DESTINATION lib RENAME TavloGuids.lib)
install(FILES ${PROJECT_BINARY_DIR}/idl/SentelCommon.tlb ${PROJECT_BINARY_DIR}/idl/TavloLib.tlb DESTINATION lib)

set(config ${PROJECT_BINARY_DIR}/cmake/TavloConfigVersion.cmake)
write_basic_package_version_file(${config} VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES cmake/TavloConfig.cmake ${config} DESTINATION lib/cmake/Tavlo)

install(DIRECTORY samples/ DESTINATION samples PATTERN run EXCLUDE)
install(FILES packaging/natvis/tavlo.natvis DESTINATION share/natvis)
