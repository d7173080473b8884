# Builds for 64-bit ARM with Debian's cross compiler, g++-aarch64-linux-gnu.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(KURA_TRIPLET aarch64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
