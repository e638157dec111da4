/**
 * @file   VelmoraIOLibraryFunctions.h
 * @brief  The host's table of asynchronous-task and DataStore callbacks, reached through
 *         `VelmoraLibraryData::ioLibraryFunctions`.
 *
 * A DataStore is the ordered payload of one asynchronous event; it belongs to the host after the event. Slots after
 * `removeAsynchronousTask` exist in the host and are not declared here.
 */
#ifndef VELMORA_IO_LIBRARY_FUNCTIONS_H
#define VELMORA_IO_LIBRARY_FUNCTIONS_H

#include "VelmoraLibrary.h"

#ifdef __cplusplus
extern "C" {
#endif

struct st_VelmoraIOLibrary_Functions {
    mint (*createAsynchronousTaskWithoutThread)(void);
    mint (*createAsynchronousTaskWithThread)(void (*)(mint, void*), void*);
    void (*raiseAsyncEvent)(mint task, char* eventName, DataStore payload);
    mbool (*asynchronousTaskAliveQ)(mint);
    mbool (*asynchronousTaskStartedQ)(mint);

    DataStore (*createDataStore)(void);
    void (*DataStore_addInteger)(DataStore, mint);
    void (*DataStore_addReal)(DataStore, mreal);
    void (*DataStore_addComplex)(DataStore, mcomplex);
    void (*DataStore_addString)(DataStore, char*);
    void (*DataStore_addMTensor)(DataStore, MTensor);
    void (*DataStore_addMRawArray)(DataStore, MRawArray);
    void (*DataStore_addMImage)(DataStore, MImage);
    void (*DataStore_addDataStore)(DataStore, DataStore);
    void (*DataStore_addNamedInteger)(DataStore, char*, mint);
    void (*DataStore_addNamedReal)(DataStore, char*, mreal);
    void (*DataStore_addNamedComplex)(DataStore, char*, mcomplex);
    void (*DataStore_addNamedString)(DataStore, char*, char*);
    void (*DataStore_addNamedMTensor)(DataStore, char*, MTensor);
    void (*DataStore_addNamedMRawArray)(DataStore, char*, MRawArray);
    void (*DataStore_addNamedMImage)(DataStore, char*, MImage);
    void (*DataStore_addNamedDataStore)(DataStore, char*, DataStore);

    mint (*removeAsynchronousTask)(mint task);
};

#ifdef __cplusplus
}

// Slot k of the table is at offset 8 (k - 1).
static_assert(offsetof(st_VelmoraIOLibrary_Functions, createAsynchronousTaskWithoutThread) == 0);
static_assert(offsetof(st_VelmoraIOLibrary_Functions, raiseAsyncEvent) == 16);
static_assert(offsetof(st_VelmoraIOLibrary_Functions, createDataStore) == 40);
static_assert(offsetof(st_VelmoraIOLibrary_Functions, DataStore_addInteger) == 48);
static_assert(offsetof(st_VelmoraIOLibrary_Functions, DataStore_addReal) == 56);
static_assert(offsetof(st_VelmoraIOLibrary_Functions, DataStore_addString) == 72);
static_assert(offsetof(st_VelmoraIOLibrary_Functions, removeAsynchronousTask) == 176);
static_assert(sizeof(st_VelmoraIOLibrary_Functions) == 184);
#endif

#endif
