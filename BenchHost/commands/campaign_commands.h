/**
 * @file   campaign_commands.h
 * @brief  The commands endure and faults.
 */
#pragma once

#include "commands/command.h"

namespace kesh_host {

/** Hours of mixed calls with every result checked. */
int run_endurance(Session& session, const Request& request);
/** The page of the outcomes of all faults. */
int run_faults(Session& session, const Request& request);

}  // namespace kesh_host
