/**
 * @file   rogue_library.cpp
 * @brief  A library that breaks the host protocol in every way that the host detects. Each export misbehaves in one
 * way; the count argument of SubmitPrimePi selects its way.
 */
#include <cstring>
#include <stdexcept>

#include "VelmoraIOLibraryFunctions.h"
#include "VelmoraLibrary.h"

#define ROGUE_EXPORT(name) \
    extern "C" int name(VelmoraLibraryData data, mint count, MArgument* arguments, MArgument result)

namespace {

[[maybe_unused]] char status_name[] = "Status";
[[maybe_unused]] char result_name[] = "Result";
[[maybe_unused]] char unknown_name[] = "Progress";

/** Calls slot `number` (from 1) of a table by its position. */
void call_slot(const void* table, std::size_t number) {
    void (*slot)() = nullptr;
    std::memcpy(&slot, static_cast<const char*>(table) + 8 * (number - 1), sizeof slot);
    slot();
}

}  // namespace

extern "C" mint VelmoraLibrary_getVersion() {
    return VelmoraLibraryVersion;
}

extern "C" int VelmoraLibrary_initialize(VelmoraLibraryData) {
    return LIBRARY_NO_ERROR;
}

/** Calls a slot that a library must not call. */
ROGUE_EXPORT(PrimeSieve_CountTwins) {
    (void)count, (void)arguments;
    call_slot(data, 23);
    *result.integer = 1;
    return LIBRARY_NO_ERROR;
}

/** Calls a slot after the last used one. */
ROGUE_EXPORT(PrimeSieve_CountTriplets) {
    (void)count, (void)arguments;
    call_slot(data, 40);
    call_slot(data->ioLibraryFunctions, 30);
    *result.integer = 1;
    return LIBRARY_NO_ERROR;
}

/** Fails and writes its result nevertheless. */
ROGUE_EXPORT(PrimeSieve_CountPrimes) {
    (void)data, (void)count, (void)arguments;
    *result.integer = 1;
    return LIBRARY_FUNCTION_ERROR;
}

/** Succeeds without a result. */
ROGUE_EXPORT(PrimeSieve_NthPrime) {
    (void)data, (void)count, (void)arguments, (void)result;
    return LIBRARY_NO_ERROR;
}

/** Throws an object that is not a std::exception. */
ROGUE_EXPORT(PrimeSieve_NextPrime) {
    (void)data, (void)count, (void)arguments, (void)result;
    throw 42;
}

/** Returns a handle that is not a tensor. */
ROGUE_EXPORT(PrimeSieve_ListNPrimes) {
    (void)data, (void)count, (void)arguments;
    static char nothing[64];
    *result.tensor = reinterpret_cast<MTensor>(nothing);
    return LIBRARY_NO_ERROR;
}

/** Succeeds and keeps the host's string. */
ROGUE_EXPORT(PrimeCount_ExprPrimePi) {
    (void)data, (void)count, (void)arguments;
    static char text[] = "25";
    *result.utf8string = text;
    return LIBRARY_NO_ERROR;
}

/** Disowns a string that was never lent. */
ROGUE_EXPORT(PrimeCount_GetThreads) {
    (void)count, (void)arguments;
    static char text[] = "mine";
    data->UTF8String_disown(text);
    *result.integer = 1;
    return LIBRARY_NO_ERROR;
}

/** Returns a code that no host knows. */
ROGUE_EXPORT(PrimeCount_SetThreads) {
    (void)data, (void)count, (void)arguments, (void)result;
    return 77;
}

ROGUE_EXPORT(PrimeCount_CreateTask) {
    (void)count, (void)arguments;
    *result.integer = data->ioLibraryFunctions->createAsynchronousTaskWithoutThread();
    return LIBRARY_NO_ERROR;
}

ROGUE_EXPORT(PrimeCount_SubmitPrimePi) {
    (void)count, (void)result;
    VelmoraIOLibrary_Functions io = data->ioLibraryFunctions;
    const mint id = *arguments[0].integer;
    const auto raise_real = [io](mint task, char* name, mreal value) {
        DataStore store = io->createDataStore();
        io->DataStore_addReal(store, value);
        io->raiseAsyncEvent(task, name, store);
    };
    const auto raise_integer = [io](mint task, mint value) {
        DataStore store = io->createDataStore();
        io->DataStore_addInteger(store, value);
        io->raiseAsyncEvent(task, result_name, store);
        return store;
    };
    switch (*arguments[1].integer) {
        case 1:  // two results
            raise_integer(id, 1);
            raise_integer(id, 2);
            break;
        case 2: {  // two values in one event
            DataStore store = io->createDataStore();
            io->DataStore_addInteger(store, 1);
            io->DataStore_addInteger(store, 2);
            io->raiseAsyncEvent(id, result_name, store);
            break;
        }
        case 3:  // removal without a result
            break;
        case 4:  // an event for a task that is not there
            raise_real(id + 1000, status_name, 1);
            raise_integer(id, 1);
            break;
        case 5:  // progress that falls
            raise_real(id, status_name, 50);
            raise_real(id, status_name, 40);
            raise_integer(id, 1);
            break;
        case 6:  // progress after the result
            raise_integer(id, 1);
            raise_real(id, status_name, 40);
            break;
        case 7: {  // a DataStore handed over twice
            DataStore store = raise_integer(id, 1);
            io->raiseAsyncEvent(id, status_name, store);
            break;
        }
        case 8:  // an event of unknown name
            raise_real(id, unknown_name, 1);
            raise_integer(id, 1);
            break;
        case 9:  // removal twice
            raise_integer(id, 1);
            io->removeAsynchronousTask(id);
            break;
        default:
            raise_integer(id, 25);
            break;
    }
    io->removeAsynchronousTask(id);
    return LIBRARY_NO_ERROR;
}

/** Sets a verdict that is neither 0 nor 1. */
extern "C" mbool KESH_PrimeQ(const umint*, mint, mbool* answer) {
    *answer = 7;
    return 1;
}
