# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# tracked_files(<variable> <pattern>...): the files under version control in ROOT that match one of
# the regular expressions; in a tree without version control, every file outside build/. Included by
# the checks beside it.

function(tracked_files result)
  execute_process(
    COMMAND git -C ${ROOT} ls-files
    OUTPUT_VARIABLE output
    RESULT_VARIABLE failed
    ERROR_QUIET)
  if(failed)
    file(GLOB_RECURSE output RELATIVE ${ROOT} ${ROOT}/*)
    list(FILTER output EXCLUDE REGEX "^build/")
  else()
    string(REPLACE "\n" ";" output "${output}")
  endif()
  set(found "")
  foreach(file IN LISTS output)
    foreach(pattern IN LISTS ARGN)
      if(file MATCHES "${pattern}" AND EXISTS ${ROOT}/${file})
        list(APPEND found ${file})
        break()
      endif()
    endforeach()
  endforeach()
  if(NOT found)
    message(SEND_ERROR "no file was found in ${ROOT}: the check looks in the wrong place")
  endif()
  set(${result} "${found}" PARENT_SCOPE)
endfunction()
