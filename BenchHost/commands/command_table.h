/**
 * @file   command_table.h
 * @brief  The one table of commands, which help, completion and the execution of a line read.
 */
#pragma once

#include <span>

#include "commands/command.h"

namespace kesh_host {

std::span<const Command> command_table();

}  // namespace kesh_host
