/**
 * @file   kesh.cpp
 * @brief  The two lifecycle exports. There is no uninitialize export: nothing has to be torn down.
 */
#include "Tools/kesh.h"

mint VelmoraLibrary_getVersion() {
    return VelmoraLibraryVersion;
}

int VelmoraLibrary_initialize(VelmoraLibraryData /*libData*/) {
    return LIBRARY_NO_ERROR;
}
