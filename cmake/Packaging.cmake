# Debian packages, one per install component (cpack -G DEB in the build tree,
# or cpack --config BUILD/CPackConfig.cmake from anywhere):
#   chartxml      runtime: the shared libraries, the chartxml command and its
#                 commands module, the string tables, the schema, the manual
#   chartxml-dev  development: headers, the Fortran include files, the CMake
#                 package and the pkg-config files; needs chartxml of the same
#                 version
#   chartxml-doc  documentation: the API reference (when `make docs` built
#                 it), the README, the changes and the examples' sources
# The install tree is relocatable (chartxmlInstallPaths.cmake), so the files
# work under /usr as they do under any prefix.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME chartxml)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The chartxml developers")
set(CPACK_PACKAGE_CONTACT "The chartxml developers <chartxml@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "chart-description builder with its reference host")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)

set(CPACK_DEB_COMPONENT_INSTALL ON)
# Only these: an install rule without a component would stand out as a
# missing file in a package (the packages_deb test), not as a fourth package.
set(CPACK_COMPONENTS_ALL runtime development documentation)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)  # NAME_VERSION_ARCH.deb
# Binaries go stripped, as Debian ships them: a RelWithDebInfo build's debug
# information would otherwise make up most of the runtime package.
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://example.org/chartxml")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME chartxml)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
  "chart-description builder with its reference host\n\
 The chartxml libraries build chart documents for analytical procedures\n\
 (C++, C, Fortran), serve them through a reference host, and draw sent charts\n\
 as PNG, SVG or PDF. The chartxml command turns a data file into charts.")
# The libraries' own dependencies (xerces-c, ICU, cairo, pango, the C++
# runtime) come from dpkg-shlibdeps; the package's shlibs file lets other
# packages depend on these libraries the same way.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# The renderer measures and draws text with whatever fonts fontconfig finds.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "fonts-dejavu-core")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME chartxml-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
  "chart-description builder: development files\n\
 Headers (C++ and C), the Fortran include files, the CMake package\n\
 (find_package(chartxml)) and the pkg-config files chartxml.pc and\n\
 chartxml-render.pc.")
# The public headers include xerces-c's; chartxml.pc and the CMake package
# ask for xerces-c, chartxml-render.pc for cairo and pango.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "chartxml (= ${PROJECT_VERSION}), libxerces-c-dev, libcairo2-dev, libpango1.0-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "pkg-config")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "chartxml-doc")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME chartxml-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_DESCRIPTION
  "chart-description builder: documentation and examples\n\
 The API reference (HTML), the README, the list of changes, and complete\n\
 example procedures in C, C++ and Fortran with their data.")

include(CPack)
