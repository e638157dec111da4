/**
 * @file   kesh.h
 * @brief  The lifecycle exports, and the helpers that every export of the library uses.
 */
#pragma once

#include "VelmoraLibrary.h"

/** Marks a function that the host finds by its plain name. */
#define KESH_EXPORT extern "C" __attribute__((visibility("default")))

/** The version of the library-link interface for which this library is written. */
KESH_EXPORT mint VelmoraLibrary_getVersion();

/** The host calls it once after loading. It keeps nothing, because every export receives the table again. */
KESH_EXPORT int VelmoraLibrary_initialize(VelmoraLibraryData libData);

namespace kesh {

/** The integer in argument slot i. */
inline mint integer_argument(const MArgument* Args, mint i) {
    return *Args[i].integer;
}

/** The same as the 64-bit pattern that the sieve takes: a negative value becomes one of 2^63 or more. */
inline umint unsigned_argument(const MArgument* Args, mint i) {
    return static_cast<umint>(*Args[i].integer);
}

/** Stores an integer result and reports success. */
inline int return_integer(MArgument Res, mint value) {
    *Res.integer = value;
    return LIBRARY_NO_ERROR;
}

/** Stores a 64-bit pattern: values of 2^63 and above reach the host as negative integers. */
inline int return_integer(MArgument Res, umint value) {
    return return_integer(Res, static_cast<mint>(value));
}

}  // namespace kesh
