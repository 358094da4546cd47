# The same sources give the same bytes, wherever they lie and whenever they are built: no time in
# binaries and, in a build that is for a package, no folder of this machine in their debug
# information. Debuggers of a package find its sources when they are told what "tavlo" stands
# for; those of other builds just find them.
option(TAVLO_REPRODUCIBLE "Build the same bytes in every folder" OFF)
add_link_options(-Wl,--no-insert-timestamp)
if(TAVLO_REPRODUCIBLE)
  add_compile_options(
    "$<$<COMPILE_LANGUAGE:C,CXX,ASM>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=tavlo>"
    "$<$<COMPILE_LANGUAGE:C,CXX,ASM>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=tavlo/build>")
endif()
