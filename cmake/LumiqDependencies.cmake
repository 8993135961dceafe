# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# The two libraries that need more than one find_package call, as imported targets:
#
#   lumiq_require_sdbus()    -> SDBusCpp::sdbus-c++  (D-Bus, version 2)
#   lumiq_require_libyuv()   -> Libyuv::yuv          (picture conversion, with motion JPEG)
#
# Each may be called by as many rooms as need the library. Called while configuring; both end the
# configuration with a sentence on what to do when the library is not there.

# Where scripts/bootstrap puts what the distribution does not package, one folder per target machine.
set(LUMIQ_DEPS_DIR "${CMAKE_CURRENT_LIST_DIR}/../build/deps" CACHE PATH
  "Folder of the libraries that scripts/bootstrap built")
mark_as_advanced(LUMIQ_DEPS_DIR)

# A macro, so that what find_package sets is seen by the caller too.
macro(lumiq_require_sdbus)
  # The library's own package file names Threads::Threads and PkgConfig::Systemd without looking
  # them up, so they come first. Threads is looked up in every room: its target is not global.
  find_package(Threads REQUIRED)
  if(NOT TARGET SDBusCpp::sdbus-c++)
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(Systemd REQUIRED IMPORTED_TARGET GLOBAL libsystemd>=238)
    find_package(sdbus-c++ 2 CONFIG QUIET GLOBAL
      PATHS "${LUMIQ_DEPS_DIR}/${CMAKE_LIBRARY_ARCHITECTURE}")
    if(NOT TARGET SDBusCpp::sdbus-c++)
      message(FATAL_ERROR
        "sdbus-c++ 2 was not found. Run scripts/bootstrap once: it installs the package where the "
        "distribution has one and builds the library into build/deps where it has not. With a copy "
        "of your own, configure with -DCMAKE_PREFIX_PATH=<its prefix>.")
    endif()
    message(STATUS "sdbus-c++ ${sdbus-c++_VERSION}: ${sdbus-c++_DIR}")
  endif()
endmacro()

function(lumiq_require_libyuv)
  if(TARGET Libyuv::yuv)
    return()
  endif()
  find_path(LIBYUV_INCLUDE_DIR libyuv.h)
  find_library(LIBYUV_LIBRARY yuv)
  mark_as_advanced(LIBYUV_INCLUDE_DIR LIBYUV_LIBRARY)
  if(NOT LIBYUV_INCLUDE_DIR OR NOT LIBYUV_LIBRARY)
    message(FATAL_ERROR
      "libyuv was not found (header: ${LIBYUV_INCLUDE_DIR}, library: ${LIBYUV_LIBRARY}). Run "
      "scripts/bootstrap once, or install libyuv-dev.")
  endif()

  # The library can be built without a JPEG decoder; then it links, but not with MJPGSize.
  include(CheckCXXSourceCompiles)
  set(CMAKE_REQUIRED_INCLUDES ${LIBYUV_INCLUDE_DIR})
  set(CMAKE_REQUIRED_LIBRARIES ${LIBYUV_LIBRARY})
  check_cxx_source_compiles("
    #include <libyuv.h>
    int main() { int w = 0, h = 0; return libyuv::MJPGSize(nullptr, 0, &w, &h); }"
    LIBYUV_HAS_MOTION_JPEG)
  if(NOT LIBYUV_HAS_MOTION_JPEG)
    message(FATAL_ERROR
      "${LIBYUV_LIBRARY} does not link with MJPGSize: it was built without motion JPEG, which this "
      "project needs. The reason is in CMakeFiles/CMakeError.log or CMakeConfigureLog.yaml.")
  endif()

  add_library(Libyuv::yuv UNKNOWN IMPORTED GLOBAL)
  set_target_properties(Libyuv::yuv PROPERTIES
    IMPORTED_LOCATION "${LIBYUV_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${LIBYUV_INCLUDE_DIR}")
endfunction()
