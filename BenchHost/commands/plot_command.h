/**
 * @file   plot_command.h
 * @brief  The command plot: curves from calls of the library, in the terminal, as SVG or PNG, or as JSON.
 */
#pragma once

#include <string>
#include <vector>

#include "commands/command.h"
#include "commands/session.h"

namespace kesh_host {

/** The kinds of plots: "pi", "gaps" and so on. */
std::vector<std::string> plot_kinds();

/** Executes "plot KIND ...". */
int draw_plot(Session& session, const Request& request);

}  // namespace kesh_host
