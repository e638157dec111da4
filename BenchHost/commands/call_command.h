/**
 * @file   call_command.h
 * @brief  The command that calls an export.
 */
#pragma once

#include "HostKit/export_table.h"
#include "commands/command.h"

namespace kesh_host {

/** Calls the export with the request's words and shows the outcome. Returns an exit code. @throws BadInput */
int call_and_show(Session& session, const Export& entry, const Request& request);

}  // namespace kesh_host
