/**
 * @file   session.cpp
 * @brief  Opens the library, and prints breaches when they occur.
 */
#include "commands/session.h"

#include <fmt/format.h>

#include "HostKit/host.h"
#include "HostKit/host_tables.h"
#include "commands/looks.h"
#include "terminal/output.h"
#include "terminal/terminal.h"

namespace kesh_host {

Session::Session(const Options& defaults, std::span<const Command> commands)
    : defaults_(defaults), commands_(commands), library_(defaults.library, library_data()) {
    const Style style = error_style_of(defaults);
    host().breaches.on_breach(
        [style](const std::string& what) { print_error(fmt::format("{} {}\n", style.red("PROTOCOL BREACH:"), what)); });
}

}  // namespace kesh_host
