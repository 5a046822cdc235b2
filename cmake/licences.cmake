# Writes dist/THIRD-PARTY.txt: the licence of every library that is linked into the plug-in.

set(third_party "Revlane contains the libraries named below, under these licences.\n")

function(revlane_append_terms title file)
    file(READ "${file}" terms)
    string(REPEAT "=" 80 line)
    string(APPEND third_party "\n${line}\n${title}\n${line}\n\n${terms}")
    set(third_party "${third_party}" PARENT_SCOPE)
endfunction()

if(MINGW)
    file(GLOB licence_texts "${REVLANE_LICENCES}/*")
    foreach(text IN LISTS licence_texts)
        get_filename_component(library "${text}" NAME)
        revlane_append_terms("${library}" "${text}")
    endforeach()
    # Debian's texts refer to these files, which nobody has on Windows.
    revlane_append_terms("GPL-3, to which the GCC Runtime Library Exception is an addition"
        /usr/share/common-licenses/GPL-3)
    revlane_append_terms("CC0-1.0, of tl expected" /usr/share/common-licenses/CC0-1.0)
else()
    foreach(port IN ITEMS bshoshany-thread-pool fmt libdeflate libgit2 ms-gsl tl-expected)
        revlane_append_terms("${port}" "${REVLANE_LICENCES}/${port}/copyright")
    endforeach()
endif()

# Only a text that differs is written, so that dist/ stays untouched by a configuration without
# changes.
set(former "")
if(EXISTS "${CMAKE_BINARY_DIR}/THIRD-PARTY.txt")
    file(READ "${CMAKE_BINARY_DIR}/THIRD-PARTY.txt" former)
endif()
if(NOT former STREQUAL third_party)
    file(WRITE "${CMAKE_BINARY_DIR}/THIRD-PARTY.txt" "${third_party}")
endif()
add_custom_command(
    OUTPUT "${REVLANE_DIST}/THIRD-PARTY.txt"
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${REVLANE_DIST}"
    COMMAND "${CMAKE_COMMAND}" -E copy "${CMAKE_BINARY_DIR}/THIRD-PARTY.txt" "${REVLANE_DIST}"
    DEPENDS "${CMAKE_BINARY_DIR}/THIRD-PARTY.txt"
    VERBATIM)
add_custom_target(dist_licences DEPENDS "${REVLANE_DIST}/THIRD-PARTY.txt")
add_dependencies(dist dist_licences)
