include("${CMAKE_CURRENT_LIST_DIR}/VelmoraKeshTargets.cmake")
