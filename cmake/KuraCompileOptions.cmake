# One set of compiler and linker options for everything that this project builds.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

# Release builds are -O2 with debug information, so that the shipped code is the code that is measured and attacked.
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g -DNDEBUG")

add_library(kura_options INTERFACE)
# Only a gate sets CMAKE_COMPILE_WARNING_AS_ERROR: a user's newer compiler may have more warnings than ours.
target_compile_options(kura_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2)
target_link_options(kura_options INTERFACE -Wl,--as-needed -Wl,-z,relro,-z,now,-z,noexecstack)
# Large files, 64-bit inode numbers and dates after 2038. 64-bit machines have them already; there the definitions would
# only rename functions that a host or a test interposes.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    target_compile_definitions(kura_options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()

if(KURA_SANITIZE)
    target_compile_options(kura_options INTERFACE
        -fsanitize=${KURA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(kura_options INTERFACE -fsanitize=${KURA_SANITIZE})
    # With sanitizers GCC 12 wrongly takes members of std::regex for uninitialized.
    target_compile_options(kura_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
if(KURA_COVERAGE)
    target_compile_options(kura_options INTERFACE --coverage)
    target_link_options(kura_options INTERFACE --coverage)
endif()

# At -O1 the tools compile twice as fast; their own speed matters little.
add_library(kura_tool_options INTERFACE)
target_compile_options(kura_tool_options INTERFACE $<$<CONFIG:RelWithDebInfo>:-O1;-g1>)

# Compiles the target's sources together, a folder's at a time and at most twelve: what their headers cost is paid once for
# all of them. Only the tools use it; the library is compiled file by file.
function(kura_compile_together TARGET)
    if(NOT KURA_TOGETHER)
        return()
    endif()
    set_target_properties(${TARGET} PROPERTIES UNITY_BUILD ON)
    # GCC takes a source that another one includes for a header.
    target_compile_options(${TARGET} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
    # A number that is given holds instead of the folders.
    if(DEFINED CMAKE_UNITY_BUILD_BATCH_SIZE)
        return()
    endif()
    set_target_properties(${TARGET} PROPERTIES UNITY_BUILD_MODE GROUP)
    get_target_property(SOURCES ${TARGET} SOURCES)
    foreach(SOURCE IN LISTS SOURCES)
        cmake_path(RELATIVE_PATH SOURCE BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE GROUP)
        cmake_path(GET GROUP PARENT_PATH GROUP)
        string(MAKE_C_IDENTIFIER "${GROUP}" GROUP)
        math(EXPR PART "(0${COUNT_${GROUP}}) / 12")
        math(EXPR COUNT_${GROUP} "0${COUNT_${GROUP}} + 1")
        set_source_files_properties(${SOURCE} PROPERTIES UNITY_GROUP ${GROUP}_${PART})
    endforeach()
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

# Only the shipped code guides the fuzzer, so only it is instrumented.
if(KURA_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        message(FATAL_ERROR "KURA_FUZZ needs clang++; use the preset fuzz")
    endif()
    target_compile_options(kura_hardening INTERFACE -fsanitize=fuzzer-no-link)
endif()
