# Boost.Thread for the target: its Windows sources from the cache that tools/setup
# fills, or the package of an MSYS2 installation.
set(boost_cache ${PROJECT_SOURCE_DIR}/build/cache/boost-thread)
if(EXISTS ${boost_cache}/complete)
  add_library(tavlo_boost_thread STATIC EXCLUDE_FROM_ALL
    ${boost_cache}/libs/thread/src/future.cpp
    ${boost_cache}/libs/thread/src/tss_null.cpp
    ${boost_cache}/libs/thread/src/win32/thread.cpp
    ${boost_cache}/libs/thread/src/win32/thread_primitives.cpp
    ${boost_cache}/libs/thread/src/win32/tss_pe.cpp)
  target_include_directories(tavlo_boost_thread SYSTEM PUBLIC ${boost_cache}/include)
  target_compile_definitions(tavlo_boost_thread PUBLIC BOOST_ALL_NO_LIB BOOST_THREAD_USE_LIB BOOST_THREAD_VERSION=5
    BOOST_USE_WINDOWS_H PRIVATE BOOST_THREAD_BUILD_LIB)
  target_compile_options(tavlo_boost_thread PRIVATE -w -g0)
  set_target_properties(tavlo_boost_thread PROPERTIES UNITY_BUILD OFF)
else()
  find_package(Boost 1.81 REQUIRED COMPONENTS thread)
  add_library(tavlo_boost_thread INTERFACE)
  target_link_libraries(tavlo_boost_thread INTERFACE Boost::thread)
endif()
