# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Packs BUILD for Debian in FOLDER and looks into the packages: what is installed is in them, each file
# in one, below the prefix of the build. Run by CTest.

include(${CMAKE_CURRENT_LIST_DIR}/steps.cmake)

find_program(dpkg_deb dpkg-deb)
find_program(dpkg_shlibdeps dpkg-shlibdeps)
if(NOT dpkg_deb OR NOT dpkg_shlibdeps)
  message("SKIPPED: dpkg-deb or dpkg-shlibdeps is not installed")
  return()
endif()

file(REMOVE_RECURSE ${FOLDER})
run(${CPACK} --config ${BUILD}/CPackConfig.cmake -B ${FOLDER})

file(GLOB packages ${FOLDER}/*.deb)
list(LENGTH packages count)
string(REPLACE "," ";" COMPONENTS ${COMPONENTS})
list(LENGTH COMPONENTS expected)
if(NOT count EQUAL expected)
  message(SEND_ERROR "${count} packages for ${expected} components: ${packages}")
endif()

set(packed "")
foreach(package IN LISTS packages)
  run(${dpkg_deb} --extract ${package} ${FOLDER}/root)
  run(${dpkg_deb} --contents ${package})
  string(REGEX MATCHALL "[ ][.]/[^\n]*[^/\n]\n" files "${output}")
  list(TRANSFORM files STRIP)
  list(TRANSFORM files REPLACE "^[.]/" "")
  list(APPEND packed ${files})
  run(${dpkg_deb} --field ${package} Depends)
  set(depends "${output}")
  if(package MATCHES "lumiq-internal-dev" AND NOT depends MATCHES "lumiq-contract-dev [(]=")
    message(SEND_ERROR "${package} depends on: ${depends}")
  elseif(TOOLCHAIN STREQUAL "" AND package MATCHES "lumiq-v4l2-camera" AND NOT depends MATCHES "libyuv0.*")
    message(SEND_ERROR "${package} depends on: ${depends}")
  endif()
endforeach()
list(SORT packed)

set(ENV{DESTDIR} ${FOLDER}/installed)
install_project(${INSTALL_PREFIX})
file(GLOB_RECURSE installed RELATIVE ${FOLDER}/installed ${FOLDER}/installed/*)
list(SORT installed)
if(NOT packed STREQUAL installed)
  message(SEND_ERROR "Packed:\n${packed}\nInstalled:\n${installed}")
endif()

set(unit ${FOLDER}/root${INSTALL_PREFIX}/lib/systemd/system/lumiq-gatehold.service)
if(gatehold IN_LIST COMPONENTS)
  file(STRINGS ${unit} start REGEX "^ExecStart=")
  if(NOT start STREQUAL "ExecStart=${INSTALL_PREFIX}/bin/lumiq-gatehold")
    message(SEND_ERROR "The packed service is started so: ${start}")
  endif()
endif()
