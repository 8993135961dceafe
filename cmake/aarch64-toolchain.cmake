# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# Cross-build for 64-bit ARM with Debian's cross compiler and its :arm64 development packages
# (scripts/bootstrap aarch64 installs both). Used by the preset aarch64.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# Only the target's own package descriptions; those in share have no machine in them.
set(ENV{PKG_CONFIG_LIBDIR} "/usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig")

find_program(LUMIQ_QEMU_AARCH64 NAMES qemu-aarch64-static qemu-aarch64)
mark_as_advanced(LUMIQ_QEMU_AARCH64)
if(LUMIQ_QEMU_AARCH64)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${LUMIQ_QEMU_AARCH64})
endif()
