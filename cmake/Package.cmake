# The Debian package: `cpack -G DEB` in a build folder. What the files need is read off them by dpkg-shlibdeps, so a
# package built against other versions of the dependencies asks for those.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME velmora-kesh)
set(CPACK_PACKAGE_CONTACT "The Velmora Kesh developers <developers@velmora-kesh.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "number-theoretic functions as a plug-in library, with a bench host")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Exact counts of primes, sieving over the whole 64-bit range and primality
of integers of up to 1024 bits, as a library that a host computing system
loads into its process; kesh-host calls every function from a terminal.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION math)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS gnuplot-nox)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "bash-completion, g++, cmake, pkg-config")
# Folders of a package are for their owner to write into, whatever the umask of the one who builds it.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/compress_manual.cmake)
include(CPack)
