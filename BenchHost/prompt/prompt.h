/**
 * @file   prompt.h
 * @brief  The prompt on a terminal (line editing, history, completion, events as they come), and commands from a pipe.
 */
#pragma once

#include "commands/session.h"

namespace kesh_host {

/** Reads commands from the terminal until Ctrl-D or quit. Answers an exit code. */
int run_prompt(Session& session);

/** Carries out the lines of standard input, then waits for the tasks. Answers the largest exit code. */
int run_script(Session& session);

}  // namespace kesh_host
