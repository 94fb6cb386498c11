# The Debian package: `make package` (or `cpack -G DEB` in the build folder) writes
# kelp_<version>_<arch>.deb, installed under /usr.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kelp)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "KELP maintainers <kelp-maintainers@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "evaluation program for converter microcontrollers")
set(CPACK_PACKAGE_DESCRIPTION
    "KELP downloads the measurement firmware into a Vantor 8051-core\n\
microcontroller over its serial loader, sets up its converters, DACs and\n\
peripheral registers, runs acquisitions with strip charts and analyses the\n\
noise of the captured codes. A virtual evaluation board (kelp-board) is\n\
included.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# The shared libraries the programs link, from the distribution's Qt 6, found by
# dpkg-shlibdeps; the platform plugins (xcb, wayland, offscreen) are a package of their own.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins")
include(CPack)
