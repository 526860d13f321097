# Toolchain of the small board, Debian 12 on a 32-bit ARM.
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(machine armhf)
set(triplet arm-linux-gnueabihf)
set(emulator qemu-arm-static)
include("${CMAKE_CURRENT_LIST_DIR}/cross.cmake")
