# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Installs the contract and nothing else from BUILD into FOLDER. A host builds with that; a back end is
# told what it lacks, and so is who wants another version. Run by CTest.

include(${CMAKE_CURRENT_LIST_DIR}/steps.cmake)

file(REMOVE_RECURSE ${FOLDER})
install_project(${FOLDER}/contract contract)

# A project that does no more than look for the package.
function(write_seeker folder call)
  file(WRITE ${FOLDER}/${folder}/CMakeLists.txt
    "cmake_minimum_required(VERSION 3.16)\nproject(seeker LANGUAGES CXX)\n${call}\n"
    "message(STATUS \"found=[\${Lumiq_FOUND}] contract=[\${Lumiq_contract_FOUND}] \"\n"
    "  \"internal=[\${Lumiq_internal_FOUND}]\")\n")
endfunction()
set(configure ${CMAKE_COMMAND} -DCMAKE_PREFIX_PATH=${FOLDER}/contract ${compiler})

run(${configure} -S ${SOURCE}/tests/contract/host-project -B ${FOLDER}/host
  -DCMAKE_CXX_FLAGS=${flags})
run(${CMAKE_COMMAND} --build ${FOLDER}/host)
run(${EMULATOR} ${FOLDER}/host/host)
if(NOT output MATCHES "format MJPG")
  message(SEND_ERROR "The host said:\n${output}")
endif()

write_seeker(back-end "find_package(Lumiq REQUIRED COMPONENTS contract internal)")
run_failing("Lumiq has no component \"internal\" here. There are: contract"
  ${configure} -S ${FOLDER}/back-end -B ${FOLDER}/back-end/build)

write_seeker(curious "find_package(Lumiq COMPONENTS contract OPTIONAL_COMPONENTS internal)")
run(${configure} -S ${FOLDER}/curious -B ${FOLDER}/curious/build)
if(NOT output MATCHES "found=.1. contract=.TRUE. internal=.FALSE.")
  message(SEND_ERROR "An optional component that is missing is not told:\n${output}")
endif()

write_seeker(newer "find_package(Lumiq 0.2 REQUIRED)")
run_failing("compatible with requested version \"0.2\""
  ${configure} -S ${FOLDER}/newer -B ${FOLDER}/newer/build)
