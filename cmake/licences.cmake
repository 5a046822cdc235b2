# Writes dist/THIRD-PARTY.txt: the licence of every library that is linked into the plug-in.

set(licence_texts "")
if(MINGW)
    file(GLOB licence_texts "${REVLANE_LICENCES}/*")
else()
    foreach(port IN ITEMS bshoshany-thread-pool fmt libgit2 http-parser llhttp ms-gsl pcre2
            tl-expected zlib)
        if(EXISTS "${REVLANE_LICENCES}/${port}/copyright")
            list(APPEND licence_texts "${REVLANE_LICENCES}/${port}/copyright")
        endif()
    endforeach()
endif()

set(third_party "Revlane contains the following libraries.\n")
foreach(text IN LISTS licence_texts)
    get_filename_component(library "${text}" NAME)
    if(library STREQUAL "copyright")
        get_filename_component(library "${text}" DIRECTORY)
        get_filename_component(library "${library}" NAME)
    endif()
    file(READ "${text}" terms)
    string(REPEAT "=" 80 line)
    string(APPEND third_party "\n${line}\n${library}\n${line}\n\n${terms}")
endforeach()
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
