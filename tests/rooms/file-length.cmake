# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# No source file in ROOT has 400 lines or more. Run by CTest.

cmake_minimum_required(VERSION 3.25)

include(${CMAKE_CURRENT_LIST_DIR}/tracked-files.cmake)

set(limit 400)
tracked_files(files "[.](h|cpp|c|cmake|py|sh|bash|awk)$" "CMakeLists[.]txt$" "^scripts/[a-z-]+$")
foreach(file IN LISTS files)
  # As hexadecimal digits: brackets and semicolons in the text would upset CMake's lists.
  file(READ ${ROOT}/${file} bytes HEX)
  string(REGEX MATCHALL ".." bytes "${bytes}")
  list(FILTER bytes INCLUDE REGEX "0a")
  list(LENGTH bytes lines)
  if(NOT lines LESS limit)
    message(SEND_ERROR "${file} has ${lines} lines; a file ends before ${limit}")
  endif()
endforeach()

list(LENGTH files count)
message("${count} files")
