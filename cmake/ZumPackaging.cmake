# The Debian package, built with `cpack -G DEB` in the build folder: everything the install
# rules put under the prefix (the viewer's desktop entry and icon among them), with its
# dependencies computed from the binaries.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zum-iracing-ibt)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "ZUM telemetry")
set(ZUM_PACKAGE_MAINTAINER "ZUM telemetry maintainers <maintainers@zumtelemetry.com>" CACHE STRING
    "The Debian package's maintainer, Name <address>")
set(CPACK_PACKAGE_CONTACT ${ZUM_PACKAGE_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "iRacing .ibt telemetry import plug-in and lap tools")
set(CPACK_PACKAGE_DESCRIPTION "The import plug-in that a telemetry-analysis host loads to \
read the disk telemetry files that iRacing records (*.ibt) and cut them into laps; the host's \
data model (ZUM::SDK), a shared library with its headers and CMake package for other hosts and \
plug-ins; ibt-view, a desktop viewer of laps on one distance axis with the track map; \
ibt-laps, a command-line host that shows, exports and plots the laps; and ibt-write, a writer \
of synthetic sessions.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# The build's debugging information stays in the build folder.
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
# The Qt 6 libraries and the C++ runtime come from dpkg-shlibdeps, which follows the binaries'
# relative runtime paths to the data model's library in the package itself; the package's
# shlibs file names it as its provider (and the plug-in, which has no soname, as nothing).
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# What no binary links but the tools need: the fonts of the plots.
set(CPACK_DEBIAN_PACKAGE_DEPENDS fonts-dejavu-core)

include(CPack)
