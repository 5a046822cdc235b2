# How every file of ours is compiled and linked.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# The static run-time library, as in vcpkg's static triplet: the plug-in brings no DLL with it.
set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")

# Resource scripts are UTF-8. Of a target's own options CMake hands the resource compiler only
# definitions and folders, hence the variable.
if(MSVC)
    string(APPEND CMAKE_RC_FLAGS " /c65001")
else()
    string(APPEND CMAKE_RC_FLAGS " -c65001")
endif()

if(MINGW)
    # Libraries are Revlane.dll and the like, as with the other compiler.
    set(CMAKE_SHARED_LIBRARY_PREFIX "")
    set(CMAKE_SHARED_MODULE_PREFIX "")
    # Debug information stays in the build folder; what goes into dist/ is stripped of it.
    set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g1")
endif()

# Gives `target` the language, the warnings and the definitions that all code of Revlane shares.
function(revlane_compile_options target)
    # Every file includes from the root, so that an include line names the room it reaches into.
    target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}")
    target_compile_definitions(${target} PRIVATE
        UNICODE _UNICODE
        NOMINMAX WIN32_LEAN_AND_MEAN STRICT
        # Windows 10 is the oldest system that the plug-in runs on.
        WINVER=0x0A00 _WIN32_WINNT=0x0A00)
    if(MSVC)
        set(options /W4 /WX /utf-8 /permissive- /Zc:__cplusplus /EHsc
            /external:anglebrackets /external:W0)
        target_compile_options(${target} PRIVATE "$<$<COMPILE_LANGUAGE:CXX>:${options}>")
        target_compile_definitions(${target} PRIVATE _CRT_SECURE_NO_WARNINGS)
        target_link_options(${target} PRIVATE /Brepro)
        return()
    endif()
    set(warnings
        -Wall -Wextra -Wpedantic -Werror
        -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wcast-qual -Wcast-align
        -Wnon-virtual-dtor -Woverloaded-virtual -Wnull-dereference -Wduplicated-cond
        -Wlogical-op -Wformat=2 -Wundef -Wimplicit-fallthrough -Wextra-semi
        # An entry point of a library is cast from FARPROC to what it is.
        -Wno-cast-function-type)
    set(generation
        -ffunction-sections -fdata-sections
        # The same sources give the same bytes, wherever they lie.
        "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")
    target_compile_options(${target} PRIVATE
        "$<$<COMPILE_LANGUAGE:CXX>:${warnings};${generation}>")
    target_link_options(${target} PRIVATE
        -static
        -Wl,--gc-sections
        -Wl,--no-insert-timestamp
        -Wl,--dynamicbase,--nxcompat,--high-entropy-va)
endfunction()
