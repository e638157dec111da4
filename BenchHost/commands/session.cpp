/**
 * @file   session.cpp
 * @brief  Commands.
 */
#include "commands/session.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <nlohmann/json.hpp>

#include "HostKit/export_table.h"
#include "HostKit/fault_plan.h"
#include "HostKit/host.h"
#include "HostKit/host_tables.h"
#include "HostKit/task.h"
#include "Shared/intx/level.h"
#include "answers/export_help.h"
#include "answers/json.h"
#include "answers/outcome_text.h"
#include "answers/print_look.h"
#include "answers/refusal.h"
#include "answers/tasks_text.h"
#include "calls/arguments.h"
#include "calls/call.h"
#include "calls/counting_reach.h"
#include "calls/interrupts.h"
#include "calls/primality.h"
#include "campaigns/endurance.h"
#include "campaigns/fault_campaign.h"
#include "commands/neighbours.h"
#include "commands/number_stream.h"
#include "commands/plot_command.h"
#include "commands/suggest.h"
#include "terminal/bad_input.h"
#include "terminal/exit_codes.h"
#include "terminal/layout.h"
#include "terminal/output.h"
#include "terminal/output_file.h"
#include "terminal/printable.h"
#include "terminal/progress_text.h"
#include "terminal/terminal.h"

namespace kesh_host {

namespace {

using namespace std::chrono_literals;

const std::vector<std::string>& all_names() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> result;
        for (const Export& entry : export_table()) result.emplace_back(entry.name);
        for (const CommandWord& word : command_words()) result.emplace_back(word.name);
        return result;
    }();
    return names;
}

int exit_code_of(const Outcome& outcome) {
    if (!outcome.breaches.empty()) return exit_breach;
    if (outcome.status == Status::stopped) return exit_code_when_stopped();
    return outcome.good() ? exit_ok : exit_call_failed;
}

nlohmann::ordered_json to_json(const CommandWord& word) {
    return {{"command", word.name}, {"usage", word.usage}, {"meaning", word.meaning}};
}

void refuse_json(const Options& options, std::string_view command) {
    if (options.json) throw BadInput(fmt::format("'{}' has no JSON form", command));
}

/** The words of a range whose end is given by its distance from the begin. */
std::vector<std::string> with_distance(const Options& options, const std::vector<std::string>& words) {
    if (options.distance.empty()) return words;
    if (words.size() != 1)
        throw BadInput(fmt::format(
            "--distance stands in place of the end of a range: one argument is expected, {} given", words.size()));
    return {words[0], fmt::format("{}+{}", words[0], options.distance)};
}

bool on_or_off(const std::string& word) {
    if (word == "on" || word == "off") return word == "on";
    throw BadInput(fmt::format("'{}' is neither on nor off", word));
}

}  // namespace

nlohmann::ordered_json commands_json() {
    nlohmann::ordered_json commands = nlohmann::ordered_json::array();
    for (const CommandWord& word : command_words()) commands.push_back(to_json(word));
    return commands;
}

Session::Session(const Options& defaults) : defaults_(defaults), library_(defaults.library, library_data()) {
    const Style style = error_style(defaults);
    host().breaches.on_breach(
        [style](const std::string& what) { print_error(fmt::format("{} {}\n", style.red("PROTOCOL BREACH:"), what)); });
}

PrintLook Session::look(const Options& options) const {
    return {.style = Style(STDOUT_FILENO, options.colour),
            .width = terminal_width(STDOUT_FILENO),
            .quiet = options.quiet,
            .whole_tensors = options.all};
}

ProgressLook Session::progress_look(const Options& options) const {
    const bool terminal = is_terminal(STDERR_FILENO);
    return {.visible = terminal,
            .in_place = terminal,
            .utf8 = utf8_locale(),
            .style = Style(STDERR_FILENO, options.colour)};
}

Style Session::error_style(const Options& options) const {
    return Style(STDERR_FILENO, options.colour);
}

std::string Session::unknown_name(const std::string& name) const {
    const auto near = nearest_names(name, all_names());
    if (near.empty())
        return fmt::format("'{}' is neither an export nor a command; 'list' shows the exports, 'help' the commands",
                           name);
    std::string choices = near[0];
    for (std::size_t i = 1; i < near.size(); ++i) choices += (i + 1 == near.size() ? " or " : ", ") + near[i];
    return fmt::format("'{}' is neither an export nor a command; did you mean {}?", name, choices);
}

nlohmann::ordered_json Session::version_json() const {
    nlohmann::ordered_json versions = {{"kesh-host", KESH_HOST_VERSION},
                                       {"library", library_.path().string()},
                                       {"interface_version", library_.interface_version()}};
    for (const char* name : {"primesieve", "primecount"}) {
        if (const auto version = library_.dependency_version((std::string(name) + "_version").c_str()))
            versions[name] = *version;
    }
    if (const std::string silent = why_counts_are_silent(library_); !silent.empty()) versions["counts"] = silent;
    // The library chooses by the same code, which is compiled into both.
    versions["kernels"] = kesh::name(kesh::supported_level());
    return versions;
}

std::string Session::version_text() const {
    const nlohmann::ordered_json versions = version_json();
    std::string text;
    for (const auto& [name, value] : versions.items()) {
        if (name == "kernels") {
            text += fmt::format("kernels of the wide primality tests: {}\n", value.get<std::string>());
        } else if (name == "counts") {
            text += value.get<std::string>() + '\n';
        } else if (name == "interface_version") {
            text.insert(text.size() - 1, fmt::format(" (interface version {})", value.get<mint>()));
        } else {
            text += fmt::format("{} {}\n", name, value.get<std::string>());
        }
    }
    return text;
}

void Session::prepare_faults(const Options& options) const {
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
            "--leave-length needs --fail MTensor_getInteger=CODE: only a faulted call leaves a position of your "
            "choice");
    }
    if (options.leave_length && *options.leave_length >= 1 && *options.leave_length <= 16) {
        throw BadInput(
            "--leave-length 1 to 16 would have the library read a null limb pointer and end this process; take any "
            "other length");
    }
    host().left_position = options.leave_length.value_or(0);
}

int Session::run(const std::vector<std::string>& arguments, bool at_prompt) {
    Options options = defaults_;
    try {
        options = parse_options(arguments, defaults_);
    } catch (const BadInput& error) {
        return report_bad_input(options.json || asks_for_json(arguments), {}, error.what());
    }
    return execute(options, at_prompt);
}

int Session::execute(const Options& options, bool at_prompt) {
    try {
        prepare_faults(options);
        press_after(options.call.abort_after);
        if (!options.events_file.empty()) event_files_.open(options.events_file);
        const int code = carry_out(options, at_prompt);
        // A file for the whole script is looked at in the end.
        if (!at_prompt || options.events_file != defaults_.events_file) tell_of_no_events(options);
        return std::max(code, exit_code_of_events());
    } catch (const BadInput& error) {
        return report_bad_input(options.json, options.words, error.what());
    } catch (const std::exception& error) {
        // A file that takes no more, or a list that does not fit the memory a second time, as text.
        print_error(fitted(fmt::format("{}\n", printable(error.what())), STDERR_FILENO));
        return exit_call_failed;
    }
}

int Session::carry_out(const Options& options, bool at_prompt) {
    const std::string name = options.words.empty() ? "" : options.words[0];
    const Export* entry = find_export(name);
    if (!options.distance.empty() && (entry == nullptr || entry->default_begin.empty()))
        throw BadInput(fmt::format("--distance belongs to an export that takes a range{}{}",
                                   name.empty() ? "" : ", not to ", name));
    if (options.version || name == "version")
        return print(options.json ? json_line(version_json()) : version_text()), exit_ok;
    if (options.list || name == "list")
        return print(options.json ? json_line(list_json()) : list_text(look(options))), exit_ok;
    if (options.help || options.words.empty()) return help(options, options.words, false);

    const std::vector<std::string> rest(options.words.begin() + 1, options.words.end());
    if (name.starts_with('?'))
        return help(options, name == "?" ? rest : std::vector<std::string>{name.substr(1)}, at_prompt);
    if (options.threads) set_threads(*options.threads);
    if (entry != nullptr) return call(options, *entry, with_distance(options, rest), at_prompt);
    if (name == "help") return help(options, rest, at_prompt);
    if (name == "plot")
        return draw_plot(library_, options, rest, look(options), progress_look(options),
                         [&](const std::vector<Event>& events) { write_events(options, events); });
    if (name == "next-prime" || name == "previous-prime")
        return print_neighbours(library_, options, rest, look(options), name == "next-prime");
    if (name == "primes") return print_primes(library_, options, rest, progress_look(options));
    if (name == "endure") return refuse_json(options, name), endure(library_, options.endurance);
    if (name == "faults") return refuse_json(options, name), faults(rest, at_prompt);
    if (at_prompt) {
        if (name == "tasks") {
            const std::vector<Task> tasks = host().tasks.list();
            return print(options.json ? json_line(tasks_json(tasks)) : tasks_text(tasks, look(options))), exit_ok;
        }
        if (name == "stop") return Caller(library_, progress_look(options)).stop_task(), exit_ok;
        if (name == "wait") return wait(options, rest);
        if (name == "set") return set(options, rest);
    }
    for (const CommandWord& word : command_words()) {
        if (word.name == name)
            throw BadInput(fmt::format("'{}' works at the prompt only; kesh-host without arguments opens it", name));
    }
    throw BadInput(unknown_name(name));
}

void Session::tell_of_no_events(const Options& options) const {
    if (host().tasks.running() > 0 || !event_files_.holds_header_alone(options.events_file)) return;
    print_error(fmt::format("no events: {} ran no task, and {} holds its header alone\n",
                            options.words.empty() ? "the script" : printable(options.words[0]),
                            printable(options.events_file)));
}

void Session::set_threads(int threads) const {
    const Outcome outcome = call_export(library_, "PrimeCount_SetThreads", {threads});
    if (outcome.status == Status::missing)
        throw BadInput("this library has no PrimeCount_SetThreads, so --threads cannot be had");
    const mint* const accepted = std::get_if<mint>(&outcome.result);
    if (accepted != nullptr && *accepted != threads)
        print_error(fmt::format("--threads {}: counts use {}, as many as primecount takes here\n", threads,
                                counted(static_cast<std::size_t>(*accepted), "thread", "threads")));
}

int Session::help(const Options& options, const std::vector<std::string>& words, bool at_prompt) {
    if (words.empty() && options.json) return print(json_line(commands_json())), exit_ok;
    if (words.empty())
        return print(at_prompt ? prompt_help_text(terminal_width(STDOUT_FILENO)) : help_text(help_width())), exit_ok;
    if (const Export* entry = find_export(words[0]))
        return print(options.json ? json_line(to_json(*entry)) : export_help(*entry, look(options))), exit_ok;
    for (const CommandWord& word : command_words()) {
        if (word.name == words[0])
            return print(options.json ? json_line(to_json(word)) : fmt::format("{}\n  {}\n", word.usage, word.meaning)),
                   exit_ok;
    }
    throw BadInput(unknown_name(words[0]));
}

int Session::faults(const std::vector<std::string>& words, bool at_prompt) {
    // Every case begins in a process in which nothing has been called.
    if (at_prompt) throw BadInput("'faults' works on the command line only: kesh-host faults");
    for (const std::string& word : words) {
        if (find_export(word) == nullptr) throw BadInput(unknown_name(word));
    }
    try {
        return print(fault_page(library_, words)), exit_ok;
    } catch (const std::runtime_error& error) {
        return print_error(fmt::format("kesh-host: {}\n", error.what())), exit_call_failed;
    }
}

int Session::show(const Options& options, const Outcome& outcome) {
    if (options.json) {
        print(json_line(to_json(outcome)));
    } else {
        const std::string text = result_text(outcome, look(options));
        // Columns of numbers are laid out already, and one long number is not to be broken.
        print(std::holds_alternative<TensorResult>(outcome.result) ? text : fitted(text, STDOUT_FILENO));
        print_error(fitted(failure_text(outcome, error_style(options)), STDERR_FILENO));
    }
    return exit_code_of(outcome);
}

int Session::call(const Options& options, const Export& entry, const std::vector<std::string>& words, bool at_prompt) {
    if (entry.name == "KESH_PrimeQ") return test_primality(options, words);
    if (options.next || options.previous || !options.file.empty())
        throw BadInput(fmt::format("--next, --previous and --file belong to KESH_PrimeQ, not to {}", entry.name));
    if (!options.svg.empty() || !options.png.empty())
        throw BadInput(fmt::format("--svg and --png write plots; {} draws none", entry.name));
    const bool logs = !options.events_file.empty() || at_prompt || options.call.background;
    host().tasks.keep_events(logs);
    const Caller caller(library_, progress_look(options));
    Outcome outcome = caller.call(entry, words, options.call);
    if (outcome.status == Status::submitted && !at_prompt && !options.call.background) {
        // On the shell's line there is nobody to come back to: the task is waited for.
        const Outcome begun = outcome;
        outcome = caller.wait_for_task(begun.task->id, options.call);
        outcome.entry = begun.entry;
        outcome.arguments = begun.arguments;
        outcome.add_breaches(begun.breaches);
    }
    const int code = show(options, outcome);
    if (outcome.status == Status::submitted && !at_prompt) return std::max(code, wait_for_all(options));
    // Submitted, or stopped waiting for: the task goes on by itself, if it has not ended already.
    if (outcome.task && (outcome.status == Status::submitted || outcome.task->running()))
        in_background_.insert(outcome.task->id);
    if (outcome.status == Status::submitted && outcome.task) background_files_[outcome.task->id] = options.events_file;
    auto events = host().tasks.take_events();
    write_events(options, events);
    // What a call in the foreground raised has been shown as its progress and result.
    if (!options.every_event || options.json)
        std::erase_if(events, [this](const Event& event) { return !in_background_.contains(event.task); });
    show_events(options, events);
    return code;
}

void Session::print_events(const Options& options) {
    const auto events = host().tasks.take_events();
    write_events(options, events);
    show_events(options, events);
}

void Session::write_events(const Options& options, const std::vector<Event>& events) {
    if (events_lost_) return;
    // The file of a task in the background is that of the line that submitted it.
    std::map<std::string, std::vector<Event>> by_file;
    for (const Event& event : events) {
        const auto submitted_with = background_files_.find(event.task);
        by_file[submitted_with == background_files_.end() ? options.events_file : submitted_with->second].push_back(
            event);
    }
    try {
        for (const auto& [file, of_file] : by_file) event_files_.append(file, of_file);
    } catch (const OutputError& error) {
        events_lost_ = true;
        print_error(printable(error.what()) + "\n");
    }
}

int Session::exit_code_of_events() const {
    return events_lost_ ? exit_call_failed : exit_ok;
}

void Session::show_events(const Options& options, const std::vector<Event>& events) {
    if (options.json) {
        std::string objects;
        for (const Event& event : events) {
            if (event.name == "Status" && !options.every_event) continue;
            nlohmann::ordered_json object = {
                {"event", event.name}, {"task", event.task}, {"seconds", event.seconds}, {"value", nullptr}};
            if (event.value) std::visit([&](const auto& value) { object["value"] = value; }, *event.value);
            objects += json_line(object);
        }
        print(objects);
        return;
    }
    print(event_lines_.text(events, options.every_event, look(options).style));
}

int Session::wait_for_all(const Options& options) {
    const InterruptScope scope(3, Stoppable::yes);
    bool failed = false;
    while (host().tasks.running() > 0) {
        std::this_thread::sleep_for(20ms);
        if (interrupts_seen() > 0) Caller(library_, progress_look(options)).stop_task();
        print_events(options);
    }
    print_events(options);
    for (const Task& task : host().tasks.list()) failed = failed || task.failed;
    if (!host().breaches.take().empty()) return exit_breach;
    if (interrupts_seen() > 0) return exit_code_when_stopped();
    return failed ? exit_call_failed : exit_ok;
}

void Session::stop_all() {
    const auto limit = std::chrono::steady_clock::now() + 5s;
    while (host().tasks.running() > 0 && std::chrono::steady_clock::now() < limit) {
        Caller(library_, ProgressLook{}).stop_task();
        std::this_thread::sleep_for(20ms);
    }
}

int Session::wait(const Options& options, const std::vector<std::string>& words) {
    const Caller caller(library_, progress_look(options));
    int code = exit_ok;
    std::vector<mint> ids;
    if (words.empty()) {
        for (const Task& task : host().tasks.list()) {
            if (task.running()) ids.push_back(task.id);
        }
    } else {
        const mint id = read_task_id(words[0]);
        const auto task = host().tasks.find(id);
        if (!task) throw BadInput(fmt::format("there is no task {}; 'tasks' lists them", id));
        if (task->state == TaskState::created) throw BadInput(fmt::format("task {} has not been given a count", id));
        ids.push_back(id);
    }
    for (const mint id : ids) {
        Outcome outcome = caller.wait_for_task(id, options.call);
        print_events(options);
        if (outcome.status == Status::stopped) {
            code = exit_code_when_stopped();
            break;
        }
    }
    return code;
}

int Session::set(const Options& options, const std::vector<std::string>& words) {
    struct Setting {
        std::string_view name;
        bool* value;
    };
    const Setting settings[] = {{"json", &defaults_.json},
                                {"quiet", &defaults_.quiet},
                                {"all", &defaults_.all},
                                {"every-event", &defaults_.every_event}};
    if (words.empty() && options.json) {
        nlohmann::ordered_json values;
        for (const Setting& setting : settings) values[std::string(setting.name)] = *setting.value;
        return print(json_line(values)), exit_ok;
    }
    if (words.empty()) {
        for (const Setting& setting : settings)
            print(fmt::format("{:<12} {}\n", setting.name, *setting.value ? "on" : "off"));
        return exit_ok;
    }
    for (const Setting& setting : settings) {
        if (setting.name != words[0]) continue;
        *setting.value = words.size() < 2 || on_or_off(words[1]);
        return exit_ok;
    }
    throw BadInput(fmt::format("'{}' cannot be set; there are json, quiet, all and every-event", words[0]));
}

int Session::test_primality(const Options& options, const std::vector<std::string>& words) {
    const PrimalityTest test(library_);
    const NumberJob job{.test = test,
                        .options = options,
                        .look = look(options),
                        .progress = progress_look(options),
                        .errors = error_style(options)};
    int code = exit_bad_input;
    if (!options.file.empty() || (words.size() == 1 && words[0] == "-")) {
        if (options.next || options.previous)
            throw BadInput("--next and --previous walk from numbers on the command line, not from a file");
        if (!options.file.empty() && !words.empty())
            throw BadInput("numbers are taken either from --file or from the command line");
        code = test_number_stream(job, options.file.empty() ? "-" : options.file);
    } else {
        if (words.empty())
            throw BadInput(
                "KESH_PrimeQ takes numbers of up to 1024 bits; for example: KESH_PrimeQ 2^521-1 0xffff 10^40+121");
        code = options.next || options.previous ? walk_from_numbers(job, words) : test_numbers(job, words);
    }
    return host().breaches.take().empty() ? code : exit_breach;
}

}  // namespace kesh_host
