# Runs inside CTest: asks the test program for its suites and adds one test for each.

if(NOT EXISTS "${program}")
    add_test("${program_name}" "${program}_was_not_built")
    return()
endif()

set(filter "*")
if(NOT "$ENV{REVLANE_TEST_FILTER}" STREQUAL "")
    set(filter "$ENV{REVLANE_TEST_FILTER}")
endif()
execute_process(
    COMMAND ${emulator} "${program}" --gtest_list_tests "--gtest_filter=${filter}"
    OUTPUT_VARIABLE listing
    RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    # A program that cannot even list its tests must show as a failure, not as no tests.
    add_test("${program_name}" ${emulator} "${program}" --gtest_list_tests)
    return()
endif()

string(REPLACE "\r" "" listing "${listing}")
# Comments of the listing name types and parameters, which may hold any character.
string(REGEX REPLACE "  *#[^\n]*" "" listing "${listing}")
string(REGEX REPLACE "[][;]" "_" listing "${listing}")
string(REPLACE "\n" ";" lines "${listing}")

set(suite "")
set(cases "")
foreach(line IN LISTS lines ITEMS "end.")
    if(line MATCHES "^  (.+)$")
        if(filter STREQUAL "*")
            set(cases "${suite}.*")
        else()
            list(APPEND cases "${suite}.${CMAKE_MATCH_1}")
        endif()
    elseif(line MATCHES "^([^ ]+)\\.$")
        if(NOT cases STREQUAL "")
            list(JOIN cases ":" cases)
            add_test("${suite}" ${emulator} "${program}" --gtest_color=no "--gtest_filter=${cases}")
            set_tests_properties("${suite}" PROPERTIES TIMEOUT 300 ${properties})
        endif()
        set(suite "${CMAKE_MATCH_1}")
        set(cases "")
    endif()
endforeach()
