# A room is one folder of the repository and one static library.

# revlane_library(NAME SOURCES file... [DEPENDS target...])
# What a room depends on is visible to those who use the room, since its headers show it.
function(revlane_library name)
    cmake_parse_arguments(PARSE_ARGV 1 room "" "" "SOURCES;DEPENDS")
    add_library(${name} STATIC ${room_SOURCES})
    revlane_compile_options(${name})
    target_link_libraries(${name} PUBLIC deps::headers ${room_DEPENDS})
endfunction()

# Everything that dist/ holds; the library targets add themselves.
add_custom_target(dist ALL)

# revlane_dist(TARGET [FOLDER])
# Puts the library that TARGET builds into dist/, or a folder in it, without its debug information.
function(revlane_dist target)
    set(folder "${REVLANE_DIST}")
    if(ARGC GREATER 1)
        string(APPEND folder "/${ARGV1}")
    endif()
    get_target_property(name ${target} OUTPUT_NAME)
    if(NOT name)
        set(name ${target})
    endif()
    set(product "${folder}/${name}${CMAKE_SHARED_LIBRARY_SUFFIX}")
    if(MINGW)
        # Without the option the time of day would be written into the library.
        set(copy "${CMAKE_STRIP}" --strip-all --preserve-dates -o "${product}"
            "$<TARGET_FILE:${target}>")
    else()
        set(copy "${CMAKE_COMMAND}" -E copy "$<TARGET_FILE:${target}>" "${product}")
    endif()
    # A command of its own and not a step after the link: a dist/ that was deleted comes back.
    add_custom_command(
        OUTPUT "${product}"
        COMMAND "${CMAKE_COMMAND}" -E make_directory "${folder}"
        COMMAND ${copy}
        DEPENDS ${target}
        VERBATIM)
    add_custom_target(dist_${target} DEPENDS "${product}")
    add_dependencies(dist dist_${target})
endfunction()
