/**
 * @file   host_tables.h
 * @brief  Both callback tables, complete: the slots that the library may use work on host(); every other slot, also
 * those after the last used one, is a trap that reports the call.
 */
#pragma once

#include <string_view>

#include "VelmoraIOLibraryFunctions.h"
#include "VelmoraLibrary.h"

namespace kesh_host {

/** Number of slots after the last declared one, all of them traps. */
constexpr std::size_t further_slots = 64;

/** The table that is passed to every export; it and its I/O table live as long as the process. */
VelmoraLibraryData library_data();

/** The same table with a null `ioLibraryFunctions`. */
VelmoraLibraryData library_data_without_io();

/** Name of slot k (from 1) of the callback table, "a further slot" after the last declared one. */
std::string_view slot_name(std::size_t slot);
/** The same for the table of task and DataStore callbacks. */
std::string_view io_slot_name(std::size_t slot);

}  // namespace kesh_host
