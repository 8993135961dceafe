# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Installing, one component for each audience: contract, internal, plugin, tools, gatehold, simulator.
# Each room says what of it is installed; here is what takes more than an install() line:
#
#   lumiq_install_sdk(<component>)              a library of the SDK: headers, target, pkg-config file
#   lumiq_install_filled_in(<template> <folder> <component>)
#                                               a file that names installed programs by their path
#
# Included once, by the top folder, before the first room. Nothing that is installed knows where it was
# built, and the SDK does not know where it is installed either: it can be moved.

include(CMakePackageConfigHelpers)
set(LUMIQ_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Lumiq)

# The target lumiq-<component> with its include folder, as Lumiq::<component> of the package Lumiq, in
# the build tree as well (Lumiq_DIR is then the build folder), and as lumiq-<component> for pkg-config.
function(lumiq_install_sdk component)
  string(SUBSTRING ${component} 0 1 initial)
  string(TOUPPER ${initial} initial)
  string(SUBSTRING ${component} 1 -1 rest)
  set(targets Lumiq${initial}${rest}Targets)

  set_target_properties(lumiq-${component} PROPERTIES EXPORT_NAME ${component})
  install(TARGETS lumiq-${component} EXPORT ${targets}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT ${component}
    FILES_MATCHING PATTERN "*.h")
  install(EXPORT ${targets} NAMESPACE Lumiq:: DESTINATION ${LUMIQ_PACKAGE_DIR} COMPONENT ${component})
  export(EXPORT ${targets} NAMESPACE Lumiq:: FILE ${PROJECT_BINARY_DIR}/${targets}.cmake)

  set(pkgconfig_dir ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH prefix_from_here ${pkgconfig_dir} ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" prefix_from_here ${prefix_from_here})
  file(RELATIVE_PATH include_dir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
  file(RELATIVE_PATH library_dir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/lumiq-${component}.pc.in
    ${PROJECT_BINARY_DIR}/lumiq-${component}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/lumiq-${component}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${component})
endfunction()

# Filled in while installing: only then is it known which prefix it really is.
function(lumiq_install_filled_in template folder component)
  cmake_path(GET template FILENAME name)
  string(REGEX REPLACE "[.]in$" "" name ${name})
  install(CODE "
    set(lumiq_bindir \"\${CMAKE_INSTALL_PREFIX}\")
    cmake_path(APPEND lumiq_bindir \"${CMAKE_INSTALL_BINDIR}\")
    set(lumiq_folder \"\${CMAKE_INSTALL_PREFIX}\")
    cmake_path(APPEND lumiq_folder \"${folder}\")
    configure_file(\"${CMAKE_CURRENT_SOURCE_DIR}/${template}\" \"${CMAKE_CURRENT_BINARY_DIR}/${name}\"
      @ONLY)
    file(INSTALL DESTINATION \"\${lumiq_folder}\" TYPE FILE
      FILES \"${CMAKE_CURRENT_BINARY_DIR}/${name}\")"
    COMPONENT ${component})
endfunction()

# The package itself comes with the contract, on which every other component builds.
configure_file(cmake/LumiqConfig.cmake ${PROJECT_BINARY_DIR}/LumiqConfig.cmake COPYONLY)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LumiqConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/LumiqConfig.cmake ${PROJECT_BINARY_DIR}/LumiqConfigVersion.cmake
  DESTINATION ${LUMIQ_PACKAGE_DIR} COMPONENT contract)
