# The libgit2 of this folder's patches for vcpkg: with this file and vcpkg.json beside them, the folder
# is a port, and takes the place of vcpkg's own. Whatever is named libgit2-*.patch is applied, as in
# the build for mingw-w64; since the patches lie in the port's folder, vcpkg builds anew when one of
# them changes.
#
# This file has not been run yet: there was neither vcpkg nor a way to the repository below where it
# was written. The commit was entered without having been fetched, so what was fetched is looked at:
# anything but the release stops here. Debian's package, from which the other build is made, has
# security fixes that the release does not have.
vcpkg_check_linkage(ONLY_STATIC_LIBRARY)

file(GLOB patches "${CURRENT_PORT_DIR}/libgit2-*.patch")
list(SORT patches COMPARE NATURAL)
vcpkg_from_git(
    OUT_SOURCE_PATH SOURCE_PATH
    URL https://github.com/libgit2/libgit2.git
    REF 338e6fb681369ff0537719095e22ce9dc602dbf0
    PATCHES ${patches})
file(STRINGS "${SOURCE_PATH}/include/git2/version.h" version REGEX "LIBGIT2_VERSION ")
if(NOT version MATCHES "\"${VERSION}\"")
    message(FATAL_ERROR "This is not libgit2 ${VERSION}: ${version}")
endif()

string(COMPARE EQUAL "${VCPKG_CRT_LINKAGE}" static static_crt)
# Everything that talks to a remote is git's own work, so no TLS and no SSH is linked. What libgit2
# brings along of other libraries is enough.
vcpkg_cmake_configure(
    SOURCE_PATH "${SOURCE_PATH}"
    OPTIONS
        -DBUILD_TESTS=OFF -DBUILD_CLI=OFF
        -DUSE_SSH=OFF -DUSE_HTTPS=OFF -DUSE_SHA256=Builtin
        -DREGEX_BACKEND=builtin -DUSE_HTTP_PARSER=builtin -DUSE_BUNDLED_ZLIB=ON
        -DSTATIC_CRT=${static_crt})
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(CONFIG_PATH lib/cmake/libgit2)
vcpkg_fixup_pkgconfig()
file(REMOVE_RECURSE
    "${CURRENT_PACKAGES_DIR}/debug/include"
    "${CURRENT_PACKAGES_DIR}/debug/share")
# It holds the terms of the libraries that are brought along, too.
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/COPYING")
