/**
 * @file   help_command.h
 * @brief  The commands help and list.
 */
#pragma once

#include <span>

#include "commands/command.h"

namespace kesh_host {

/** Shows the help on everything; it needs no library. */
void print_help(std::span<const Command> commands, bool json);

/** Shows the help on everything, or on one export or command. */
int show_help(Session& session, const Request& request);

/** Lists every export with the kinds of its arguments and result. */
int show_list(Session& session, const Request& request);

}  // namespace kesh_host
