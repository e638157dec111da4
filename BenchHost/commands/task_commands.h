/**
 * @file   task_commands.h
 * @brief  The commands tasks, stop and wait, and the treatment of tasks at the end of a session.
 */
#pragma once

#include "commands/command.h"
#include "commands/options.h"
#include "commands/session.h"

namespace kesh_host {

int show_tasks(Session& session, const Request& request);
/** Stops the task that counts now. */
int stop_counting_task(Session& session, const Request& request);
/** Waits for one task, or for all. */
int wait_for_tasks(Session& session, const Request& request);

/** Waits for every task and prints their events; at the end of a script. Returns an exit code. */
int wait_for_all(Session& session, const Options& options);
/** Stops the running tasks and waits a little for their end. */
void stop_all(Session& session);

}  // namespace kesh_host
