# Highway: vectors by one source for several instruction sets, one of which is chosen at run
# time. Debian's package carries the sources that tools/setup fetches, MSYS2 a built library.
set(highway_cache ${PROJECT_SOURCE_DIR}/build/cache/highway)
if(EXISTS ${highway_cache}/complete)
  set(highway_sources ${highway_cache}/hwy/per_target.cc ${highway_cache}/hwy/targets.cc)
  add_library(tavlo_highway STATIC EXCLUDE_FROM_ALL ${highway_sources})
  target_include_directories(tavlo_highway SYSTEM PUBLIC ${highway_cache})
  target_compile_options(tavlo_highway PRIVATE -w -g0)
  set_target_properties(tavlo_highway PROPERTIES UNITY_BUILD OFF)
else()
  find_path(TAVLO_HIGHWAY_INCLUDE hwy/highway.h REQUIRED)
  find_library(TAVLO_HIGHWAY NAMES libhwy.a REQUIRED)
  add_library(tavlo_highway INTERFACE)
  target_include_directories(tavlo_highway SYSTEM INTERFACE ${TAVLO_HIGHWAY_INCLUDE})
  target_link_libraries(tavlo_highway INTERFACE ${TAVLO_HIGHWAY})
endif()

# Loops are written for AVX2 and for AVX-512 with its byte permutes. Everything below uses the
# plain ones, which are the language's own.
set(highway_definitions HWY_WANT_AVX3_DL "HWY_DISABLED_TARGETS=(HWY_SSSE3|HWY_SSE4|HWY_AVX3)")
target_compile_definitions(tavlo_highway INTERFACE ${highway_definitions})

# The Windows calling convention aligns stacks to 16 bytes only, and GCC puts wider vectors
# there as if they were aligned: the assembler makes these moves bear any address.
if(WIN32)
  target_compile_options(tavlo_highway INTERFACE -Wa,-muse-unaligned-vector-move)
endif()
