# Builds for 32-bit ARM with Debian's cross compiler, g++-arm-linux-gnueabihf.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
# GCC tells of each 64-bit argument that GCC 6 passed otherwise.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
# The target's libraries are Debian's of that architecture: beside the machine's own, or in a root of their own.
if(DEFINED ENV{KURA_SYSROOT})
    set(CMAKE_SYSROOT $ENV{KURA_SYSROOT})
    set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
endif()
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
