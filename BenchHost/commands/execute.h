/**
 * @file   execute.h
 * @brief  Executes one command of the command line or of the prompt.
 */
#pragma once

#include <string>
#include <vector>

#include "commands/options.h"
#include "commands/session.h"

namespace kesh_host {

/** Reads the words and executes them. Returns the exit code; reports bad input itself. */
int execute(Session& session, const std::vector<std::string>& arguments, bool at_prompt);
/** The same for options that have been read. */
int execute(Session& session, const Options& options, bool at_prompt);

}  // namespace kesh_host
