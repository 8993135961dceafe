# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Builds the example in FOLDER with the commands that its README gives for pkg-config, against the SDK
# in PREFIX, and runs it. Run by CTest.

include(${CMAKE_CURRENT_LIST_DIR}/steps.cmake)

file(REMOVE_RECURSE ${FOLDER})
file(COPY ${SOURCE}/examples/software-codec/ DESTINATION ${FOLDER}/source)

file(READ ${FOLDER}/source/README.md readme)
string(REGEX MATCH "\n## Without CMake.*\n```sh\n(c[+][+] [^`]*)```" found "${readme}")
if(NOT found)
  message(FATAL_ERROR "The README has no commands under \"Without CMake\"")
endif()
file(WRITE ${FOLDER}/commands.sh "set -eu\n${CMAKE_MATCH_1}")

# The compiler of this build under the name that the commands use.
file(WRITE ${FOLDER}/bin/c++ "#!/bin/sh\nexec ${CXX} ${flags} -Wall -Wextra -Werror \"$@\"\n")
file(CHMOD ${FOLDER}/bin/c++ PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
set(ENV{PATH} "${FOLDER}/bin:$ENV{PATH}")
set(ENV{PKG_CONFIG_PATH} ${PREFIX}/${LIBDIR}/pkgconfig)

run(sh -c "cd '${FOLDER}/source' && exec sh ../commands.sh")
run(sh -c "cd '${FOLDER}/source' && ./encode-and-decode ./liblumiq-software-codec.so .")
if(NOT output MATCHES "decoded  Y [4-9][0-9][.]")
  message(SEND_ERROR "The host said:\n${output}")
endif()

# Where the SDK is, pkg-config finds out anew each time.
file(COPY ${PREFIX}/ DESTINATION ${FOLDER}/elsewhere)
set(ENV{PKG_CONFIG_PATH} ${FOLDER}/elsewhere/${LIBDIR}/pkgconfig)
run(pkg-config --cflags --libs lumiq-internal)
if(output MATCHES "${PREFIX}" OR NOT output MATCHES "${FOLDER}/elsewhere")
  message(SEND_ERROR "After the SDK was moved, pkg-config says: ${output}")
endif()
