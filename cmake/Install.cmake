# What is installed, in components that become the Debian packages: the library (runtime), the files to build programs
# with (development), the Python module (python), the bench host (host) and the pages and examples (documentation).
include(CMakePackageConfigHelpers)
set(kesh_cmakedir ${CMAKE_INSTALL_LIBDIR}/cmake/VelmoraKesh)
set(kesh_includedir ${CMAKE_INSTALL_INCLUDEDIR}/velmora-kesh)
set(kesh_docdir ${CMAKE_INSTALL_DATAROOTDIR}/doc/velmora-kesh)

# CMake's targets VelmoraKesh::VelmoraKesh, VelmoraKesh::engine and VelmoraKesh::host_interface.
set_target_properties(kesh_engine PROPERTIES EXPORT_NAME engine)
set_target_properties(kesh_host_interface PROPERTIES EXPORT_NAME host_interface)
install(TARGETS VelmoraKesh kesh_engine kesh_host_interface EXPORT VelmoraKeshTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime)
install(EXPORT VelmoraKeshTargets NAMESPACE VelmoraKesh:: DESTINATION ${kesh_cmakedir} COMPONENT development)
file(WRITE ${PROJECT_BINARY_DIR}/VelmoraKeshConfig.cmake
    "include(\"\${CMAKE_CURRENT_LIST_DIR}/VelmoraKeshTargets.cmake\")\n")
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VelmoraKeshConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VelmoraKeshConfig.cmake ${PROJECT_BINARY_DIR}/VelmoraKeshConfigVersion.cmake
    DESTINATION ${kesh_cmakedir} COMPONENT development)

# The same three for pkg-config, which finds the prefix from the place of the file: the installed tree may be moved.
file(RELATIVE_PATH prefix_from_pc_file ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
function(kesh_install_pc name description flags)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/velmora-kesh.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()
kesh_install_pc(velmora-kesh "${PROJECT_DESCRIPTION}"
    "Libs: -L\${libdir} -lVelmoraKesh\nCflags: -I\${includedir}")
kesh_install_pc(velmora-kesh-engine "Fixed-width integers of up to 1024 bits and number theory on them, headers only"
    "Cflags: -I\${includedir}/velmora-kesh")
kesh_install_pc(velmora-kesh-host "Headers for a host that loads the Velmora Kesh library"
    "Cflags: -I\${includedir}/velmora-kesh/HostInterface")

# The header for callers outside the host. The host's headers are in a separate folder: an existing host has its own,
# and these are for writing a new one. The kernels belong to the library; the engine's headers need none of them.
install(FILES ${PROJECT_SOURCE_DIR}/include/kesh_prime.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/include/KESH_PrimeQ.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/CSource/Shared DESTINATION ${kesh_includedir} COMPONENT development
    FILES_MATCHING PATTERN "*.h" PATTERN "kernel" EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/HostInterface DESTINATION ${kesh_includedir} COMPONENT development
    FILES_MATCHING PATTERN "*.h")

# The Python module, where Debian's python3 looks for modules; elsewhere PYTHONPATH names the folder.
set(KESH_PYTHON_DIR lib/python3/dist-packages CACHE STRING "Where the Python module is installed")
install(FILES ${PROJECT_SOURCE_DIR}/python/velmora_kesh.py DESTINATION ${KESH_PYTHON_DIR} COMPONENT python)

# The documentation keeps the layout of the tree, so that its links work.
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_SOURCE_DIR}/LICENSE
    DESTINATION ${kesh_docdir} COMPONENT documentation)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${kesh_docdir} COMPONENT documentation)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${kesh_docdir} COMPONENT documentation
    USE_SOURCE_PERMISSIONS REGEX "examples/CMakeLists.txt$" EXCLUDE)
foreach(folder BenchHost CSource/Shared/kernel HostKit)
    install(FILES ${PROJECT_SOURCE_DIR}/${folder}/README.md DESTINATION ${kesh_docdir}/${folder} COMPONENT documentation)
endforeach()

if(TARGET kesh-host)
    install(TARGETS kesh-host RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT host)
    install(FILES ${PROJECT_SOURCE_DIR}/BenchHost/kesh-host.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT host)
    install(FILES ${PROJECT_SOURCE_DIR}/BenchHost/kesh-host.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME kesh-host COMPONENT host)
endif()

if(PROJECT_IS_TOP_LEVEL)
    install(CODE "
        if(\"\$ENV{DESTDIR}\" STREQUAL \"\" AND CMAKE_INSTALL_PREFIX MATCHES \"^/usr(/local)?/?$\")
            message(STATUS \"Run ldconfig (as root): it tells the loader of the new library.\")
            message(STATUS \"What was installed is removed by: cmake --build ${PROJECT_BINARY_DIR} --target uninstall\")
        endif()" COMPONENT runtime)
    add_custom_target(uninstall
        COMMAND ${CMAKE_COMMAND} -DBUILD=${PROJECT_BINARY_DIR} -P ${PROJECT_SOURCE_DIR}/cmake/uninstall.cmake VERBATIM)
endif()
