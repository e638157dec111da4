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
         .meaning = "lists every export with the kinds of its arguments and result",
         .run = show_list},
        {.name = "help",
         .usage = "help [NAME]",
         .meaning = "shows this help, or help on one export or command; also ?NAME at the prompt",
         .run = show_help},
        {.name = "version",
         .usage = "version",
         .meaning = "shows the versions of the host, the library and the libraries that it uses",
         .run = show_version},
        {.name = "plot",
         .usage = "plot KIND ...",
         .meaning =
             fmt::format("draws curves in the terminal, or into a file with --svg FILE or --png FILE; KIND is {}",
                         listed(plot_kinds(), "or")),
         .run = draw_plot,
         .choices = plot_kinds()},
        {.name = "next-prime",
         .usage = "next-prime NUMBER...",
         .meaning = "prints the smallest prime above each number, up to 1024 bits",
         .run = print_next_primes},
        {.name = "previous-prime",
         .usage = "previous-prime NUMBER...",
         .meaning = "prints the largest prime below each number",
         .run = print_previous_primes},
        {.name = "primes",
         .usage = "primes FROM COUNT",
         .meaning = "prints the first COUNT primes from FROM on, one per line, up to 1024 bits",
         .run = print_primes},
        {.name = "faults",
         .usage = "faults [EXPORT...]",
         .meaning = "makes every callback fail in every way, and prints the outcomes",
         .run = run_faults},
        {.name = "endure",
         .usage = "endure",
         .meaning = "makes mixed calls for half an hour and checks every result; see --minutes",
         .run = run_endurance},
        {.name = "tasks",
         .usage = "tasks",
         .meaning = "lists the asynchronous tasks and their states",
         .run = show_tasks,
         .prompt_only = true},
        {.name = "stop",
         .usage = "stop",
         .meaning = "stops the task that is counting now (so does Ctrl-C while you wait for a task)",
         .run = stop_counting_task,
         .prompt_only = true},
        {.name = "wait",
         .usage = "wait [ID]",
         .meaning = "waits for one task, or for all tasks, with a progress bar",
         .run = wait_for_tasks,
         .prompt_only = true},
        {.name = "set",
         .usage = "set [WHAT on|off]",
         .meaning =
             fmt::format("sets how the next lines are printed; WHAT is {}; without arguments it shows the settings",
                         listed(setting_names(), "or")),
         .run = change_settings,
         .prompt_only = true,
         .choices = setting_names()},
        {.name = "quit", .usage = "quit", .meaning = "ends kesh-host; so do exit and Ctrl-D", .prompt_only = true},
    };
    return table;
}

}  // namespace kesh_host
