# Debian's googletest package carries the sources, which build for any target.
if(EXISTS /usr/src/googletest/CMakeLists.txt)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(gtest_disable_pthreads OFF CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  # Nobody debugs it here, and it need not be fast: it is compiled in half the time.
  foreach(library IN ITEMS gtest gtest_main gmock gmock_main)
    target_compile_options(${library} PRIVATE -O0 -g0)
  endforeach()
else()
  find_package(GTest REQUIRED)
  add_library(gtest_main ALIAS GTest::gtest_main)
  add_library(gmock ALIAS GTest::gmock)
  add_library(gtest ALIAS GTest::gtest)
endif()
include(GoogleTest)

# Lists a program's cases when CTest starts, so that a build needs no Wine, under a prefix of
# their own. Further arguments go to gtest_discover_tests.
function(tavlo_discover_tests target prefix)
  if(WIN32)
    set(platform windows)
  else()
    set(platform host)
  endif()
  gtest_discover_tests(${target} TEST_PREFIX "${platform}/${prefix}" DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
    ${ARGN})
endfunction()

# A test program of GoogleTest cases, each in a process of its own. Further arguments are
# properties of its tests.
function(tavlo_tests target)
  tavlo_warnings(${target})
  tavlo_discover_tests(${target} "" PROPERTIES TIMEOUT 300 ${ARGN})
endfunction()

# Cases that leave nothing behind in their process. Where there are hundreds, and under Wine, where
# starting a program costs more than most of them and is what fails most, some processes share them:
# as many as SHARDS says, one under Wine when it says nothing. PREFIX, FILTER and VARIABLES make further runs of one program; arguments before them
# are properties of its tests.
function(tavlo_stateless_tests target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "PREFIX;FILTER;SHARDS" "VARIABLES")
  tavlo_warnings(${target})
  if(NOT arg_FILTER)
    set(arg_FILTER *)
  endif()
  if(NOT WIN32 AND NOT arg_SHARDS)
    tavlo_discover_tests(${target} "${arg_PREFIX}" TEST_FILTER ${arg_FILTER}
      PROPERTIES TIMEOUT 300 ENVIRONMENT "${arg_VARIABLES}" ${arg_UNPARSED_ARGUMENTS})
    return()
  endif()
  if(NOT arg_SHARDS)
    set(arg_SHARDS 1)
  endif()
  set(platform host)
  if(WIN32)
    set(platform windows)
  endif()
  foreach(shard RANGE 1 ${arg_SHARDS})
    math(EXPR index "${shard} - 1")
    set(name ${platform}/${arg_PREFIX}${target})
    if(arg_SHARDS GREATER 1)
      string(APPEND name /${shard})
    endif()
    add_test(NAME ${name} COMMAND ${target} --gtest_filter=${arg_FILTER})
    set_tests_properties(${name} PROPERTIES TIMEOUT 1800
      ENVIRONMENT "GTEST_TOTAL_SHARDS=${arg_SHARDS};GTEST_SHARD_INDEX=${index};${arg_VARIABLES}"
      ${arg_UNPARSED_ARGUMENTS})
  endforeach()
endfunction()
