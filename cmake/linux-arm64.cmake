# SPDX-License-Identifier: BSL-1.0
# Builds for Linux on 64-bit ARM with what scripts/sysroot has unpacked; the programs run under QEMU.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
get_filename_component(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-arm64 ABSOLUTE)
find_program(emulator NAMES qemu-aarch64-static qemu-aarch64 NO_CACHE REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator})
# The programs find their loader and libraries themselves: told where that system's root is, the
# emulator would show it to them in place of the real one.
set(libraries ${CMAKE_SYSROOT}/usr/lib/aarch64-linux-gnu)
set(CMAKE_EXE_LINKER_FLAGS_INIT
  "-Wl,--dynamic-linker=${libraries}/ld-linux-aarch64.so.1,--disable-new-dtags,-rpath,${libraries}")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
