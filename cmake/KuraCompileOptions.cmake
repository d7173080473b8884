# One set of compiler and linker options for everything that this project builds.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

# Release builds are -O2 with debug information: what is measured, attacked and shipped is the same code.
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g -DNDEBUG")

add_library(kura_options INTERFACE)
# A gate sets CMAKE_COMPILE_WARNING_AS_ERROR; a user's newer compiler may know more warnings than these were written for.
target_compile_options(kura_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2)
target_link_options(kura_options INTERFACE -Wl,--as-needed -Wl,-z,relro,-z,now,-z,noexecstack)
# Files and inode numbers of any size and dates after 2038. 64-bit machines have them already; there the definitions
# would only give other names to the functions that a host or a test may stand in front of.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    target_compile_definitions(kura_options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()

if(KURA_SANITIZE)
    target_compile_options(kura_options INTERFACE
        -fsanitize=${KURA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(kura_options INTERFACE -fsanitize=${KURA_SANITIZE})
    # GCC 12 takes members of std::regex for uninitialized where the sanitizers keep it from seeing through.
    target_compile_options(kura_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
if(KURA_COVERAGE)
    target_compile_options(kura_options INTERFACE --coverage)
    target_link_options(kura_options INTERFACE --coverage)
endif()

# What stands around the library is compiled twice as fast this way, and nobody waits for it.
add_library(kura_tool_options INTERFACE)
target_compile_options(kura_tool_options INTERFACE $<$<CONFIG:RelWithDebInfo>:-O1;-g1>)

# Compiles the target's sources several at a time. For what stands around the library; the library is compiled file by
# file.
function(kura_compile_together TARGET)
    if(KURA_TOGETHER)
        set_target_properties(${TARGET} PROPERTIES UNITY_BUILD ON)
        # A source that is included is still no header.
        target_compile_options(${TARGET} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
    endif()
endfunction()

# Fortified calls need the optimiser, and the sanitizers check more than they do.
add_library(kura_hardening INTERFACE)
target_compile_options(kura_hardening INTERFACE -fstack-protector-strong -fstack-clash-protection)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|i.86")
    target_compile_options(kura_hardening INTERFACE -fcf-protection)
endif()
if(NOT KURA_SANITIZE AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    target_compile_definitions(kura_hardening INTERFACE _FORTIFY_SOURCE=2)
endif()

# The fuzzer is led by what the shipped code does, not by its surroundings.
if(KURA_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        message(FATAL_ERROR "KURA_FUZZ needs clang++; use the preset fuzz")
    endif()
    target_compile_options(kura_hardening INTERFACE -fsanitize=fuzzer-no-link)
endif()
