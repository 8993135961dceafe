# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# find_package(Lumiq COMPONENTS contract) gives the target Lumiq::contract, for hosts; COMPONENTS
# internal gives Lumiq::internal, for back ends, and the contract with it. Without components,
# everything that is there is loaded.

# In this order: a component builds on those before it.
set(lumiq_components contract internal)
set(lumiq_there "")
foreach(lumiq_component IN LISTS lumiq_components)
  string(SUBSTRING ${lumiq_component} 0 1 lumiq_initial)
  string(TOUPPER ${lumiq_initial} lumiq_initial)
  string(SUBSTRING ${lumiq_component} 1 -1 lumiq_rest)
  set(lumiq_targets ${CMAKE_CURRENT_LIST_DIR}/Lumiq${lumiq_initial}${lumiq_rest}Targets.cmake)
  if(EXISTS ${lumiq_targets})
    list(APPEND lumiq_there ${lumiq_component})
    if(NOT Lumiq_FIND_COMPONENTS OR lumiq_component STREQUAL "contract"
       OR lumiq_component IN_LIST Lumiq_FIND_COMPONENTS)
      include(${lumiq_targets})
      set(Lumiq_${lumiq_component}_FOUND TRUE)
    endif()
  endif()
endforeach()

foreach(lumiq_component IN LISTS Lumiq_FIND_COMPONENTS)
  if(NOT lumiq_component IN_LIST lumiq_there)
    set(Lumiq_${lumiq_component}_FOUND FALSE)
    if(Lumiq_FIND_REQUIRED_${lumiq_component})
      set(Lumiq_FOUND FALSE)
      string(REPLACE ";" ", " Lumiq_NOT_FOUND_MESSAGE "${lumiq_there}")
      string(PREPEND Lumiq_NOT_FOUND_MESSAGE
        "Lumiq has no component \"${lumiq_component}\" here. There are: ")
    endif()
  endif()
endforeach()

foreach(lumiq_name IN ITEMS components there initial rest targets)
  unset(lumiq_${lumiq_name})
endforeach()
