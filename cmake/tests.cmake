# How test programs are compiled, and how they become tests of CTest.

# csm_precompile_test(<program>): what most tests include is read once for all of them. Who makes tests of a program below
# need not say so.
function(csm_precompile_test program)
  if(NOT TARGET test_headers)
    file(WRITE ${CMAKE_BINARY_DIR}/test_headers.cpp "")
    add_library(test_headers OBJECT ${CMAKE_BINARY_DIR}/test_headers.cpp)
    csm_target(test_headers)
    target_link_libraries(test_headers PRIVATE GTest::gtest)
    csm_precompile(test_headers <gtest/gtest.h> <boost/function.hpp> <algorithm> <chrono> <condition_variable> <filesystem>
      <functional> <map> <memory> <optional> <string> <thread> <unordered_map> <vector>)
  endif()
  get_target_property(has_headers ${program} PRECOMPILE_HEADERS_REUSE_FROM)
  if(NOT has_headers)
    target_precompile_headers(${program} REUSE_FROM test_headers)
    target_compile_options(${program} PRIVATE -fPIC)  # as what was read, and as Qt wants it
    if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
      target_compile_options(${program} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
    endif()
  endif()
endfunction()

# csm_tests(<program> [SHARDS <number>] [FILTER <tests>] [SUFFIX <text>] [LABELS <label>] [TIMEOUT <seconds>]
#           [ENVIRONMENT <name=value>...])
# All tests of a program in one process, named like the program: starting a sanitized program once for each of a thousand
# small tests costs more than the tests. Dear ones are dealt to several processes that run side by side. A single test is
# run by hand: build/dev/bin/<program> --gtest_filter=<test>
#
# Programs whose tests mostly wait, or leave a process in another state, use csm_tests_apart.
#
# Of a list of labels CTest keeps one in some places: a label that several selections find is one word, "host-tsan".
function(csm_tests program)
  cmake_parse_arguments(ARG "" "SHARDS;FILTER;SUFFIX;LABELS;TIMEOUT" "ENVIRONMENT" ${ARGN})
  csm_precompile_test(${program})
  if(NOT ARG_SHARDS)
    set(ARG_SHARDS 1)
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 600)
  endif()
  set(filter)
  if(ARG_FILTER)
    set(filter --gtest_filter=${ARG_FILTER})
  endif()
  foreach(shard RANGE 1 ${ARG_SHARDS})
    set(name ${program}${ARG_SUFFIX})
    set(environment ${ARG_ENVIRONMENT})
    if(ARG_SHARDS GREATER 1)
      string(APPEND name .${shard})
      math(EXPR index "${shard} - 1")
      list(APPEND environment GTEST_TOTAL_SHARDS=${ARG_SHARDS} GTEST_SHARD_INDEX=${index})
    endif()
    add_test(NAME ${name} COMMAND ${program} ${filter})
    set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}" ENVIRONMENT "${environment}")
  endforeach()
endfunction()

# csm_tests_apart(<program> [<what gtest_discover_tests takes>...])
# Each test of a program in a process of its own. The program is asked for its tests when it is built; while other compilers
# run, the start of a sanitized one may take far longer than the few seconds that are usual.
function(csm_tests_apart program)
  csm_precompile_test(${program})
  gtest_discover_tests(${program} DISCOVERY_TIMEOUT 300 ${ARGN})
endfunction()
