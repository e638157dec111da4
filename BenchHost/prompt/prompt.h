/**
 * @file   prompt.h
 * @brief  The prompt on a terminal (line editing, history, completion, events as they arrive), and commands from a
 *         pipe.
 */
#pragma once

#include "commands/session.h"

namespace kesh_host {

/** Reads commands from the terminal until Ctrl-D or quit. Returns an exit code. */
int run_prompt(Session& session);

/** Executes the lines of standard input, then waits for the tasks. Returns the largest exit code. */
int run_script(Session& session);

}  // namespace kesh_host
