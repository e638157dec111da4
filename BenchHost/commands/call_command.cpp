/**
 * @file   call_command.cpp
 * @brief  Makes the call, waits for its task on the command line, and shows the outcome.
 */
#include "commands/call_command.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <variant>
#include <vector>

#include "HostKit/host.h"
#include "answers/json.h"
#include "answers/outcome_text.h"
#include "calls/call.h"
#include "calls/caller.h"
#include "calls/interrupts.h"
#include "commands/looks.h"
#include "commands/options.h"
#include "commands/primality_command.h"
#include "commands/session.h"
#include "commands/task_commands.h"
#include "terminal/bad_input.h"
#include "terminal/exit_codes.h"
#include "terminal/layout.h"
#include "terminal/output.h"

namespace kesh_host {

namespace {

int exit_code_of(const Outcome& outcome) {
    if (!outcome.breaches.empty()) return exit_breach;
    if (outcome.status == Status::stopped) return exit_code_when_stopped();
    return outcome.good() ? exit_ok : exit_call_failed;
}

/** The words of a range whose end is given by its distance from the beginning. */
std::vector<std::string> with_distance(const Options& options, const std::vector<std::string>& words) {
    if (options.distance.empty()) return words;
    if (words.size() != 1)
        throw BadInput(fmt::format("--distance replaces the end of a range: one argument is expected, but {} are given",
                                   words.size()));
    return {words[0], fmt::format("{}+{}", words[0], options.distance)};
}

int show(const Options& options, const Outcome& outcome) {
    if (options.json) {
        print(json_line(to_json(outcome)));
    } else {
        const std::string text = result_text(outcome, look_of(options));
        // Columns of numbers already fit into the width, and a long number must not be broken.
        print(std::holds_alternative<TensorResult>(outcome.result) ? text : fitted(text, STDOUT_FILENO));
        print_error(fitted(failure_text(outcome, error_style_of(options)), STDERR_FILENO));
    }
    return exit_code_of(outcome);
}

}  // namespace

int call_and_show(Session& session, const Export& entry, const Request& request) {
    if (entry.name == "KESH_PrimeQ") return test_primality(session, request);
    const Options& options = request.options;
    const std::vector<std::string> words = with_distance(options, request.words);
    if (options.next || options.previous || !options.file.empty())
        throw BadInput(fmt::format("--next, --previous and --file are options of KESH_PrimeQ, not of {}", entry.name));
    if (!options.svg.empty() || !options.png.empty())
        throw BadInput(fmt::format("--svg and --png write plots, but {} draws no plot", entry.name));
    const bool logs = !options.events_file.empty() || request.at_prompt || options.call.background;
    host().tasks.keep_events(logs);
    const Caller caller(session.library(), progress_look_of(options));
    Outcome outcome = caller.call(entry, words, options.call);
    if (outcome.status == Status::submitted && !request.at_prompt && !options.call.background) {
        // On the command line there is no prompt to return to, so the host waits for the task.
        const Outcome begun = outcome;
        outcome = caller.wait_for_task(begun.task->id, options.call);
        outcome.entry = begun.entry;
        outcome.arguments = begun.arguments;
        outcome.add_breaches(begun.breaches);
    }
    const int code = show(options, outcome);
    if (outcome.status == Status::submitted && !request.at_prompt)
        return std::max(code, wait_for_all(session, options));
    session.events().print_after_call(options, outcome);
    return code;
}

}  // namespace kesh_host
