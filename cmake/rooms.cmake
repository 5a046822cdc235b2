# A room is one folder of the repository and one static library.

# revlane_library(NAME SOURCES file... [DEPENDS target...])
# What a room depends on is visible to those who use the room, since its headers show it.
function(revlane_library name)
    cmake_parse_arguments(PARSE_ARGV 1 room "" "" "SOURCES;DEPENDS")
    add_library(${name} STATIC ${room_SOURCES})
    revlane_compile_options(${name})
    target_link_libraries(${name} PUBLIC deps::headers ${room_DEPENDS})
endfunction()

# revlane_dist(TARGET [FOLDER])
# Puts the library that TARGET builds into dist/, or a folder in it, after each link, without its
# debug information.
function(revlane_dist target)
    set(folder "${REVLANE_DIST}")
    if(ARGC GREATER 1)
        string(APPEND folder "/${ARGV1}")
    endif()
    if(MINGW)
        set(copy "${CMAKE_STRIP}" --strip-all -o "${folder}/$<TARGET_FILE_NAME:${target}>"
            "$<TARGET_FILE:${target}>")
    else()
        set(copy "${CMAKE_COMMAND}" -E copy_if_different "$<TARGET_FILE:${target}>" "${folder}")
    endif()
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND "${CMAKE_COMMAND}" -E make_directory "${folder}"
        COMMAND ${copy}
        VERBATIM)
endfunction()
