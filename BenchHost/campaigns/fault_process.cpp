/**
 * @file   fault_process.cpp
 * @brief  The child process makes the call and reports; the parent process reads the report and waits.
 */
#include "campaigns/fault_process.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <vector>

#include "HostKit/data_store.h"
#include "HostKit/export_table.h"
#include "HostKit/host.h"
#include "HostKit/task.h"
#include "answers/outcome_text.h"
#include "calls/call.h"
#include "calls/caller.h"

namespace kesh_host {

namespace {

using namespace std::chrono_literals;

/** No case takes more than a few seconds; a case that still runs after this time is ended, and its outcome says so. */
constexpr int time_limit_ms = 60'000;

/**
 * "Result, removed": the number of "Status" events depends on time, so they are named only if something is wrong with
 * them.
 */
std::string events_in_short(const std::vector<Event>& events) {
    std::vector<std::string> names;
    for (const Event& event : events) {
        const bool bare = !event.value && event.name != "removed";
        const std::string name = bare ? event.name + " without value" : event.name;
        if (name != "Status" && (names.empty() || names.back() != name)) names.push_back(name);
    }
    return names.empty() ? "none" : fmt::format("{}", fmt::join(names, ", "));
}

/** In the child process: its pipe, and what is known of its call when another thread terminates the process. */
int result_pipe = -1;
std::thread::id calling_thread;
std::optional<Outcome> finished_call;
std::atomic<bool> call_is_over = false;  ///< finished_call is set and does not change any more

/** The facts that are known so far, as the lines that the parent process reads. */
struct Account {
    std::string outcome = "during the call";
    std::string numbers;  ///< answer, "Status" events, calls of each callback
};

Account account() {
    Account now;
    std::string answer;
    const std::vector<Event> events = host().tasks.take_events();
    if (call_is_over) {
        const Outcome& outcome = *finished_call;
        std::string& text = now.outcome;
        text = outcome.status == Status::exception ? fmt::format("throws {}", outcome.exception_type)
                                                   : fmt::format("code {}", outcome.code);
        text += outcome.wrote_result ? ", result" : ", no result";
        if (outcome.kept_strings > 0) text += ", string kept";
        const std::size_t returned = std::holds_alternative<TensorResult>(outcome.result) ? 1 : 0;
        if (host().tensors.living() > returned) text += ", tensor not returned";
        const std::string names = events_in_short(events);
        if (outcome.status == Status::submitted || names != "none") text += "; events: " + names;
        if (host().tasks.open_stores() + host().tasks.discarded_stores() > 0) text += "; DataStore not passed on";
        Outcome whole = outcome;
        if (const auto task = whole.task ? host().tasks.find(whole.task->id) : std::nullopt; task && task->result) {
            if (const auto* number = std::get_if<mint>(&*task->result)) whole.result = *number;
            if (const auto* digits = std::get_if<std::string>(&*task->result)) whole.result = *digits;
        }
        answer = answer_text(whole);
        whole.add_breaches(host().breaches.take());
        for (const std::string& breach : whole.breaches) text += "; breach: " + breach;
    }
    now.numbers = fmt::format("{}\n{}\n", answer, std::count_if(events.begin(), events.end(), [](const Event& event) {
                                  return event.name == "Status";
                              }));
    for (const auto& [slot, number] : host().faults.calls()) now.numbers += fmt::format("{} {}\n", slot, number);
    return now;
}

/** Ends the child process. */
[[noreturn]] void report(const Account& now, std::string_view end) {
    const std::string text = fmt::format("{}{}\n{}", now.outcome, end, now.numbers);
    const ssize_t written = write(result_pipe, text.data(), text.size());
    _exit(written == static_cast<ssize_t>(text.size()) ? 0 : 1);
}

[[noreturn]] void report_terminate() {
    // A worker may fail before the export that started it has returned, but the report must contain the outcome of the
    // export.
    if (std::this_thread::get_id() != calling_thread) {
        for (int wait = 0; wait < 1000 && !call_is_over; ++wait) std::this_thread::sleep_for(10ms);
    }
    report(account(), "; std::terminate");
}

/** Whether the library still counts, in a task and on this thread. */
bool usable(const Caller& caller) {
    CallSettings settings;
    settings.bare = true;
    const std::size_t breaches = host().breaches.total();
    const Outcome begun = caller.call(*find_export("PrimeCount_SubmitPrimePi"), {"new", "100"}, settings);
    if (begun.status != Status::submitted || !host().tasks.wait_removed(begun.task->id, 30s)) return false;
    const std::optional<EventValue> raised = host().tasks.find(begun.task->id)->result;
    const Outcome counted = caller.call(*find_export("PrimeCount_PrimePi"), {"100"}, settings);
    return raised == EventValue(mint{25}) && counted.result == ResultValue(mint{25}) &&
           host().breaches.total() == breaches;
}

/** Makes the call in this process and ends the process. */
[[noreturn]] void run(const Library& library, const Call& call, const HostFault& fault) {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    if (std::freopen("/dev/null", "w", stderr) == nullptr) _exit(1);
    calling_thread = std::this_thread::get_id();
    std::set_terminate(report_terminate);

    const Caller caller(library, {});
    CallSettings settings;
    settings.bare = true;
    const auto make = [&](std::string_view name, const std::vector<std::string>& words) {
        return caller.call(*find_export(name), words, settings);
    };
    // The same threads on every machine: one that calls and one more.
    make("PrimeCount_SetThreads", {"2"});
    if (call.entry->submits() || call.before == Before::task) make("PrimeCount_CreateTask", {});
    if (call.before == Before::count) make("PrimeCount_PrimePi", {"10"});
    if (call.before == Before::task) {
        make("PrimeCount_SubmitPrimePi", {"1", "10"});
        host().tasks.wait_removed(1, 10min);
    }

    host().faults.clear();
    if (!fault.plan.empty()) host().faults.add(fault.plan);
    host().left_position = fault.left_position;
    host().tasks.keep_events(true);
    settings.table = fault.table;
    finished_call = caller.call(*call.entry, call.words, settings);
    call_is_over = true;
    // Longer than the time limit, so that a task that is not removed is reported as still running.
    if (finished_call->status == Status::submitted) host().tasks.wait_removed(1, 10min);
    const Account now = account();
    host().faults.clear();
    report(now, usable(caller) ? "" : "; unusable after");
}

}  // namespace

FaultResult run_apart(const Library& library, const Call& call, const HostFault& fault) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no process");
    if (child == 0) {
        close(ends[0]);
        result_pipe = ends[1];
        run(library, call, fault);
    }
    close(ends[1]);
    std::string text;
    std::array<char, 4096> buffer{};
    pollfd wait{ends[0], POLLIN, 0};
    bool in_time = true;
    for (;;) {
        in_time = poll(&wait, 1, time_limit_ms) > 0;
        const ssize_t got = in_time ? read(ends[0], buffer.data(), buffer.size()) : 0;
        if (got <= 0) break;
        text.append(buffer.data(), static_cast<std::size_t>(got));
    }
    close(ends[0]);
    if (!in_time) kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);

    FaultResult result;
    std::istringstream lines(text);
    std::getline(lines, result.outcome);
    std::getline(lines, result.answer);
    lines >> result.status_events;
    std::string slot;
    for (std::int64_t number = 0; lines >> slot >> number;) result.calls[slot] = number;
    if (!in_time) result.outcome = "still running after a minute";
    if (in_time && WIFSIGNALED(status)) result.outcome = WTERMSIG(status) == SIGSEGV ? "crash" : "killed";
    return result;
}

}  // namespace kesh_host
