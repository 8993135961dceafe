# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Installs the SDK from BUILD below FOLDER and moves it to PREFIX, where the tests after this one use
# it. Run by CTest.

include(${CMAKE_CURRENT_LIST_DIR}/steps.cmake)

file(REMOVE_RECURSE ${FOLDER})
install_project(${FOLDER}/first contract internal)
cmake_path(GET PREFIX PARENT_PATH parent)
file(MAKE_DIRECTORY ${parent})
file(RENAME ${FOLDER}/first ${PREFIX})

foreach(file IN ITEMS
    include/lumiq/module.h
    include/lumiq/internal/base-codec-manager.h
    ${LIBDIR}/liblumiq-internal.a
    ${LIBDIR}/cmake/Lumiq/LumiqConfig.cmake
    ${LIBDIR}/cmake/Lumiq/LumiqConfigVersion.cmake
    ${LIBDIR}/pkgconfig/lumiq-contract.pc
    ${LIBDIR}/pkgconfig/lumiq-internal.pc)
  if(NOT EXISTS ${PREFIX}/${file})
    message(SEND_ERROR "${file} is missing in what was installed")
  endif()
endforeach()
