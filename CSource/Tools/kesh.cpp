/**
 * @file   kesh.cpp
 * @brief  The two lifecycle exports. There is no uninitialize export, because nothing has to be released.
 */
#include "Tools/kesh.h"

mint VelmoraLibrary_getVersion() {
    return VelmoraLibraryVersion;
}

int VelmoraLibrary_initialize(VelmoraLibraryData /*libData*/) {
    return LIBRARY_NO_ERROR;
}
