# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Runs the example's HOST with its PLUGIN, as its README shows, and looks at what it leaves in FOLDER;
# then with what cannot work. Run by CTest.

include(${CMAKE_CURRENT_LIST_DIR}/steps.cmake)

set(host ${EMULATOR} ${HOST})
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER}/best ${FOLDER}/worst)

# expect_likeness(<at least> <at most>): of the luma, in decibels.
function(expect_likeness least most)
  if(NOT output MATCHES "decoded  Y ([0-9.]+) dB" OR CMAKE_MATCH_1 LESS least
     OR CMAKE_MATCH_1 GREATER most)
    message(SEND_ERROR "Not between ${least} and ${most} dB from the source:\n${output}")
  endif()
endfunction()
# expect_beginning(<file> <bytes as hexadecimal digits>)
function(expect_beginning file bytes)
  string(LENGTH ${bytes} digits)
  math(EXPR count "${digits} / 2")
  file(READ ${FOLDER}/${file} found LIMIT ${count} HEX)
  if(NOT found STREQUAL bytes)
    message(SEND_ERROR "${file} begins with ${found}, not with ${bytes}")
  endif()
endfunction()

run(${host} ${PLUGIN} ${FOLDER}/best)
expect_likeness(40 60)
if(NOT output MATCHES "software-jpeg-encoder: encoder in software, 2 at once" OR
   NOT output MATCHES "software-jpeg-decoder: decoder in software, 2 at once" OR
   NOT output MATCHES "quality = 90, of 1-100" OR NOT output MATCHES "chroma = 4:2:0, of 4:2:0,grey")
  message(SEND_ERROR "The host said:\n${output}")
endif()
set(png 89504e470d0a1a0a)
expect_beginning(best/source.png ${png})
expect_beginning(best/decoded.png ${png})
expect_beginning(best/picture.jpg ffd8ff)

# What it left is what it takes; with the worst quality there is less of it.
run(${host} --set quality=5 --set chroma=grey --picture ${FOLDER}/best/decoded.png ${PLUGIN}
  ${FOLDER}/worst)
expect_likeness(15 35)
file(SIZE ${FOLDER}/best/picture.jpg best)
file(SIZE ${FOLDER}/worst/picture.jpg worst)
math(EXPR threefold "3 * ${worst}")
if(NOT threefold LESS best OR NOT output MATCHES "last-size = ${worst},")
  message(SEND_ERROR "${worst} bytes at quality 5 after ${best} at 90:\n${output}")
endif()

run_failing("quality does not take \"101\"; its range: 1-100"
  ${host} --set quality=101 ${PLUGIN} ${FOLDER}/worst)
run_failing("chroma does not take \"4:4:4\"; its range: 4:2:0,grey"
  ${host} --set chroma=4:4:4 ${PLUGIN} ${FOLDER}/worst)
run_failing("last-size does not take" ${host} --set last-size=1 ${PLUGIN} ${FOLDER}/worst)
run_failing("no such setting: speed=1" ${host} --set speed=1 ${PLUGIN} ${FOLDER}/worst)
run_failing("a plug-in and a folder have to be named" ${host} ${PLUGIN})
run_failing("cannot open shared object file" ${host} ${PLUGIN}.none ${FOLDER}/worst)
run_failing("Not a PNG file" ${host} --picture ${FOLDER}/best/picture.jpg ${PLUGIN} ${FOLDER}/worst)
run_failing("nowhere/source.png: No such file" ${host} ${PLUGIN} ${FOLDER}/nowhere)
