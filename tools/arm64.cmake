# SPDX-License-Identifier: Apache-2.0
# CMake toolchain of tools/check_arm64: Debian's cross compiler and the multiarch libraries of arm64. What the
# build runs of its own, and the tests, run under qemu-user:
#   cmake -B DIR -DCMAKE_TOOLCHAIN_FILE=tools/arm64.cmake
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(PKG_CONFIG_EXECUTABLE aarch64-linux-gnu-pkg-config CACHE FILEPATH "pkg-config of the arm64 libraries")
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static)
