/**
 * @file   command_table.h
 * @brief  The one table of commands. Help, completion and the carrying out of a line read it.
 */
#pragma once

#include <span>

#include "commands/command.h"

namespace kesh_host {

std::span<const Command> command_table();

}  // namespace kesh_host
