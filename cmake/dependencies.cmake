# The libraries Revlane stands on, under the same names with either compiler:
#   deps::headers   BS thread pool, tl::expected, GSL, and fmt without a library of its own
#   deps::libgit2   libgit2 with what it needs, static
#   deps::gtest     GoogleTest and GoogleMock, without a main function

add_library(deps_headers INTERFACE)
add_library(deps::headers ALIAS deps_headers)
target_compile_definitions(deps_headers INTERFACE FMT_HEADER_ONLY)
add_library(deps_libgit2 INTERFACE)
add_library(deps::libgit2 ALIAS deps_libgit2)
add_library(deps_gtest INTERFACE)
add_library(deps::gtest ALIAS deps_gtest)

if(MINGW)
    # Asked each time: a changed recipe has another folder.
    execute_process(
        COMMAND "${PROJECT_SOURCE_DIR}/tools/dependencies/build" --where
        OUTPUT_VARIABLE REVLANE_PREFIX
        OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
    if(NOT IS_DIRECTORY "${REVLANE_PREFIX}")
        message(FATAL_ERROR "The libraries are not built yet: run ./dev build, which makes them.")
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
        "${PROJECT_SOURCE_DIR}/tools/dependencies/build"
        "${PROJECT_SOURCE_DIR}/tools/dependencies/patches")

    # Headers are found by a path in the build folder, which stays the same with another recipe: what
    # was compiled with the same headers need not be compiled again.
    set(headers "${CMAKE_BINARY_DIR}/prefix")
    file(CREATE_LINK "${REVLANE_PREFIX}/include" "${headers}" SYMBOLIC)
    target_include_directories(deps_headers SYSTEM INTERFACE "${headers}")
    target_include_directories(deps_libgit2 SYSTEM INTERFACE "${headers}")
    target_link_libraries(deps_libgit2 INTERFACE
        "${REVLANE_PREFIX}/lib/libgit2.a"
        "${REVLANE_PREFIX}/lib/libpcre2-8.a"
        "${REVLANE_PREFIX}/lib/libdeflate.a"
        "${REVLANE_PREFIX}/lib/libhttp_parser.a"
        z ws2_32 secur32 rpcrt4 crypt32)
    # The compiler links its library for threads by name: the one in the prefix comes first.
    link_directories("${REVLANE_PREFIX}/lib")
    target_include_directories(deps_gtest SYSTEM INTERFACE "${headers}")
    target_link_libraries(deps_gtest INTERFACE
        "${REVLANE_PREFIX}/lib/libgmock.a"
        "${REVLANE_PREFIX}/lib/libgtest.a")
    set(REVLANE_LICENCES "${REVLANE_PREFIX}/licences")
else()
    find_package(fmt CONFIG REQUIRED)
    find_package(Microsoft.GSL CONFIG REQUIRED)
    find_package(tl-expected CONFIG REQUIRED)
    find_package(GTest CONFIG REQUIRED)
    find_path(BS_THREAD_POOL_INCLUDE_DIR BS_thread_pool.hpp REQUIRED)
    find_package(libgit2 CONFIG REQUIRED)
    target_include_directories(deps_headers SYSTEM INTERFACE "${BS_THREAD_POOL_INCLUDE_DIR}")
    target_link_libraries(deps_headers INTERFACE
        fmt::fmt-header-only Microsoft.GSL::GSL tl::expected)
    target_link_libraries(deps_libgit2 INTERFACE libgit2::libgit2package)
    target_link_libraries(deps_gtest INTERFACE GTest::gmock GTest::gtest)
    set(REVLANE_LICENCES "${VCPKG_INSTALLED_DIR}/${VCPKG_TARGET_TRIPLET}/share")
endif()
