# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Every file in ROOT that can carry a comment begins with whose it is and under which licence. Run by
# CTest.

cmake_minimum_required(VERSION 3.25)

include(${CMAKE_CURRENT_LIST_DIR}/tracked-files.cmake)

set(owner "SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors")
set(licence "SPDX-License-Identifier: Apache-2.0")

tracked_files(files "[.](h|cpp|c|cmake|py|sh|bash|awk|map|supp|in|conf|txt|yml|yaml|md|json|scenario)$"
  "(^|/)[a-z-]+$")
list(FILTER files EXCLUDE REGEX "/corpus/|(^|/)(LICENSE|CMakePresets[.]json)$")
foreach(file IN LISTS files)
  file(READ ${ROOT}/${file} head LIMIT 400)
  string(FIND "${head}" "${owner}" owner_at)
  string(FIND "${head}" "${licence}" licence_at)
  if(owner_at EQUAL -1 OR licence_at EQUAL -1)
    message(SEND_ERROR "${file} does not begin with the two licence lines")
  endif()
endforeach()

list(LENGTH files count)
message("${count} files")
