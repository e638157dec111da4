/**
 * @file   names.h
 * @brief  Finds exports and commands by name, and suggests names for a mistyped one.
 */
#pragma once

#include <span>
#include <string>

#include "commands/command.h"

namespace kesh_host {

/** The command of that name, or null. */
const Command* find_command(std::span<const Command> commands, const std::string& name);

/** One line that says that there is no such export or command, and which names are near. */
std::string unknown_name(std::span<const Command> commands, const std::string& name);

}  // namespace kesh_host
