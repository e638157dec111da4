/**
 * @file   slots.h
 * @brief  The one list of the slots of both callback tables, and of the callbacks that the library may use.
 */
#pragma once

#include <string_view>

#include "VelmoraIOLibraryFunctions.h"
#include "VelmoraLibrary.h"

/** SLOT(member) for each slot of the callback table, in its order. */
#define KESH_LIBRARY_SLOTS(SLOT)       \
    SLOT(UTF8String_disown)            \
    SLOT(MTensor_new)                  \
    SLOT(MTensor_free)                 \
    SLOT(MTensor_clone)                \
    SLOT(MTensor_shareCount)           \
    SLOT(MTensor_disown)               \
    SLOT(MTensor_disownAll)            \
    SLOT(MTensor_setInteger)           \
    SLOT(MTensor_setReal)              \
    SLOT(MTensor_setComplex)           \
    SLOT(MTensor_setMTensor)           \
    SLOT(MTensor_getInteger)           \
    SLOT(MTensor_getReal)              \
    SLOT(MTensor_getComplex)           \
    SLOT(MTensor_getMTensor)           \
    SLOT(MTensor_getRank)              \
    SLOT(MTensor_getDimensions)        \
    SLOT(MTensor_getType)              \
    SLOT(MTensor_getFlattenedLength)   \
    SLOT(MTensor_getIntegerData)       \
    SLOT(MTensor_getRealData)          \
    SLOT(MTensor_getComplexData)       \
    SLOT(Message)                      \
    SLOT(AbortQ)                       \
    SLOT(getLink)                      \
    SLOT(processLink)                  \
    SLOT(evaluateExpression)           \
    SLOT(runtimeData)                  \
    SLOT(compileLibraryFunctions)      \
    SLOT(VersionNumber)                \
    SLOT(registerInputStreamMethod)    \
    SLOT(unregisterInputStreamMethod)  \
    SLOT(registerOutputStreamMethod)   \
    SLOT(unregisterOutputStreamMethod) \
    SLOT(ioLibraryFunctions)

/** The same for the table of task and DataStore callbacks. */
#define KESH_IO_SLOTS(SLOT)                   \
    SLOT(createAsynchronousTaskWithoutThread) \
    SLOT(createAsynchronousTaskWithThread)    \
    SLOT(raiseAsyncEvent)                     \
    SLOT(asynchronousTaskAliveQ)              \
    SLOT(asynchronousTaskStartedQ)            \
    SLOT(createDataStore)                     \
    SLOT(DataStore_addInteger)                \
    SLOT(DataStore_addReal)                   \
    SLOT(DataStore_addComplex)                \
    SLOT(DataStore_addString)                 \
    SLOT(DataStore_addMTensor)                \
    SLOT(DataStore_addMRawArray)              \
    SLOT(DataStore_addMImage)                 \
    SLOT(DataStore_addDataStore)              \
    SLOT(DataStore_addNamedInteger)           \
    SLOT(DataStore_addNamedReal)              \
    SLOT(DataStore_addNamedComplex)           \
    SLOT(DataStore_addNamedString)            \
    SLOT(DataStore_addNamedMTensor)           \
    SLOT(DataStore_addNamedMRawArray)         \
    SLOT(DataStore_addNamedMImage)            \
    SLOT(DataStore_addNamedDataStore)         \
    SLOT(removeAsynchronousTask)

namespace kesh_host {

#define KESH_SLOT_NAME(member) #member,
inline constexpr std::string_view library_slot_names[] = {KESH_LIBRARY_SLOTS(KESH_SLOT_NAME)};
inline constexpr std::string_view io_slot_names[] = {KESH_IO_SLOTS(KESH_SLOT_NAME)};
#undef KESH_SLOT_NAME

/** The kind of value that a callback returns; it decides how the callback can be made to fail. */
enum class Returns { nothing, code, pointer };

/** A callback that the library may use, or one event that it raises through raiseAsyncEvent. */
struct Callback {
    std::string_view name;
    Returns returns;
};

inline constexpr Callback callbacks[] = {
    {"UTF8String_disown", Returns::nothing},
    {"MTensor_new", Returns::code},
    {"MTensor_getInteger", Returns::code},
    {"MTensor_getIntegerData", Returns::pointer},
    {"AbortQ", Returns::code},
    {"createAsynchronousTaskWithoutThread", Returns::code},
    {"createDataStore", Returns::pointer},
    {"DataStore_addInteger", Returns::nothing},
    {"DataStore_addReal", Returns::nothing},
    {"DataStore_addString", Returns::nothing},
    {"raiseAsyncEvent", Returns::nothing},
    {"raiseAsyncEvent:Status", Returns::nothing},
    {"raiseAsyncEvent:Result", Returns::nothing},
    {"raiseAsyncEvent:Error", Returns::nothing},
    {"removeAsynchronousTask", Returns::code},
};

/** The name of one of these callbacks. Any other name is an error at compile time. */
struct CallbackName {
    std::string_view text;

    // NOLINTNEXTLINE(google-explicit-constructor): a string literal must be enough.
    consteval CallbackName(const char* name) : text(name) {
        bool known = false;
        for (const Callback& callback : callbacks) known = known || callback.name == text;
        if (!known) throw "no such callback";
    }
};

}  // namespace kesh_host
