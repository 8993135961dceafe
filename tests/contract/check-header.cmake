# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Compiles every header in HEADERS on its own with COMPILER, as C++17 and with every warning an error.
# Run by CTest; writes its one-line sources into FOLDER.

if(NOT COMPILER)
  message("SKIPPED: this compiler is not installed")
  return()
endif()

foreach(header IN LISTS HEADERS)
  string(MAKE_C_IDENTIFIER ${header} name)
  set(source ${FOLDER}/${name}.cpp)
  file(WRITE ${source} "#include \"${header}\"\n")
  execute_process(
    COMMAND ${COMPILER} -std=c++17 -fsyntax-only -Wall -Wextra -Wpedantic -Wshadow -Wconversion
      -Werror -I ${INCLUDES} ${source}
    RESULT_VARIABLE result
    ERROR_VARIABLE complaints)
  if(NOT result EQUAL 0)
    message(SEND_ERROR "${header} does not compile on its own:\n${complaints}")
  endif()
endforeach()
