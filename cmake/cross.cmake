# What the toolchains of other machines share: the cross compiler of this machine, headers and libraries of the root
# that scripts/make-root keeps, and qemu to run what was built. They set `machine`, its name for Debian, its `triplet`
# and the `emulator` before.
set(CMAKE_SYSTEM_NAME Linux)

if(NOT ORSEL_ROOT)
    execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/../scripts/make-root" "${machine}"
        OUTPUT_VARIABLE ORSEL_ROOT OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR "no root of ${machine} to build against")
    endif()
endif()
set(ORSEL_ROOT "${ORSEL_ROOT}" CACHE PATH "Root of the other machine's system")
# Compiler checks are projects of their own, which would look for the root again.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORSEL_ROOT)

set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi") # news of an older compiler's calls
set(CMAKE_SYSROOT "${ORSEL_ROOT}")
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L "${ORSEL_ROOT}")

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
