/**
 * @file   caller.cpp
 * @brief  Chooses how each call is made, makes the call, and shows its progress.
 */
#include "calls/caller.h"

#include <fmt/format.h>

#include <atomic>
#include <chrono>

#include "HostKit/host.h"
#include "HostKit/task.h"
#include "calls/counting_reach.h"
#include "calls/interrupts.h"
#include "calls/pieces.h"
#include "terminal/bad_input.h"
#include "terminal/printable.h"
#include "terminal/progress_line.h"

namespace kesh_host {

namespace {

using namespace std::chrono_literals;

/** A call that can be stopped ends soon after Ctrl-C; if it does not, the third press ends the host. */
constexpr int presses_for_stoppable = 3;
/** If a call cannot be stopped, the second press ends the host. */
constexpr int presses_for_unstoppable = 2;

/** The note of the progress line after a stop request: some algorithms have long steps that cannot be stopped. */
std::string stop_note(bool stoppable = true) {
    if (!stop_asked()) return "";
    if (!stoppable) return "cannot be stopped; Ctrl-C again ends the host";
    const int left = presses_for_stoppable - interrupts_seen();
    return fmt::format("stopping; Ctrl-C {} ends the host", left <= 1 ? "once more" : "twice more");
}

/** How many presses of Ctrl-C end the host during a call. */
int presses_to_leave(bool stoppable, const ProgressLook& look) {
    if (stoppable) return presses_for_stoppable;
    return look.visible && look.in_place ? presses_for_unstoppable : 1;
}

}  // namespace

std::string call_text(const Export& entry, const std::vector<ArgumentValue>& arguments) {
    std::string text(entry.name);
    text += '(';
    for (std::size_t i = 0; i < arguments.size(); ++i)
        text.append(i == 0 ? "" : ", ").append(printable(arguments[i].typed));
    return text += ')';
}

bool Caller::wants_progress(const CallSettings& settings) const {
    if (settings.progress == CallSettings::Progress::automatic) return look_.visible;
    return settings.progress == CallSettings::Progress::on;
}

ProgressLook Caller::look_for(const CallSettings& settings) const {
    ProgressLook look = look_;
    look.visible = wants_progress(settings);
    return look;
}

void Caller::stop_task() const {
    call_export(library_, "PrimeCount_StopTask", {});
}

mint Caller::create_task() const {
    const Outcome created = call_export(library_, "PrimeCount_CreateTask", {});
    if (created.status == Status::missing)
        throw BadInput("this library has no PrimeCount_CreateTask, so no task can be created");
    return std::get<mint>(created.result);
}

Outcome Caller::call(const Export& entry, const std::vector<std::string>& words, const CallSettings& settings) const {
    const std::vector<ArgumentValue> arguments = bind_arguments(entry, words, settings.unchecked);
    host().tasks.tolerate_missing_store(host().faults.planned("createDataStore"));

    if (!settings.bare && !settings.unchecked) warn_of_silent_count(library_, entry, arguments);

    Outcome outcome;
    if (entry.submits() && !arguments.empty()) {
        outcome = submit(entry, arguments, settings, call_text(entry, arguments));
    } else if (settings.background) {
        if (entry.route != Route::as_task)
            throw BadInput(
                fmt::format("{} cannot run in the background: the library cannot run it as a task", entry.name));
        outcome = call_as_task(entry, arguments, settings);
    } else {
        const bool plain = settings.bare || settings.unchecked || settings.table != TableChoice::full;
        const bool task_form_there = library_.symbol<ExportFunction>("PrimeCount_SubmitPrimePi") != nullptr;
        if (!plain && entry.route == Route::as_task && (wants_progress(settings) || settings.events_wanted) &&
            task_form_there) {
            outcome = call_as_task(entry, arguments, settings);
        } else if (!plain && entry.route == Route::status && task_form_there) {
            outcome = call_under_status(entry, arguments, settings);
        } else {
            outcome = call_plainly(entry, arguments, settings);
        }
    }
    if (entry.route == Route::sum_pieces && outcome.status == Status::ok && !settings.unchecked)
        outcome.sum = check_sum_of(outcome, settings);
    outcome.add_breaches(host().breaches.take());
    return outcome;
}

Outcome Caller::call_plainly(const Export& entry, const std::vector<ArgumentValue>& arguments,
                             const CallSettings& settings) const {
    const bool answers_abort = entry.route == Route::as_task;
    const bool split = !settings.bare && !settings.unchecked && (wants_progress(settings) || settings.abort_after) &&
                       worth_splitting(entry, arguments);
    const bool stoppable = answers_abort || split;
    const ProgressLook look = look_for(settings);
    const InterruptScope scope(presses_to_leave(stoppable, look), stoppable ? Stoppable::yes : Stoppable::no);
    std::atomic<double> fraction = 0;

    ProgressLine::Source source;
    if (split) source.fraction = [&] { return std::optional<double>(fraction.load()); };
    source.note = [&] { return stop_note(stoppable); };
    source.tick = [&] {
        if (stop_asked()) host().abort_answer = 1;
    };
    const ProgressLine line(look, call_text(entry, arguments), source);
    if (split) return call_in_pieces(library_, entry, arguments, fraction, stop_asked);

    Outcome outcome = call_export(library_, entry, arguments, settings.table);
    if (answers_abort && outcome.status == Status::error && host().abort_answer != 0) outcome.status = Status::stopped;
    return outcome;
}

Outcome Caller::call_as_task(const Export& entry, const std::vector<ArgumentValue>& arguments,
                             const CallSettings& settings) const {
    const Export* form = find_export(entry.task_form);
    std::vector<ArgumentValue> submitted = arguments;
    submitted.insert(submitted.begin(), ArgumentValue{.kind = Kind::task, .typed = "new", .value = NewTask{}});
    Outcome outcome = submit(*form, std::move(submitted), settings, call_text(entry, arguments));
    if (outcome.status == Status::submitted && !settings.background)
        outcome = wait_for_task(outcome.task->id, settings);
    outcome.entry = &entry;
    outcome.arguments = arguments;
    return outcome;
}

Outcome Caller::submit(const Export& entry, std::vector<ArgumentValue> arguments, const CallSettings& settings,
                       std::string what) const {
    if (std::holds_alternative<NewTask>(arguments[0].value)) arguments[0].value = create_task();
    const mint id = std::get<mint>(arguments[0].value);
    const bool known = host().tasks.submit(id, std::move(what), entry.takes_text());
    if (!known && !settings.unchecked) {
        const auto task = host().tasks.find(id);
        throw BadInput(
            task ? fmt::format("task {} already has a count ({}); write 'new' for a new task", id, task->what)
                 : fmt::format("there is no task {}; write 'new' for a new task, or call PrimeCount_CreateTask first",
                               id));
    }
    Outcome outcome = call_export(library_, entry, arguments, settings.table);
    if (outcome.status == Status::ok) {
        outcome.status = Status::submitted;
        outcome.task = host().tasks.find(id);
    } else if (known) {
        host().tasks.withdraw(id);
    }
    return outcome;
}

Outcome Caller::wait_for_task(mint id, const CallSettings& settings) const {
    Outcome outcome;
    const auto task = [id] { return host().tasks.find(id).value_or(Task{}); };
    outcome.arguments = {};
    const std::string label = task().what;
    const InterruptScope scope(presses_for_stoppable, Stoppable::yes);
    {
        ProgressLine::Source source;
        source.fraction = [&]() -> std::optional<double> {
            const Task now = task();
            if (now.status_events == 0) return std::nullopt;
            return now.percent / 100;
        };
        source.note = [&]() -> std::string {
            if (stop_asked()) return stop_note();
            const Task now = task();
            if (now.state == TaskState::queued && host().tasks.running() > 1) return "queued";
            return "";
        };
        const ProgressLine line(look_for(settings), label, source);
        while (!host().tasks.wait_removed(id, 50ms)) {
            // The request ends the count that runs now, whichever it is, and is dropped when a queued one starts. So it
            // is repeated until this count ends.
            const bool ours = task().state != TaskState::queued || host().tasks.running() == 1;
            if (stop_asked() && ours) stop_task();
            // A queued task cannot be ended; Ctrl-C ends the waiting for it.
            if (interrupts_seen() > 0 && !ours) break;
        }
    }
    const Task ended = task();
    outcome.task = ended;
    const auto end = ended.running() ? Task::Clock::now() : ended.ended;
    outcome.seconds = std::chrono::duration<double>(end - ended.submitted).count();
    if (ended.running()) {
        outcome.status = Status::stopped;
    } else if (ended.failed) {
        outcome.status = stop_asked() ? Status::stopped : Status::error;
        outcome.code = LIBRARY_NO_ERROR;
    } else if (ended.result) {
        if (const auto* number = std::get_if<mint>(&*ended.result)) outcome.result = *number;
        if (const auto* text = std::get_if<std::string>(&*ended.result)) outcome.result = *text;
    } else {
        outcome.status = Status::error;
    }
    outcome.add_breaches(host().breaches.take());
    return outcome;
}

SumCheck Caller::check_sum_of(const Outcome& outcome, const CallSettings& settings) const {
    const auto number = [&](std::size_t i) { return static_cast<umint>(std::get<mint>(outcome.arguments[i].value)); };
    const auto* residue = std::get_if<mint>(&outcome.result);
    if (residue == nullptr) return {};
    const bool interval = outcome.arguments.size() == 2;
    const umint end = number(interval ? 1 : 0);
    // The upper end of PrimeSum is excluded.
    if (!interval && end == 0) return check_sum(1, 0, 0, {});
    return check_sum(interval ? number(0) : 1, interval ? end : end - 1, static_cast<umint>(*residue),
                     [&](umint from, umint to) -> std::optional<umint> {
                         if (settings.bare) return std::nullopt;
                         const Outcome counted = call_export(library_, "PrimeSieve_CountPrimes",
                                                             {static_cast<mint>(from), static_cast<mint>(to)});
                         const auto* primes = std::get_if<mint>(&counted.result);
                         if (counted.status != Status::ok || primes == nullptr) return std::nullopt;
                         return static_cast<umint>(*primes);
                     });
}

bool Caller::install_status_callback() const {
    // A task leaves its progress callback installed. A count of an empty range does so at no cost.
    const mint id = create_task();
    host().tasks.submit(id, "progress callback", false);
    if (call_export(library_, "PrimeCount_SubmitPrimePi", {id, 0}).status != Status::ok) {
        host().tasks.withdraw(id);
        return false;
    }
    return host().tasks.wait_removed(id, 1min);
}

Outcome Caller::call_under_status(const Export& entry, const std::vector<ArgumentValue>& arguments,
                                  const CallSettings& settings) const {
    if (host().tasks.running() > 0 || !install_status_callback()) {
        // While other tasks run, the callback is theirs, and this count's reports arrive as reports of a task.
        return call_plainly(entry, arguments, settings);
    }

    const bool stoppable = can_be_stopped(entry);
    const ProgressLook look = look_for(settings);
    const InterruptScope scope(presses_to_leave(stoppable, look), stoppable ? Stoppable::yes : Stoppable::no);
    const std::size_t reports_before = host().tasks.latest_status().second;
    bool stop_sent = false;
    Outcome outcome;
    {
        ProgressLine::Source source;
        source.fraction = [&]() -> std::optional<double> {
            const auto [percent, reports] = host().tasks.latest_status();
            if (reports == reports_before) return std::nullopt;
            return percent / 100;
        };
        source.note = [&] { return stop_note(stoppable); };
        source.tick = [&] {
            if (!stop_asked()) return;
            stop_task();
            stop_sent = true;
        };
        const ProgressLine line(look, call_text(entry, arguments), source);
        outcome = call_export(library_, entry, arguments, settings.table);
    }
    if (stop_sent && !outcome.good()) outcome.status = Status::stopped;
    return outcome;
}

}  // namespace kesh_host
