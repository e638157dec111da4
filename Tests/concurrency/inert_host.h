/**
 * @file   inert_host.h
 * @brief  A host that receives events and drops them. It has no state that could be destroyed when the process exits or
 *         when a library is closed under a running task.
 */
#pragma once

#include <atomic>

#include "VelmoraIOLibraryFunctions.h"
#include "VelmoraLibrary.h"

namespace kesh::test {

/** The last integer of a "Result" event, and the number of removed tasks. */
inline std::atomic<mint> last_result{0};
inline std::atomic<int> tasks_removed{0};

inline VelmoraLibraryData inert_host() {
    static auto* const io = [] {
        auto* const table = new st_VelmoraIOLibrary_Functions{};
        table->createAsynchronousTaskWithoutThread = [] { return mint{1}; };
        table->createDataStore = []() -> DataStore { return nullptr; };
        table->DataStore_addInteger = [](DataStore, mint value) { last_result = value; };
        table->DataStore_addReal = [](DataStore, mreal) {};
        table->DataStore_addString = [](DataStore, char*) {};
        table->raiseAsyncEvent = [](mint, char*, DataStore) {};
        table->removeAsynchronousTask = [](mint task) {
            ++tasks_removed;
            return task;
        };
        return table;
    }();
    static auto* const data = [] {
        auto* const table = new st_VelmoraLibraryData{};
        table->UTF8String_disown = [](char*) {};
        table->AbortQ = [] { return mint{0}; };
        table->VersionNumber = VelmoraLibraryVersion;
        table->ioLibraryFunctions = io;
        return table;
    }();
    return data;
}

}  // namespace kesh::test
