# Installed beside the library: the headers of the integer engine and the CMake package that names both.
install(TARGETS engine EXPORT VelmoraKeshTargets)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/CSource/Shared DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velmora-kesh
    FILES_MATCHING PATTERN "*.h")
install(EXPORT VelmoraKeshTargets NAMESPACE VelmoraKesh:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VelmoraKesh)
file(WRITE ${PROJECT_BINARY_DIR}/VelmoraKeshConfig.cmake
    "include(\"\${CMAKE_CURRENT_LIST_DIR}/VelmoraKeshTargets.cmake\")\n")
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VelmoraKeshConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VelmoraKeshConfig.cmake ${PROJECT_BINARY_DIR}/VelmoraKeshConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VelmoraKesh)
