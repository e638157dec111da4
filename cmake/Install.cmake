# The library with the header for callers outside the host, the headers of the integer engine, and what finds them: a
# CMake package with the targets VelmoraKesh::VelmoraKesh and VelmoraKesh::engine, and a pkg-config file for the library.
install(TARGETS VelmoraKesh engine EXPORT VelmoraKeshTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/kesh_prime.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
file(RELATIVE_PATH prefix_from_pc_file ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/velmora-kesh.pc.in ${PROJECT_BINARY_DIR}/velmora-kesh.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/velmora-kesh.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/CSource/Shared DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velmora-kesh
    FILES_MATCHING PATTERN "*.h" PATTERN "kernel" EXCLUDE)
# Of the kernels, what the engine's headers include; the others belong to the library.
foreach(header product columns adx_rows)
    install(FILES ${PROJECT_SOURCE_DIR}/CSource/Shared/kernel/${header}.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velmora-kesh/Shared/kernel)
endforeach()
install(EXPORT VelmoraKeshTargets NAMESPACE VelmoraKesh:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VelmoraKesh)
file(WRITE ${PROJECT_BINARY_DIR}/VelmoraKeshConfig.cmake
    "include(\"\${CMAKE_CURRENT_LIST_DIR}/VelmoraKeshTargets.cmake\")\n")
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VelmoraKeshConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VelmoraKeshConfig.cmake ${PROJECT_BINARY_DIR}/VelmoraKeshConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VelmoraKesh)
# The documentation keeps the tree's layout, so that its links lead where they led. The host's headers stand apart from
# the header for other callers: a host brings its own, and they serve those who write one.
set(kesh_docdir ${CMAKE_INSTALL_DATAROOTDIR}/doc/velmora-kesh)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION ${kesh_docdir})
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${kesh_docdir} RENAME copyright)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples DESTINATION ${kesh_docdir}
    USE_SOURCE_PERMISSIONS)
install(FILES ${PROJECT_SOURCE_DIR}/CSource/Shared/kernel/README.md DESTINATION ${kesh_docdir}/CSource/Shared/kernel)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/HostInterface DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velmora-kesh
    FILES_MATCHING PATTERN "*.h")
