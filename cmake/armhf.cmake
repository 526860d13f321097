# Toolchain of the small board, Debian 12 on a 32-bit ARM: the cross compiler of this machine, headers and
# libraries of the root that scripts/make-root keeps, and qemu to run what was built.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)

if(NOT ORSEL_ROOT)
    execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/../scripts/make-root" armhf
        OUTPUT_VARIABLE ORSEL_ROOT OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR "no root of the board to build against")
    endif()
endif()
set(ORSEL_ROOT "${ORSEL_ROOT}" CACHE PATH "Root of the board's system")
# Compiler checks are projects of their own, which would look for the root again.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORSEL_ROOT)

set(triplet arm-linux-gnueabihf)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi") # news of an older compiler's calls
set(CMAKE_SYSROOT "${ORSEL_ROOT}")
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -L "${ORSEL_ROOT}")

set(CMAKE_FIND_ROOT_PATH "${ORSEL_ROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(ENV{PKG_CONFIG_SYSROOT_DIR} "${ORSEL_ROOT}")
set(ENV{PKG_CONFIG_LIBDIR} "${ORSEL_ROOT}/usr/lib/${triplet}/pkgconfig:${ORSEL_ROOT}/usr/share/pkgconfig")

# The toolkit's own description of itself is a script, which runs here.
file(GLOB configuration "${ORSEL_ROOT}/usr/lib/${triplet}/wx/config/gtk3-unicode-*")
set(wxWidgets_CONFIG_EXECUTABLE "${configuration}" CACHE FILEPATH "")
set(wxWidgets_CONFIG_OPTIONS "--prefix=${ORSEL_ROOT}/usr" CACHE STRING "")
