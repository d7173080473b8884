# Builds with Debian's cross compiler of KURA_TRIPLET, for CMAKE_SYSTEM_PROCESSOR.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${KURA_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${KURA_TRIPLET}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${KURA_TRIPLET})
# The target's libraries are Debian's of that architecture: beside the machine's own, or in a root of their own.
if(DEFINED ENV{KURA_SYSROOT})
    set(CMAKE_SYSROOT $ENV{KURA_SYSROOT})
    set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
endif()
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${KURA_TRIPLET}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
