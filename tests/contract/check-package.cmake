# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Configures, builds and runs the host in SOURCE as the stranger it is, in FOLDER, with OPTIONS. It has
# to print EXPECTED, which is a regular expression, and to end well. Run by CTest.

cmake_minimum_required(VERSION 3.25)

execute_process(
  COMMAND ${CMAKE_CTEST_COMMAND} --build-and-test ${SOURCE} ${FOLDER}
    --build-generator ${GENERATOR} --build-options ${OPTIONS} --test-command ${HOST}
  RESULT_VARIABLE result
  OUTPUT_VARIABLE output
  ERROR_VARIABLE output)
if(NOT result EQUAL 0 OR NOT output MATCHES "${EXPECTED}")
  message(FATAL_ERROR "Result ${result}, and this output (expected: ${EXPECTED}):\n${output}")
endif()
