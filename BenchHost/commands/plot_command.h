/**
 * @file   plot_command.h
 * @brief  The command plot: curves from calls of the library, in the terminal, as SVG or PNG, or as JSON.
 */
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "HostKit/library.h"
#include "HostKit/task.h"
#include "answers/print_look.h"
#include "commands/options.h"
#include "terminal/progress_text.h"

namespace kesh_host {

/** Takes the events of the tasks that a plot ran. */
using EventWriter = std::function<void(const std::vector<Event>&)>;

/** Carries out "plot KIND ...". Answers an exit code. @throws BadInput */
int draw_plot(const Library& library, const Options& options, const std::vector<std::string>& words,
              const PrintLook& look, const ProgressLook& progress, const EventWriter& write_events);

}  // namespace kesh_host
