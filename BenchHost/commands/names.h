/**
 * @file   names.h
 * @brief  Names of exports and commands, and what a mistyped one may have meant.
 */
#pragma once

#include <span>
#include <string>

#include "commands/command.h"

namespace kesh_host {

/** The command of that name, or null. */
const Command* find_command(std::span<const Command> commands, const std::string& name);

/** One line: there is no such export or command, and which are near. */
std::string unknown_name(std::span<const Command> commands, const std::string& name);

}  // namespace kesh_host
