/**
 * @file   execute.cpp
 * @brief  Finds the command that the options and words name, and executes it.
 */
#include "commands/execute.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <variant>

#include "HostKit/export_table.h"
#include "HostKit/fault_plan.h"
#include "HostKit/host.h"
#include "HostKit/library.h"
#include "answers/refusal.h"
#include "calls/call.h"
#include "calls/interrupts.h"
#include "commands/call_command.h"
#include "commands/command.h"
#include "commands/help_command.h"
#include "commands/names.h"
#include "commands/options.h"
#include "commands/version_command.h"
#include "terminal/bad_input.h"
#include "terminal/exit_codes.h"
#include "terminal/layout.h"
#include "terminal/output.h"
#include "terminal/printable.h"
#include "terminal/wording.h"

namespace kesh_host {

namespace {

void prepare_faults(const Options& options) {
    FaultPlan& faults = host().faults;
    faults.clear();
    for (const std::string& fault : options.faults) {
        try {
            faults.add(fault);
        } catch (const std::invalid_argument& error) {
            throw BadInput(error.what());
        }
    }
    if (options.leave_length && !faults.planned("MTensor_getInteger")) {
        throw BadInput(
            "--leave-length needs --fail MTensor_getInteger=CODE: only a call that is made to fail writes this "
            "position");
    }
    if (options.leave_length && *options.leave_length >= 1 && *options.leave_length <= 16) {
        throw BadInput(
            "with --leave-length 1 to 16 the library would read through a null limb pointer and end this process; "
            "choose another length");
    }
    host().left_position = options.leave_length.value_or(0);
}

void set_threads(const Library& library, int threads) {
    const Outcome outcome = call_export(library, "PrimeCount_SetThreads", {threads});
    if (outcome.status == Status::missing)
        throw BadInput("this library has no PrimeCount_SetThreads, so --threads does not work");
    const mint* const accepted = std::get_if<mint>(&outcome.result);
    if (accepted != nullptr && *accepted != threads)
        print_error(fmt::format("--threads {}: counts use {}, the most that primecount accepts here\n", threads,
                                counted(static_cast<std::size_t>(*accepted), "thread", "threads")));
}

/** Finds the command that the words name, and executes it. @throws BadInput */
int carry_out(Session& session, const Options& options, bool at_prompt) {
    const std::string name = options.words.empty() ? "" : options.words[0];
    const Export* entry = find_export(name);
    if (!options.distance.empty() && (entry == nullptr || entry->default_begin.empty()))
        throw BadInput(fmt::format("--distance is an option of exports that take a range{}{}",
                                   name.empty() ? "" : ", not of ", name));
    const Command* command = find_command(session.commands(), name);
    const auto asked = [&](Command::Run run) { return command != nullptr && command->run == run; };
    Request request{.options = options, .words = {}, .at_prompt = at_prompt};
    if (options.version || asked(show_version)) return show_version(session, request);
    if (options.list || asked(show_list)) return show_list(session, request);
    if (options.help || options.words.empty())
        return show_help(session, {.options = options, .words = options.words, .at_prompt = false});

    request.words.assign(options.words.begin() + 1, options.words.end());
    if (name.starts_with('?')) {
        if (name.size() > 1) request.words = {name.substr(1)};
        return show_help(session, request);
    }
    if (options.threads) set_threads(session.library(), *options.threads);
    if (entry != nullptr) return call_and_show(session, *entry, request);
    if (command == nullptr) throw BadInput(unknown_name(session.commands(), name));
    if (command->run == nullptr || (command->prompt_only && !at_prompt))
        throw BadInput(
            fmt::format("'{}' works only at the prompt; kesh-host without arguments opens the prompt", name));
    return command->run(session, request);
}

}  // namespace

int execute(Session& session, const std::vector<std::string>& arguments, bool at_prompt) {
    Options options = session.defaults();
    try {
        options = parse_options(arguments, session.defaults());
    } catch (const BadInput& error) {
        return report_bad_input(options.json || asks_for_json(arguments), {}, error.what());
    }
    return execute(session, options, at_prompt);
}

int execute(Session& session, const Options& options, bool at_prompt) {
    try {
        prepare_faults(options);
        press_after(options.call.abort_after);
        session.events().begin_file(options);
        const int code = carry_out(session, options, at_prompt);
        // A file for the events of the whole script is checked at the end.
        if (!at_prompt || options.events_file != session.defaults().events_file)
            session.events().tell_of_no_events(options);
        return std::max(code, session.events().exit_code());
    } catch (const BadInput& error) {
        return report_bad_input(options.json, options.words, error.what());
    } catch (const std::exception& error) {
        // A file could not be written completely, or the text of a list did not fit into memory.
        print_error(fitted(fmt::format("{}\n", printable(error.what())), STDERR_FILENO));
        return exit_call_failed;
    }
}

}  // namespace kesh_host
