# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# find_package(Lumiq COMPONENTS contract) gives the target Lumiq::contract. Without components,
# every component that is there is loaded.

if(NOT Lumiq_FIND_COMPONENTS)
  set(Lumiq_FIND_COMPONENTS contract)
endif()

foreach(component IN LISTS Lumiq_FIND_COMPONENTS)
  string(SUBSTRING ${component} 0 1 initial)
  string(TOUPPER ${initial} initial)
  string(SUBSTRING ${component} 1 -1 rest)
  set(targets ${CMAKE_CURRENT_LIST_DIR}/Lumiq${initial}${rest}Targets.cmake)
  if(EXISTS ${targets})
    include(${targets})
    set(Lumiq_${component}_FOUND TRUE)
  elseif(Lumiq_FIND_REQUIRED_${component})
    set(Lumiq_FOUND FALSE)
    set(Lumiq_NOT_FOUND_MESSAGE "Lumiq has no component \"${component}\" here; known: contract")
  endif()
endforeach()
