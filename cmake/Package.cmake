# The Debian packages: `cpack -G DEB` in a build folder writes one for each component. dpkg-shlibdeps reads the
# dependencies from the files, so packages built with other versions of the dependencies require those.
#
#   libvelmorakesh        the library
#   libvelmorakesh-dev    headers, CMake and pkg-config files, manual of the C function
#   python3-velmora-kesh  the Python module
#   velmora-kesh          kesh-host
#   velmora-kesh-doc      pages and examples
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME velmora-kesh)
set(CPACK_PACKAGE_CONTACT "The Velmora Kesh developers <developers@velmora-kesh.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# Only the owner may write into the folders of a package, whatever the umask of the builder.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development python documentation)
if(TARGET kesh-host)
    list(APPEND CPACK_COMPONENTS_ALL host)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE velmora-kesh)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(what_it_is
    "Exact counts of primes, sieving over the whole 64-bit range and primality
of integers of up to 1024 bits, as a library that a host computing system
loads into its process.")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libvelmorakesh)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# The trigger runs ldconfig once for all packages of an installation. cpack would add scripts that run it again, unless
# scripts of these names are given. It takes the given files that exist, and names those that do not.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/cmake/package/triggers ${PROJECT_SOURCE_DIR}/cmake/package/no/postinst
    ${PROJECT_SOURCE_DIR}/cmake/package/no/postrm)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "number-theoretic functions as a plug-in library
${what_it_is}")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvelmorakesh-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libvelmorakesh ${same_version}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "velmora-kesh-doc, cmake, pkgconf")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "number-theoretic functions as a plug-in library - headers
${what_it_is}
.
This package has the header of its primality test for C and C++, the integer
engine of fixed widths of up to 1024 bits (headers only), and the headers for
those who write a host.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-velmora-kesh)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3, libvelmorakesh ${same_version}")
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "number-theoretic functions as a plug-in library - Python module
${what_it_is}
.
This package has the module velmora_kesh: tests of primality, one number or
many, and the next prime.")

set(CPACK_DEBIAN_HOST_PACKAGE_NAME velmora-kesh)
set(CPACK_DEBIAN_HOST_PACKAGE_SECTION math)
set(CPACK_DEBIAN_HOST_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_HOST_PACKAGE_DEPENDS "libvelmorakesh ${same_version}")
set(CPACK_DEBIAN_HOST_PACKAGE_RECOMMENDS gnuplot-nox)
set(CPACK_DEBIAN_HOST_PACKAGE_SUGGESTS "velmora-kesh-doc, bash-completion")
set(CPACK_DEBIAN_HOST_DESCRIPTION "number-theoretic functions as a plug-in library - bench host
${what_it_is}
.
This package has kesh-host, which calls every function from a terminal.")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME velmora-kesh-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SUGGESTS "libvelmorakesh-dev, g++")
set(CPACK_DEBIAN_DOCUMENTATION_DESCRIPTION "number-theoretic functions as a plug-in library - documentation
${what_it_is}
.
This package has the pages on every part of it, and example programs.")

# Run by cpack: before the components are staged, and on the staged files.
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/package/dependencies.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/package/complete.cmake)
set(CPACK_KESH_SOURCE ${PROJECT_SOURCE_DIR})
set(CPACK_KESH_PRIMECOUNT ${PRIMECOUNT_LIBRARY})
include(CPack)
