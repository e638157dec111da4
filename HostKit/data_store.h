/**
 * @file   data_store.h
 * @brief  The payload of an event, as the library fills it.
 */
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "VelmoraLibrary.h"

/** The record behind a DataStore handle. */
struct st_DataStore {
    using Value = std::variant<mint, mreal, std::string>;
    std::vector<Value> values;
};

namespace kesh_host {

using EventValue = st_DataStore::Value;

}  // namespace kesh_host
