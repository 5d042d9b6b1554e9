# The Debian package (cpack -G DEB in the build folder): the library, the public headers, the
# CMake package files, the schema scripts, the sample forms and oquivran-host, under /usr, with
# the copyright and changelog files Debian keeps for every package.
set(CPACK_PACKAGE_NAME oquivran)
set(CPACK_PACKAGE_VENDOR "oQUIVRAN")
set(CPACK_PACKAGE_CONTACT "oQUIVRAN developers <oquivran@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Discharge of temporarily imported inputs for customs-declaration software")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
# The debug information is most of the installed size and no user of the package reads it.
set(CPACK_STRIP_FILES ON)
# The libraries the installed files link are read from the files themselves (dpkg-shlibdeps,
# from dpkg-dev), so a new one is never forgotten. The shlibs file lets other packages' builds
# do the same with the library; CPack adds the ldconfig calls for it.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# What is loaded as a plugin, which no file links: Qt's SQLite and PostgreSQL drivers. The
# platform plugins the host needs (offscreen when headless, xcb on a screen) are in libqt6gui6
# on Debian 12, which the library links.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libqt6sql6-sqlite (>= 6.2), libqt6sql6-psql (>= 6.2)")
# A fixed-pitch font metric-compatible with the reports' Courier New.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-liberation")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "qt6-base-dev, cmake")

# /usr/share/doc/oquivran: copyright in the machine-readable format, and the changelog of this
# version, compressed as Debian compresses it (gzip -9n: no name, no time, the same bytes for
# the same text). The changelog's date honours SOURCE_DATE_EPOCH.
set(OQUIVRAN_DEBIAN_DOC_DIR ${PROJECT_BINARY_DIR}/debian-doc)
string(TIMESTAMP OQUIVRAN_CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/copyright.in ${OQUIVRAN_DEBIAN_DOC_DIR}/copyright
    @ONLY)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/changelog.in
    ${OQUIVRAN_DEBIAN_DOC_DIR}/changelog.Debian @ONLY)
add_custom_command(OUTPUT ${OQUIVRAN_DEBIAN_DOC_DIR}/changelog.Debian.gz
    COMMAND gzip -9nkf changelog.Debian
    WORKING_DIRECTORY ${OQUIVRAN_DEBIAN_DOC_DIR}
    DEPENDS ${OQUIVRAN_DEBIAN_DOC_DIR}/changelog.Debian
    COMMENT "Compressing the Debian changelog")
add_custom_target(oquivran-debian-doc ALL DEPENDS ${OQUIVRAN_DEBIAN_DOC_DIR}/changelog.Debian.gz)
install(FILES ${OQUIVRAN_DEBIAN_DOC_DIR}/copyright ${OQUIVRAN_DEBIAN_DOC_DIR}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DOCDIR})
include(CPack)
