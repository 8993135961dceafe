# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Compiles through ccache where it is installed. Included once, before the first target; a launcher
# of the user's own, or an empty one to switch this off, stays as it is.

if(NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
  find_program(LUMIQ_CCACHE ccache)
  mark_as_advanced(LUMIQ_CCACHE)
  if(LUMIQ_CCACHE)
    # Precompiled headers are cached only with these two (ccache's manual, "Precompiled headers"); and
    # with the paths made relative, a second clone finds what the first one compiled.
    set(launcher ${CMAKE_COMMAND} -E env
      CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1
      ${LUMIQ_CCACHE})
    set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
  endif()
endif()
