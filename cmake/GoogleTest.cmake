# Debian's googletest package carries the sources, which build for any target.
if(EXISTS /usr/src/googletest/CMakeLists.txt)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(gtest_disable_pthreads OFF CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
else()
  find_package(GTest REQUIRED)
  add_library(gtest_main ALIAS GTest::gtest_main)
  add_library(gmock ALIAS GTest::gmock)
  add_library(gtest ALIAS GTest::gtest)
endif()
include(GoogleTest)

# A test program of GoogleTest cases. Cases are listed when CTest starts, so that a
# build needs no Wine. Further arguments are properties of its tests.
function(tavlo_tests target)
  tavlo_warnings(${target})
  if(WIN32)
    set(prefix windows)
  else()
    set(prefix host)
  endif()
  gtest_discover_tests(${target} TEST_PREFIX "${prefix}/" DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
    PROPERTIES TIMEOUT 300 ${ARGN})
endfunction()
