# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# A Debian package for each component that is installed: "cpack" in the build folder writes them to
# packages/ there. Included once, by the top folder, after the last room.

# Component, package, and what it is.
set(packages
  "plugin|lumiq-v4l2-camera|V4L2 camera back end"
  "tools|lumiq-tools|lists, shows and films cameras"
  "contract|lumiq-contract-dev|headers for hosts"
  "internal|lumiq-internal-dev|base classes for back ends"
  "gatehold|lumiq-gatehold|device-access service for development"
  "simulator|lumiq-simulator|simulated cameras for any program that speaks V4L2")

get_cmake_property(CPACK_COMPONENTS_ALL COMPONENTS)
foreach(package IN LISTS packages)
  string(REPLACE "|" ";" package "${package}")
  list(POP_FRONT package component name description)
  if(component IN_LIST CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} variable)
    set(CPACK_DEBIAN_${variable}_PACKAGE_NAME ${name})
    set(CPACK_COMPONENT_${variable}_DESCRIPTION "${description}")
    install(FILES ${PROJECT_SOURCE_DIR}/LICENSE RENAME copyright
      DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
  endif()
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The Lumiq camera back end authors")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Lumiq camera framework")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_COMPONENT)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
# With DESTDIR: the service's unit names the program by its prefix, which is the package's and not that
# of the folder where it is packed.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})

# What the programs link is looked up in this machine's packages, which say nothing of another's.
if(CMAKE_CROSSCOMPILING)
  string(REPLACE aarch64 arm64 CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${CMAKE_SYSTEM_PROCESSOR})
else()
  foreach(component IN ITEMS PLUGIN TOOLS GATEHOLD SIMULATOR)
    set(CPACK_DEBIAN_${component}_PACKAGE_SHLIBDEPS ON)
  endforeach()
endif()
set(CPACK_DEBIAN_CONTRACT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_INTERNAL_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_INTERNAL_PACKAGE_DEPENDS "lumiq-contract-dev (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PLUGIN_PACKAGE_SUGGESTS "lumiq-tools, lumiq-gatehold")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS lumiq-v4l2-camera)
set(CPACK_DEBIAN_GATEHOLD_PACKAGE_DEPENDS dbus)
include(CPack)
