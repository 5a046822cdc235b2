# revlane_discover_tests(TARGET [PROPERTIES name value...])
# Registers the suites of a GoogleTest program with CTest. One CTest test is one suite: under Wine
# each start of a program costs, so a start per case would take longer than the cases. The program
# itself is asked for its suites as CTest starts, so none can be forgotten. REVLANE_TEST_FILTER in
# the environment (a GoogleTest filter) picks the cases.
function(revlane_discover_tests target)
    cmake_parse_arguments(PARSE_ARGV 1 discover "" "" "PROPERTIES")
    set(script "${CMAKE_CURRENT_BINARY_DIR}/${target}_suites-$<CONFIG>.cmake")
    file(GENERATE OUTPUT "${script}" CONTENT
"set(program [==[$<TARGET_FILE:${target}>]==])
set(emulator [==[${CMAKE_CROSSCOMPILING_EMULATOR}]==])
set(properties [==[${discover_PROPERTIES}]==])
set(program_name [==[${target}]==])
include([==[${PROJECT_SOURCE_DIR}/cmake/list_suites.cmake]==])
")
    # CTest includes this one file whatever the configuration; it leads to the configuration's own.
    set(entry "${CMAKE_CURRENT_BINARY_DIR}/${target}_suites.cmake")
    get_property(several GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
    if(several)
        file(WRITE "${entry}"
            "include(\"${CMAKE_CURRENT_BINARY_DIR}/${target}_suites-\${CTEST_CONFIGURATION_TYPE}.cmake\")\n")
    else()
        file(WRITE "${entry}"
            "include(\"${CMAKE_CURRENT_BINARY_DIR}/${target}_suites-${CMAKE_BUILD_TYPE}.cmake\")\n")
    endif()
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${entry}")
endfunction()
