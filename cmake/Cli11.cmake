# CLI11, headers only: through the link that tools/setup makes (a cross compiler must
# not see all of /usr/include), or from an MSYS2 installation.
find_path(TAVLO_CLI11_INCLUDE CLI/CLI.hpp REQUIRED HINTS ${PROJECT_SOURCE_DIR}/build/cache/cli11/include
  NO_CMAKE_FIND_ROOT_PATH)
add_library(tavlo_cli11 INTERFACE)
target_include_directories(tavlo_cli11 SYSTEM INTERFACE ${TAVLO_CLI11_INCLUDE})
