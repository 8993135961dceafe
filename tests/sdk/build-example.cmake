# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Copies the example into FOLDER and builds it there against the SDK in PREFIX, with warnings as errors.
# Of this project's tree nothing may be used; of the plug-in nothing but its entry points may be seen.
# Run by CTest.

include(${CMAKE_CURRENT_LIST_DIR}/steps.cmake)

file(REMOVE_RECURSE ${FOLDER})
file(COPY ${SOURCE}/examples/software-codec/ DESTINATION ${FOLDER}/source)
run(${CMAKE_COMMAND} -S ${FOLDER}/source -B ${FOLDER}/build -G ${GENERATOR}
  -DCMAKE_MAKE_PROGRAM=${MAKE} -DCMAKE_PREFIX_PATH=${PREFIX} ${compiler}
  "-DCMAKE_CXX_FLAGS=${flags} -Werror" -DCMAKE_EXPORT_COMPILE_COMMANDS=ON)
run(${CMAKE_COMMAND} --build ${FOLDER}/build)

# Everything that the build names: include folders, libraries, and with Ninja every header it read.
file(STRINGS ${FOLDER}/build/CMakeCache.txt package REGEX "^Lumiq_DIR:")
file(READ ${FOLDER}/build/compile_commands.json named)
if(GENERATOR STREQUAL Ninja)
  file(READ ${FOLDER}/build/build.ninja rules)
  run(${MAKE} -C ${FOLDER}/build -t deps)
  if(NOT output MATCHES "${PREFIX}/include/lumiq/internal/base-codec-manager.h")
    message(SEND_ERROR "The headers that were read are not known: the check looks in the wrong place")
  endif()
  string(APPEND named "${rules}" "${output}")
endif()
if(NOT package MATCHES "=${PREFIX}/" OR NOT named MATCHES "${PREFIX}/include")
  message(SEND_ERROR "Another Lumiq was found than the one in ${PREFIX}: ${package}")
endif()
foreach(known IN ITEMS ${PREFIX} ${FOLDER} ${TOOLCHAIN} ${SYSROOT})
  string(REPLACE ${known} "" named "${named}")
endforeach()
string(REGEX MATCHALL "[^ \n;\"]*${SOURCE}/[^ \n;\"]*" strays "${named}")
if(strays)
  list(REMOVE_DUPLICATES strays)
  list(JOIN strays "\n  " strays)
  message(SEND_ERROR "The example uses what is not installed:\n  ${strays}")
endif()

run(${NM} --dynamic --defined-only --demangle ${FOLDER}/build/liblumiq-software-codec.so)
string(REGEX MATCHALL "[0-9a-f]+ . [^\n]+" symbols "${output}")
list(TRANSFORM symbols REPLACE "^[0-9a-f]+ . " "")
list(SORT symbols)
if(NOT symbols STREQUAL "LumiqModule;Nerio::Lumiq::LogInit()")
  message(SEND_ERROR "The plug-in shows: ${symbols}")
endif()
