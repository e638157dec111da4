/**
 * @file   execute.h
 * @brief  Carries out one command of the shell's line or of the prompt.
 */
#pragma once

#include <string>
#include <vector>

#include "commands/options.h"
#include "commands/session.h"

namespace kesh_host {

/** Reads the words and carries them out. Returns the exit code; reports bad input itself. */
int execute(Session& session, const std::vector<std::string>& arguments, bool at_prompt);
/** The same with options already read. */
int execute(Session& session, const Options& options, bool at_prompt);

}  // namespace kesh_host
