# Toolchain of larger boards, Debian 12 on a 64-bit ARM.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(machine arm64)
set(triplet aarch64-linux-gnu)
set(emulator qemu-aarch64-static)
include("${CMAKE_CURRENT_LIST_DIR}/cross.cmake")
