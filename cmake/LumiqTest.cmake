# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# lumiq_test(<name> SOURCES ... LIBS ... [ENVIRONMENT VAR=VALUE ...] [LABELS ...]): a GoogleTest
# program whose tests CTest lists and runs one by one, each in a process of its own.

find_package(GTest REQUIRED)
include(GoogleTest)

set(LUMIQ_TEST_ENVIRONMENT
  "ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1:verify_asan_link_order=0"
  "UBSAN_OPTIONS=print_stacktrace=1"
  "TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:suppressions=${PROJECT_SOURCE_DIR}/cmake/tsan.supp")

function(lumiq_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;ENVIRONMENT;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  lumiq_target(${name})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gmock GTest::gtest_main)
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
    ENVIRONMENT [==[${environment}]==])
endforeach()
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${script}")
endfunction()
