/**
 * @file   export_help.h
 * @brief  Exports as text for people.
 */
#pragma once

#include <string>

#include "HostKit/export_table.h"
#include "answers/print_look.h"

namespace kesh_host {

/** All exports with argument kinds and result. */
std::string list_text(const PrintLook& look);
/** Everything about one export. */
std::string export_help(const Export& entry, const PrintLook& look);

}  // namespace kesh_host
