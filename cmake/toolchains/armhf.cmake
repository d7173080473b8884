# Builds for 32-bit ARM with Debian's cross compiler, g++-arm-linux-gnueabihf.
set(CMAKE_SYSTEM_PROCESSOR arm)
# GCC tells of each 64-bit argument that GCC 6 passed otherwise.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
set(KURA_TRIPLET arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
