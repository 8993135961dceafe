# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Installs each of COMPONENTS (with commas between them) from BUILD below FOLDER as a package would, for a prefix that it is not
# in, and looks at what is there: all that belongs to the component, nothing else, and no path of this
# machine. Run by CTest.

include(${CMAKE_CURRENT_LIST_DIR}/steps.cmake)

set(prefix /opt/lumiq)
string(REPLACE "," ";" COMPONENTS ${COMPONENTS})
set(contract_files include/lumiq/[a-z-]+[.]h ${LIBDIR}/cmake/Lumiq/LumiqConfig[.]cmake
  ${LIBDIR}/cmake/Lumiq/LumiqConfigVersion[.]cmake
  ${LIBDIR}/cmake/Lumiq/LumiqContractTargets[.]cmake ${LIBDIR}/pkgconfig/lumiq-contract[.]pc
  share/doc/lumiq-contract-dev/copyright)
set(internal_files include/lumiq/internal/[a-z-]+[.]h ${LIBDIR}/liblumiq-internal[.]a
  ${LIBDIR}/cmake/Lumiq/LumiqInternalTargets[.]cmake
  ${LIBDIR}/cmake/Lumiq/LumiqInternalTargets-[a-z]+[.]cmake ${LIBDIR}/pkgconfig/lumiq-internal[.]pc
  share/doc/lumiq-internal-dev/copyright)
set(plugin_files ${LIBDIR}/liblumiq-v4l2-camera[.]so share/doc/lumiq-v4l2-camera/copyright)
set(tools_files bin/lumiq-cam share/man/man1/lumiq-cam[.]1 share/doc/lumiq-tools/copyright)
set(gatehold_files bin/lumiq-gatehold share/dbus-1/system[.]d/io[.]nerio[.]Gatehold1[.]conf
  share/dbus-1/system-services/io[.]nerio[.]Gatehold1[.]service
  lib/systemd/system/lumiq-gatehold[.]service share/doc/lumiq-gatehold/copyright)
set(simulator_files ${LIBDIR}/liblumiq-simulator[.]so bin/lumiq-usb-camera share/lumiq/cameras/[a-z0-9-]+[.]json
  share/doc/lumiq-simulator/README[.]md share/doc/lumiq-simulator/copyright)

# Every file has to be one of those expected, and each of those has to be there.
function(expect_files component found)
  foreach(expression IN LISTS ${component}_files)
    set(matching ${found})
    list(FILTER matching INCLUDE REGEX "^${expression}$")
    list(FILTER found EXCLUDE REGEX "^${expression}$")
    if(NOT matching)
      message(SEND_ERROR "Component ${component} lacks ${expression}")
    endif()
  endforeach()
  if(found)
    message(SEND_ERROR "Component ${component} has what it should not: ${found}")
  endif()
endfunction()

# Debug information names the sources, as it should; instrumented code and live assertions name them
# too, so with those only what is text can be looked at.
function(expect_no_path_of_this_machine folder)
  file(GLOB_RECURSE binaries ${folder}/*.so ${folder}/*.a ${folder}${prefix}/bin/*)
  foreach(binary IN LISTS binaries)
    if(BUILD_TYPE STREQUAL Debug OR NOT SANITIZE STREQUAL "")
      file(REMOVE ${binary})
    else()
      run(${STRIP} --strip-debug ${binary})
    endif()
  endforeach()
  expect_nowhere(${SOURCE} ${folder})
  expect_nowhere(${BUILD} ${folder})
  expect_nowhere(${FOLDER} ${folder})
endfunction()

file(REMOVE_RECURSE ${FOLDER})
set(ENV{DESTDIR} ${FOLDER}/all)
install_project(${prefix})

set(everything "")
foreach(component IN LISTS COMPONENTS)
  set(ENV{DESTDIR} ${FOLDER}/${component})
  install_project(${prefix} ${component})
  set(root ${FOLDER}/${component}${prefix})
  file(GLOB_RECURSE found RELATIVE ${root} ${root}/*)
  expect_files(${component} "${found}")
  list(APPEND everything ${found})
  expect_no_path_of_this_machine(${FOLDER}/${component})
endforeach()

# What has no component would be in nobody's package.
file(GLOB_RECURSE found RELATIVE ${FOLDER}/all${prefix} ${FOLDER}/all${prefix}/*)
list(SORT found)
list(SORT everything)
if(NOT found STREQUAL everything)
  list(REMOVE_ITEM found ${everything})
  message(SEND_ERROR "These files have no component: ${found}")
endif()

set(ENV{DESTDIR} "")
if(gatehold IN_LIST COMPONENTS)
  foreach(file IN ITEMS share/dbus-1/system-services/io.nerio.Gatehold1.service
      lib/systemd/system/lumiq-gatehold.service)
    file(STRINGS ${FOLDER}/all${prefix}/${file} start REGEX "^Exec(Start)?=")
    if(NOT start MATCHES "=${prefix}/bin/lumiq-gatehold$")
      message(SEND_ERROR "${file} has the service started so: ${start}")
    endif()
  endforeach()
endif()

# The tool finds the plug-in beside it, wherever both are: it gets as far as the missing bus.
if(tools IN_LIST COMPONENTS AND plugin IN_LIST COMPONENTS)
  set(ENV{DBUS_SYSTEM_BUS_ADDRESS} unix:path=${FOLDER}/no-bus)
  unset(ENV{LUMIQ_PLUGIN})
  run_failing("the plug-in cannot reach its cameras" ${EMULATOR} ${FOLDER}/all${prefix}/bin/lumiq-cam list)
  run(${READELF} -dW ${FOLDER}/all${prefix}/bin/lumiq-cam)
  if(NOT output MATCHES "RUNPATH[^\n]*.ORIGIN/" OR output MATCHES "(RPATH|RUNPATH)[^\n]*[[:]/")
    message(SEND_ERROR "lumiq-cam looks for libraries in:\n${output}")
  endif()
endif()
