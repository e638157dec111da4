/**
 * @file   opened_library.h
 * @brief  The built library, opened once for all tests of a program.
 */
#pragma once

#include "HostKit/host_tables.h"
#include "HostKit/library.h"

namespace kesh::test {

inline const kesh_host::Library& library() {
    static const kesh_host::Library opened(KESH_LIBRARY_PATH, kesh_host::library_data());
    return opened;
}

}  // namespace kesh::test
