# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# lumiq_test(<name> SOURCES ... LIBS ... [ENVIRONMENT VAR=VALUE ...] [LABELS ...] [FIXTURES ...]): a
# GoogleTest program whose tests CTest lists and runs one by one, each in a process of its own, once
# the tests that set up its fixtures have passed.

find_package(GTest REQUIRED)
include(GoogleTest)

# GCC 12's leak checker takes the size of a library's thread-local variables from where the C library
# has not kept it for long, and crashes on what it finds there; it reaches them without that, too.
set(LUMIQ_TEST_ENVIRONMENT
  "ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1:verify_asan_link_order=0:intercept_tls_get_addr=0"
  "UBSAN_OPTIONS=print_stacktrace=1"
  "TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:suppressions=${PROJECT_SOURCE_DIR}/cmake/tsan.supp")

function(lumiq_test_target target)
  lumiq_target(${target})
  target_compile_definitions(${target} PRIVATE _GLIBCXX_ASSERTIONS)
  # What is tested is optimised as it ships; the tests themselves need not be, and compile twice as fast.
  target_compile_options(${target} PRIVATE -O0 -g1)
endfunction()

# The framework's headers take long; compiled once, for all tests.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/test-headers.cpp CONTENT "int main() { return 0; }\n")
add_executable(lumiq-test-headers EXCLUDE_FROM_ALL ${PROJECT_BINARY_DIR}/test-headers.cpp)
lumiq_test_target(lumiq-test-headers)
target_link_libraries(lumiq-test-headers PRIVATE GTest::gmock)
target_precompile_headers(lumiq-test-headers PRIVATE
  <gmock/gmock.h> <gtest/gtest.h> <chrono> <filesystem> <fstream> <functional> <map> <memory> <mutex>
  <optional> <sstream> <string> <thread> <vector>)

# lumiq_test_program(<name> SOURCES ... LIBS ...): one that CTest does not know.
function(lumiq_test_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  lumiq_test_target(${name})
  target_precompile_headers(${name} REUSE_FROM lumiq-test-headers)
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gmock GTest::gtest_main)
endfunction()

function(lumiq_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;ENVIRONMENT;LABELS;FIXTURES" ${ARGN})
  lumiq_test_program(${name} SOURCES ${ARG_SOURCES} LIBS ${ARG_LIBS})
  if(NOT ARG_LABELS)
    # An empty value would be dropped, and the next property's name taken for the labels.
    set(ARG_LABELS test)
  endif()
  gtest_discover_tests(${name}
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60
    PROPERTIES
      TIMEOUT 120
      SKIP_RETURN_CODE 77
      LABELS "${ARG_LABELS}")
  # Set by a script of its own when ctest starts: gtest_discover_tests takes a list apart, and all but
  # the first variable would be lost.
  set(environment ${LUMIQ_TEST_ENVIRONMENT} ${ARG_ENVIRONMENT})
  set(script "${CMAKE_CURRENT_BINARY_DIR}/${name}-environment.cmake")
  file(GENERATE OUTPUT "${script}" CONTENT
"foreach(test IN LISTS ${name}_TESTS)
  set_tests_properties(\"\${test}\" PROPERTIES
    ENVIRONMENT [==[${environment}]==]
    FIXTURES_REQUIRED [==[${ARG_FIXTURES}]==])
endforeach()
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${script}")
endfunction()
