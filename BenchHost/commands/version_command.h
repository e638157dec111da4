/**
 * @file   version_command.h
 * @brief  The command version.
 */
#pragma once

#include "commands/command.h"

namespace kesh_host {

/** Versions of host, library and what the library rests on. */
int show_version(Session& session, const Request& request);

}  // namespace kesh_host
