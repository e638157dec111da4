/**
 * @file   help_command.cpp
 * @brief  Shows the help on everything, on a command, or on an export.
 */
#include "commands/help_command.h"

#include <fmt/format.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "HostKit/export_table.h"
#include "answers/export_help.h"
#include "answers/json.h"
#include "commands/help_page.h"
#include "commands/looks.h"
#include "commands/names.h"
#include "commands/options.h"
#include "commands/session.h"
#include "terminal/bad_input.h"
#include "terminal/exit_codes.h"
#include "terminal/output.h"
#include "terminal/terminal.h"

namespace kesh_host {

namespace {

nlohmann::ordered_json to_json(const Command& command) {
    return {{"command", command.name}, {"usage", command.usage}, {"meaning", command.meaning}};
}

std::string commands_as_json(std::span<const Command> commands) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Command& command : commands) list.push_back(to_json(command));
    return json_line(list);
}

}  // namespace

void print_help(std::span<const Command> commands, bool json) {
    print(json ? commands_as_json(commands) : help_text(commands, help_width()));
}

int show_list(Session&, const Request& request) {
    const Options& options = request.options;
    print(options.json ? json_line(list_json()) : list_text(look_of(options)));
    return exit_ok;
}

int show_help(Session& session, const Request& request) {
    const Options& options = request.options;
    const auto commands = session.commands();
    if (request.words.empty() && (options.json || !request.at_prompt)) {
        print_help(commands, options.json);
    } else if (request.words.empty()) {
        print(prompt_help_text(commands, terminal_width(STDOUT_FILENO)));
    } else if (const Export* entry = find_export(request.words[0])) {
        print(options.json ? json_line(kesh_host::to_json(*entry)) : export_help(*entry, look_of(options)));
    } else if (const Command* command = find_command(commands, request.words[0])) {
        print(options.json ? json_line(to_json(*command))
                           : fmt::format("{}\n  {}\n", command->usage, command->meaning));
    } else {
        throw BadInput(unknown_name(commands, request.words[0]));
    }
    return exit_ok;
}

}  // namespace kesh_host
