# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# What the built LIBRARY shows and needs: the symbols it exports, the libraries it pulls in, that it
# stays loaded, and where it looks for others. Run by CTest with NM, READELF, and in
# SANITIZED the sanitizers it was built with.

cmake_minimum_required(VERSION 3.25)

function(run result)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "${ARGN} failed: ${errors}")
  endif()
  string(REPLACE "\n" ";" output "${output}")
  set(${result} "${output}" PARENT_SCOPE)
endfunction()

# The entry points must be there, and the type information of the classes that host and plug-in share;
# what else describes those to the run-time may be there.
set(required
  "LumiqModule"
  "Nerio::Lumiq::LogInit()"
  "Nerio::Lumiq::LumiqPluginManager()")
set(shared "Module|CameraManager|CameraManagerListener|Camera|CameraListener|GraphicBuffer")
set(allowed
  "^((vtable|typeinfo|typeinfo name) for )?Nerio::Lumiq::(${shared})(::[~A-Za-z]+[(].*)?$")

run(lines ${NM} -D --defined-only -C ${LIBRARY})
set(exported "")
foreach(line IN LISTS lines)
  if(line MATCHES "^[0-9a-f]+ . (.*)$")
    list(APPEND exported "${CMAKE_MATCH_1}")
  endif()
endforeach()
foreach(symbol IN LISTS required)
  if(NOT symbol IN_LIST exported)
    message(SEND_ERROR "${symbol} is not exported")
  endif()
endforeach()
foreach(class IN ITEMS Module CameraManager Camera GraphicBuffer)
  foreach(what IN ITEMS "typeinfo" "typeinfo name")
    if(NOT "${what} for Nerio::Lumiq::${class}" IN_LIST exported)
      message(SEND_ERROR "${what} for ${class} is not exported: a host's dynamic_cast may fail")
    endif()
  endforeach()
endforeach()
list(REMOVE_ITEM exported ${required})
foreach(symbol IN LISTS exported)
  if(NOT symbol MATCHES "${allowed}")
    message(SEND_ERROR "${symbol} is exported, and nobody outside may know it")
  endif()
endforeach()

# An instrumented library needs its sanitizers' runtimes besides.
set(needed_libraries
  "libyuv|libsystemd|libsdbus-c[+][+]|libstdc[+][+]|libm|libgcc_s|libc|ld-linux[a-z0-9_-]*")
if(NOT SANITIZED STREQUAL "")
  string(APPEND needed_libraries "|libasan|libubsan|libtsan")
endif()
run(lines ${READELF} -dW ${LIBRARY})
set(stays_loaded FALSE)
set(needed_seen 0)
foreach(line IN LISTS lines)
  if(line MATCHES "[(]NEEDED[)].*: .(lib.*|ld-.*).$")
    math(EXPR needed_seen "${needed_seen} + 1")
    set(needed "${CMAKE_MATCH_1}")
    if(NOT needed MATCHES "^(${needed_libraries})[.]so[.0-9]*$")
      message(SEND_ERROR "${needed} is needed, and hosts need not have it")
    endif()
  elseif(line MATCHES "[(]FLAGS_1[)].*NODELETE")
    set(stays_loaded TRUE)
  elseif(line MATCHES "[(](RPATH|RUNPATH)[)].*path: (.*)$")
    # An empty element is the folder that the host happens to stand in.
    set(path "${CMAKE_MATCH_2}:")
    string(REGEX REPLACE "^.(.*).:$" ":\\1:" path "${path}")
    if(path MATCHES "::" OR path MATCHES ":[^/$:]")
      message(SEND_ERROR "libraries are looked for in the host's current folder:\n${line}")
    endif()
  endif()
endforeach()
if(needed_seen EQUAL 0)
  message(SEND_ERROR "no needed library was found: the check looks at the wrong lines")
endif()
if(NOT stays_loaded)
  message(SEND_ERROR "the library can be unloaded while std::clog uses a buffer of it")
endif()
