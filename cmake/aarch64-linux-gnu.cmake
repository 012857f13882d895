# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Builds for 64-bit ARM with Debian's cross compiler and Qt; what is built runs under user-mode emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# The compiler has its own C and C++ libraries; Qt, what Qt links and what the emulator runs on come from here.
get_filename_component(sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/arm64-sysroot ABSOLUTE)
if(NOT EXISTS ${sysroot})
    message(FATAL_ERROR "${sysroot} is missing: scripts/test-arm64.sh makes it")
endif()
set(CMAKE_FIND_ROOT_PATH ${sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
add_link_options("-Wl,-rpath-link,${sysroot}/lib/aarch64-linux-gnu:${sysroot}/usr/lib/aarch64-linux-gnu")
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static -L ${sysroot})
