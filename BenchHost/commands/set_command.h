/**
 * @file   set_command.h
 * @brief  The command set.
 */
#pragma once

#include <string>
#include <vector>

#include "commands/command.h"

namespace kesh_host {

/** The names of the settings. */
std::vector<std::string> setting_names();

/** Sets how the next lines are printed, or shows the settings. */
int change_settings(Session& session, const Request& request);

}  // namespace kesh_host
