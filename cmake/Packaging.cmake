# Packages of an install: `cpack -G DEB` gives liborvx0.3 (the shared
# library; the name follows the SONAME, so that the libraries of two ABIs can
# be installed together), liborvx-dev (headers, CMake package, pkg-config
# files, the documentation) and orvdb (the tool, its man page, the sample
# database and the Python package); `cpack -G TGZ` one tarball of the whole
# install. Configure with -DCMAKE_INSTALL_PREFIX=/usr for Debian packages, so
# that the library lands in the multiarch directory.
set(CPACK_PACKAGE_NAME orvx)
set(CPACK_PACKAGE_VENDOR "The orvx developers")
set(CPACK_PACKAGE_CONTACT "orvx developers <orvx@example.invalid>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_HOMEPAGE_URL "${PROJECT_HOMEPAGE_URL}")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_SOURCE_IGNORE_FILES "/build/" "/\\\\.git/")
set(CPACK_STRIP_FILES ON)
# What only the Debian packages get (their own synopses, a copyright file and
# the changelog in each, compressed man pages, the symbols file) is added by
# cmake/debian/cpack.cmake when cpack runs the DEB generator.
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/debian/cpack.cmake)
set(CPACK_ORVX_SOURCE_DIR ${PROJECT_SOURCE_DIR})
set(CPACK_ORVX_CONTROL_DIR ${PROJECT_BINARY_DIR}/debian)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev tool)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)

set(deb_version "${PROJECT_VERSION}")
# The C++ runtime of the compiler that built it (GCC 12 on Debian 12).
set(deb_cxx_runtime "libc6 (>= 2.34), libstdc++6 (>= 12), libgcc-s1 (>= 3.0)")

set(deb_library liborvx${ORVX_SOVERSION})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${deb_library})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "${deb_cxx_runtime}")
# The shlibs and symbols files are written when cpack runs (they read the
# library); the trigger runs ldconfig.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers
    ${CPACK_ORVX_CONTROL_DIR}/shlibs ${CPACK_ORVX_CONTROL_DIR}/symbols)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "printer model information library
orvx holds the static description of printer models (the model database
ORVDB.dat) and answers a status-monitor host's questions about them: lookup
by name, capability flags, information values, paper-size lists, picture
IDs, supported models and COM port settings. This package has the shared
library, with a C++ and a plain C interface. License: MIT.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME liborvx-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${deb_library} (= ${deb_version})")
set(CPACK_COMPONENT_DEV_DESCRIPTION "printer model information library - development files
Headers of the C++ classes (C++20) and of the C interface orvx/orvx.h, the
CMake package (find_package(orvx), target orvx::orvx), the pkg-config
files orvx (C++) and orvx-c (C), and the manuals under /usr/share/doc/orvx.
License: MIT.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME orvdb)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${deb_library} (= ${deb_version}), ${deb_cxx_runtime}")
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS "python3")
set(CPACK_COMPONENT_TOOL_DESCRIPTION "inspect, lint and author printer model databases
orvdb shows, lists, exports and builds model databases (ORVDB.dat), computes
picture IDs and answers JSON Lines requests in batch. The package also has
the sample database and its JSON source under /usr/share/orvx, and the Python
module orvx over the library. License: MIT.")

include(CPack)
