/**
 * @file   foreign_library.cpp
 * @brief  A library written against another version of the interface.
 */
#include "VelmoraLibrary.h"

extern "C" mint VelmoraLibrary_getVersion() {
    return VelmoraLibraryVersion - 1;
}

extern "C" int VelmoraLibrary_initialize(VelmoraLibraryData) {
    return LIBRARY_NO_ERROR;
}
