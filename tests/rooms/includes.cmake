# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Who may include whom: every #include line of every room in ROOT is looked at, and what is not
# allowed there is printed with its place. Run by CTest.
#
# An include is allowed in a room when it is a header of the C++ standard library, a header that
# exists in one of the folders the room may look into, or matches the room's expression. A header that
# only one file may see has a line of its own.

cmake_minimum_required(VERSION 3.25)

# <vector>, <cstdint>: names without a dot or a slash.
set(standard "<[a-z0-9_]+>")
set(libc "<(dlfcn|fcntl|poll|pthread|sched|signal|syslog|time|unistd|sys/[a-z]+)[.]h>")
set(kernel "<linux/[a-z0-9-]+[.]h>")
set(json "<nlohmann/json[.]hpp>")

set(rooms contract internal plugins/v4l2-camera simulator services/gatehold tools/lumiq-cam)

set(contract_folders contract/include)
set(contract_others "")

set(internal_folders contract/include internal/include)
set(internal_others "${libc}")

set(plugins/v4l2-camera_folders contract/include internal/include plugins/v4l2-camera)
set(plugins/v4l2-camera_others "${libc}|${kernel}")
set(plugins/v4l2-camera/gatehold.cpp_others "<sdbus-c\\+\\+/sdbus-c\\+\\+[.]h>")
set(plugins/v4l2-camera/frame-conversion.cpp_others "<libyuv[.]h>")

set(simulator_folders simulator)
set(simulator_others "${libc}|${kernel}|${json}|<jpeglib[.]h>")
foreach(file control-endpoint descriptors payload-cutter streaming-descriptors)
  set(simulator/usb-camera/${file}.cpp_others "<linux/usb/(ch9|video)[.]h>")
endforeach()
set(simulator/usb-camera/options.cpp_others "<CLI/CLI[.]hpp>")

# Of the simulator the service sees the one header that describes and makes cameras.
set(services/gatehold_folders services/gatehold)
set(services/gatehold_others
  "${libc}|${kernel}|${json}|<sdbus-c\\+\\+/[A-Za-z]+[.]h>|<libudev[.]h>|<systemd/sd-daemon[.]h>|<CLI/CLI[.]hpp>|<simulated-device[.]h>")

# A stranger to the plug-in: it shows pictures with the same libraries, but on its own.
set(tools/lumiq-cam_folders contract/include tools/lumiq-cam)
set(tools/lumiq-cam_others "${libc}|${json}|<CLI/CLI[.]hpp>|<jpeglib[.]h>|<png[.]h>|<libyuv[.]h>")

# Is "name" a header in one of the folders, or beside the file itself? A way back through ".." would
# lead out of every room.
function(find_own_header name file folders result)
  if(name MATCHES "(^|/)[.][.]/")
    set(${result} FALSE PARENT_SCOPE)
    return()
  endif()
  cmake_path(GET file PARENT_PATH beside)
  foreach(folder IN ITEMS ${beside} LISTS folders)
    if(EXISTS ${ROOT}/${folder}/${name})
      set(${result} TRUE PARENT_SCOPE)
      return()
    endif()
  endforeach()
  set(${result} FALSE PARENT_SCOPE)
endfunction()

set(files_seen 0)
set(includes_seen 0)
foreach(room IN LISTS rooms)
  file(GLOB_RECURSE files RELATIVE ${ROOT} ${ROOT}/${room}/*.h ${ROOT}/${room}/*.cpp)
  foreach(file IN LISTS files)
    math(EXPR files_seen "${files_seen} + 1")
    file(STRINGS ${ROOT}/${file} lines REGEX "^[ \t]*#[ \t]*include")
    foreach(line IN LISTS lines)
      math(EXPR includes_seen "${includes_seen} + 1")
      string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*" "" included "${line}")
      string(REGEX REPLACE "[ \t]*//.*$" "" included "${included}")
      if(included MATCHES "^\"([^\"]+)\"$")
        find_own_header("${CMAKE_MATCH_1}" ${file} "${${room}_folders}" allowed)
      else()
        set(expressions ${standard} ${${room}_others} ${${file}_others})
        list(JOIN expressions "|" expression)
        string(REGEX MATCH "^(${expression})$" allowed "${included}")
      endif()
      if(NOT allowed)
        message(SEND_ERROR "${file}: ${included} is out of reach of ${room}")
      endif()
    endforeach()
  endforeach()
endforeach()

message("${includes_seen} includes in ${files_seen} files")
if(includes_seen EQUAL 0)
  message(SEND_ERROR "no include was found in ${ROOT}: the check looks in the wrong place")
endif()
