/**
 * @file   event_output.cpp
 * @brief  Shows the events of tasks and writes them to files.
 */
#include "commands/event_output.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <utility>
#include <variant>

#include "HostKit/host.h"
#include "answers/json.h"
#include "commands/looks.h"
#include "terminal/exit_codes.h"
#include "terminal/output.h"
#include "terminal/output_file.h"
#include "terminal/printable.h"

namespace kesh_host {

void EventOutput::begin_file(const Options& options) {
    if (!options.events_file.empty()) files_.open(options.events_file);
}

void EventOutput::print(const Options& options) {
    const auto events = host().tasks.take_events();
    write(options, events);
    show(options, events);
}

void EventOutput::print_after_call(const Options& options, const Outcome& outcome) {
    // The task was submitted, or the user stopped waiting for it: it continues in the background, unless it has ended.
    if (outcome.task && (outcome.status == Status::submitted || outcome.task->running()))
        in_background_.insert(outcome.task->id);
    if (outcome.status == Status::submitted && outcome.task) background_files_[outcome.task->id] = options.events_file;
    auto events = host().tasks.take_events();
    write(options, events);
    // The user has seen the events of a call in the foreground as its progress and its result.
    if (!options.every_event || options.json)
        std::erase_if(events, [this](const Event& event) { return !in_background_.contains(event.task); });
    show(options, events);
}

void EventOutput::tell_of_no_events(const Options& options) const {
    if (host().tasks.running() > 0 || !files_.holds_header_alone(options.events_file)) return;
    print_error(fmt::format("no events: {} ran no task, so {} contains only its header\n",
                            options.words.empty() ? "the script" : printable(options.words[0]),
                            printable(options.events_file)));
}

int EventOutput::exit_code() const {
    return lost_ ? exit_call_failed : exit_ok;
}

void EventOutput::write(const Options& options, const std::vector<Event>& events) {
    if (lost_) return;
    // The events of a task in the background go to the file of the line that submitted it.
    std::map<std::string, std::vector<Event>> by_file;
    for (const Event& event : events) {
        const auto submitted_with = background_files_.find(event.task);
        by_file[submitted_with == background_files_.end() ? options.events_file : submitted_with->second].push_back(
            event);
    }
    try {
        for (const auto& [file, of_file] : by_file) files_.append(file, of_file);
    } catch (const OutputError& error) {
        lost_ = true;
        print_error(printable(error.what()) + "\n");
    }
}

void EventOutput::show(const Options& options, const std::vector<Event>& events) {
    if (options.json) {
        std::string objects;
        for (const Event& event : events) {
            if (event.name == "Status" && !options.every_event) continue;
            nlohmann::ordered_json object = {
                {"event", event.name}, {"task", event.task}, {"seconds", event.seconds}, {"value", nullptr}};
            if (event.value) std::visit([&](const auto& value) { object["value"] = value; }, *event.value);
            objects += json_line(object);
        }
        kesh_host::print(objects);
        return;
    }
    kesh_host::print(lines_.text(events, options.every_event, look_of(options).style));
}

}  // namespace kesh_host
