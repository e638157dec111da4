/**
 * @file   command_table.cpp
 * @brief  The table with the name, the usage, the meaning and the function of each command.
 */
#include "commands/command_table.h"

#include <fmt/format.h>

#include <vector>

#include "commands/campaign_commands.h"
#include "commands/help_command.h"
#include "commands/neighbours.h"
#include "commands/plot_command.h"
#include "commands/set_command.h"
#include "commands/task_commands.h"
#include "commands/version_command.h"
#include "terminal/wording.h"

namespace kesh_host {

std::span<const Command> command_table() {
    static const std::vector<Command> table = {
        {.name = "list",
         .usage = "list",
         .meaning = "every export with its argument kinds and result",
         .run = show_list},
        {.name = "help",
         .usage = "help [NAME]",
         .meaning = "help, or help on one export; ?NAME at the prompt",
         .run = show_help},
        {.name = "version",
         .usage = "version",
         .meaning = "versions of host, library and what the library rests on",
         .run = show_version},
        {.name = "plot",
         .usage = "plot KIND ...",
         .meaning = fmt::format("curves in the terminal, or as SVG or PNG with --svg FILE, --png FILE; KIND is {}",
                                listed(plot_kinds(), "or")),
         .run = draw_plot,
         .choices = plot_kinds()},
        {.name = "next-prime",
         .usage = "next-prime NUMBER...",
         .meaning = "the prime above each number of up to 1024 bits",
         .run = print_next_primes},
        {.name = "previous-prime",
         .usage = "previous-prime NUMBER...",
         .meaning = "the prime below each number",
         .run = print_previous_primes},
        {.name = "primes",
         .usage = "primes FROM COUNT",
         .meaning = "COUNT primes from FROM on, one a line, of up to 1024 bits",
         .run = print_primes},
        {.name = "faults",
         .usage = "faults [EXPORT...]",
         .meaning = "every callback goes wrong in every way, and what comes of it",
         .run = run_faults},
        {.name = "endure",
         .usage = "endure",
         .meaning = "half an hour of mixed calls, every answer checked; see --minutes",
         .run = run_endurance},
        {.name = "tasks",
         .usage = "tasks",
         .meaning = "the asynchronous tasks and what became of them",
         .run = show_tasks,
         .prompt_only = true},
        {.name = "stop",
         .usage = "stop",
         .meaning = "ends the task that is counting now (Ctrl-C does it while you wait for one)",
         .run = stop_counting_task,
         .prompt_only = true},
        {.name = "wait",
         .usage = "wait [ID]",
         .meaning = "waits for a task, or for all, with a progress bar",
         .run = wait_for_tasks,
         .prompt_only = true},
        {.name = "set",
         .usage = "set [WHAT on|off]",
         .meaning = fmt::format("how the next lines print; WHAT is {}; without arguments shows it",
                                listed(setting_names(), "or")),
         .run = change_settings,
         .prompt_only = true,
         .choices = setting_names()},
        {.name = "quit", .usage = "quit", .meaning = "leaves; so do exit and Ctrl-D", .prompt_only = true},
    };
    return table;
}

}  // namespace kesh_host
