#----------------------------------------------------------------
# Generated CMake target import file for configuration "RelWithDebInfo".
#----------------------------------------------------------------

# Commands may need to know the format version.
set(CMAKE_IMPORT_FILE_VERSION 1)

# Import target "VelmoraKesh::VelmoraKesh" for configuration "RelWithDebInfo"
set_property(TARGET VelmoraKesh::VelmoraKesh APPEND PROPERTY IMPORTED_CONFIGURATIONS RELWITHDEBINFO)
set_target_properties(VelmoraKesh::VelmoraKesh PROPERTIES
  IMPORTED_LOCATION_RELWITHDEBINFO "${_IMPORT_PREFIX}/lib/libVelmoraKesh.so"
  IMPORTED_SONAME_RELWITHDEBINFO "libVelmoraKesh.so"
  )

list(APPEND _cmake_import_check_targets VelmoraKesh::VelmoraKesh )
list(APPEND _cmake_import_check_files_for_VelmoraKesh::VelmoraKesh "${_IMPORT_PREFIX}/lib/libVelmoraKesh.so" )

# Commands beyond this point should not need to know the version.
set(CMAKE_IMPORT_FILE_VERSION)
