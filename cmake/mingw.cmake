# Builds for 64-bit Windows with Debian's mingw-w64. The posix flavour of the compiler is the one
# whose standard library has threads.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Nothing of the building machine itself may be found but programs.
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# What was compiled before, in whichever checkout, is not compiled again.
find_program(REVLANE_CCACHE ccache)
if(REVLANE_CCACHE)
    execute_process(
        COMMAND "${CMAKE_CURRENT_LIST_DIR}/../tools/cache-dir"
        OUTPUT_VARIABLE cache
        OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
    get_filename_component(root "${CMAKE_CURRENT_LIST_DIR}/.." ABSOLUTE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND}" -E env "CCACHE_DIR=${cache}/ccache"
        "CCACHE_BASEDIR=${root}" CCACHE_NOHASHDIR=1 CCACHE_MAXSIZE=2G "${REVLANE_CCACHE}")
endif()

# Tests and helper programs run under Wine.
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../tools/run-under-wine")
