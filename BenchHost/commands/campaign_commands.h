/**
 * @file   campaign_commands.h
 * @brief  The commands endure and faults.
 */
#pragma once

#include "commands/command.h"

namespace kesh_host {

/** Makes mixed calls for hours and checks every result. */
int run_endurance(Session& session, const Request& request);
/** Prints the page with the outcomes of all faults. */
int run_faults(Session& session, const Request& request);

}  // namespace kesh_host
