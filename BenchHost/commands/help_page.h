/**
 * @file   help_page.h
 * @brief  The help on everything: commands, options, examples.
 */
#pragma once

#include <span>
#include <string>

#include "commands/command.h"

namespace kesh_host {

/** The text of --help, laid out for lines of `width` columns. */
std::string help_text(std::span<const Command> commands, unsigned width);
/** The text of "help" at the prompt, which fits a small terminal. */
std::string prompt_help_text(std::span<const Command> commands, unsigned width);
/** The number of columns for readable text on standard output. */
unsigned help_width();

}  // namespace kesh_host
