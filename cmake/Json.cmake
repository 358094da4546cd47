# JSON for Modern C++, headers only: through the link that tools/setup makes (a cross compiler
# must not see all of /usr/include), or from an MSYS2 installation.
find_path(TAVLO_JSON_INCLUDE nlohmann/json.hpp REQUIRED HINTS ${PROJECT_SOURCE_DIR}/build/cache/json/include
  NO_CMAKE_FIND_ROOT_PATH)
add_library(tavlo_json INTERFACE)
target_include_directories(tavlo_json SYSTEM INTERFACE ${TAVLO_JSON_INCLUDE})
