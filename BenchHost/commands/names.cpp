/**
 * @file   names.cpp
 * @brief  Looks up the names of exports and commands.
 */
#include "commands/names.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "HostKit/export_table.h"
#include "commands/suggest.h"
#include "terminal/wording.h"

namespace kesh_host {

const Command* find_command(std::span<const Command> commands, const std::string& name) {
    const auto found =
        std::find_if(commands.begin(), commands.end(), [&](const Command& command) { return command.name == name; });
    return found == commands.end() ? nullptr : &*found;
}

std::string unknown_name(std::span<const Command> commands, const std::string& name) {
    std::vector<std::string> names;
    for (const Export& entry : export_table()) names.emplace_back(entry.name);
    for (const Command& command : commands) names.push_back(command.name);
    const auto near = nearest_names(name, names);
    if (near.empty())
        return fmt::format("'{}' is neither an export nor a command; 'list' shows the exports, 'help' the commands",
                           name);
    return fmt::format("'{}' is neither an export nor a command; did you mean {}?", name, listed(near, "or"));
}

}  // namespace kesh_host
