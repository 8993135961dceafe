# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Cross-build for 64-bit ARM with Debian's cross compiler, against the unpacked packages that
# scripts/bootstrap aarch64 leaves in build/arm64/sysroot. They are Debian 13's on every machine, so the
# result does not depend on the machine, and fits the virtual machines of tests/real-kernel. Used by
# the preset aarch64.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

if(DEFINED ENV{LUMIQ_ARM64_FOLDER})
  set(CMAKE_SYSROOT $ENV{LUMIQ_ARM64_FOLDER}/sysroot)
else()
  cmake_path(SET CMAKE_SYSROOT NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../build/arm64/sysroot)
endif()
if(NOT EXISTS ${CMAKE_SYSROOT}/usr/include)
  message(FATAL_ERROR
    "There are no libraries for 64-bit ARM in ${CMAKE_SYSROOT}: run scripts/bootstrap build aarch64")
endif()

# The compiler has a C library of its own, perhaps an older one, which it takes whatever the sysroot.
set(libraries ${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE})
set(CMAKE_EXE_LINKER_FLAGS_INIT "-B${libraries} -L${libraries}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-B${libraries} -L${libraries}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-B${libraries} -L${libraries}")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Only the target's own package descriptions; those in share have no machine in them.
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR}
  "${libraries}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")

find_program(LUMIQ_QEMU_AARCH64 NAMES qemu-aarch64-static qemu-aarch64)
mark_as_advanced(LUMIQ_QEMU_AARCH64)
if(LUMIQ_QEMU_AARCH64)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${LUMIQ_QEMU_AARCH64} -L ${CMAKE_SYSROOT})
endif()
