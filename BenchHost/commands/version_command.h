/**
 * @file   version_command.h
 * @brief  The command version.
 */
#pragma once

#include "commands/command.h"

namespace kesh_host {

/** Prints the versions of the host, the library and its dependencies. */
int show_version(Session& session, const Request& request);

}  // namespace kesh_host
