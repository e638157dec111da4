/**
 * @file   fault_campaign.cpp
 * @brief  The cases, their processes, and the table of outcomes.
 */
#include "campaigns/fault_campaign.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

#include "HostKit/export_table.h"
#include "HostKit/fault_plan.h"
#include "HostKit/host.h"
#include "HostKit/task.h"
#include "answers/outcome_text.h"
#include "calls/call.h"
#include "calls/caller.h"

namespace kesh_host {

namespace {

using namespace std::chrono_literals;

/** No case takes more than a few seconds; one that is still running then is ended, and its outcome says so. */
constexpr int time_limit_ms = 60'000;

/** Of each callback the first calls go wrong, one at a time, up to this one; "often" means at least so many. */
constexpr std::int64_t last_call_hit = 3;

/** What was called before, and has left its progress callback installed. */
enum class Before { nothing, count, task };

/** A call that succeeds, or fails in a known way, with a host that does its part. */
struct Call {
    const Export* entry = nullptr;
    std::vector<std::string> words;
    Before before = Before::nothing;
    bool reports = false;  ///< it is long enough for its progress to be reported often, and has a callback for that

    std::string text() const {
        std::string label = fmt::format("`{}({})`", entry->name, fmt::join(words, ", "));
        if (before == Before::count) label += " after a count";
        if (before == Before::task) label += " after a task";
        return label;
    }
};

/** One fault, as text for FaultPlan::add, or a table that is missing. */
struct HostFault {
    std::string plan;
    TableChoice table = TableChoice::full;
    mint left_position = 0;
};

struct Result {
    std::string outcome;
    std::string answer;                         ///< what the call or its task answered
    std::map<std::string, std::int64_t> calls;  ///< of each callback
    std::int64_t status_events = 0;             ///< that arrived
};

/**
 * The calls of one export: its example, or where callbacks are involved calls of every length. The first is a count so
 * long that a faster machine, too, makes the third report to be hit: they come 10 ms apart at least. The short ones
 * report a result only, the last ones fail.
 */
std::vector<Call> calls_of(const Export& entry) {
    const std::string_view name = entry.name;
    std::vector<std::vector<std::string>> arguments = {{entry.example.begin(), entry.example.end()}};
    std::vector<Before> befores = {Before::nothing};
    if (name == "PrimeCount_PrimePi") arguments = {{"3*10^13"}};
    if (name == "PrimeCount_Prime") arguments = {{"10^12"}, {"0"}};
    if (name == "PrimeCount_ExprPrimePi") arguments = {{"3*10^13"}, {"no number"}};
    if (name == "PrimeCount_SubmitPrimePi") arguments = {{"1", "3*10^13"}, {"1", "100"}};
    if (name == "PrimeCount_SubmitPrime") arguments = {{"1", "10^12"}, {"1", "25"}, {"1", "0"}};
    if (name == "PrimeCount_SubmitExprPrimePi") arguments = {{"1", "3*10^13"}, {"1", "100"}, {"1", "no number"}};
    if (entry.route == Route::status) {
        if (name == "PrimeCount_PrimeSieve") arguments = {{"5*10^9"}};
        if (name == "PrimeCount_Meissel") arguments = {{"2*10^13"}};
        if (name == "PrimeCount_DelegliseRivat" || name == "PrimeCount_LMO" || name == "PrimeCount_Lehmer")
            arguments = {{"10^13"}};
        befores = {Before::nothing, Before::count, Before::task};
    }
    const bool installs = entry.route == Route::as_task || name.starts_with("PrimeCount_Submit");
    // The partial sieve function reports nothing, and Legendre's formula is little else.
    const bool silent = name == "PrimeCount_Coprime" || name == "PrimeCount_Legendre";
    std::vector<Call> calls;
    for (const Before before : befores) {
        const bool reports = installs || (before != Before::nothing && !silent);
        for (const auto& words : arguments) calls.push_back({&entry, words, before, reports && words == arguments[0]});
    }
    return calls;
}

/** What the call answers, where that is known: its export's example, pi(n) or the n-th prime; else nothing. */
std::string_view known_answer(const Call& call) {
    using Answers = std::map<std::string_view, std::string_view>;
    static const Answers counts = {{"100", "25"},
                                   {"5*10^9", "234954223"},
                                   {"10^13", "346065536839"},
                                   {"2*10^13", "675895909271"},
                                   {"3*10^13", "1000121668853"}};
    static const Answers primes = {{"25", "97"}, {"10^12", "29996224275833"}};
    const Export& entry = *call.entry;
    if (std::equal(call.words.begin(), call.words.end(), entry.example.begin(), entry.example.end()))
        return entry.example_result;
    const Answers& answers = entry.name.ends_with("Prime") ? primes : counts;
    const auto found = answers.find(call.words.back());
    return found == answers.end() ? "" : found->second;
}

/** "Result, removed": "Status" events come as time passes, and are only named where something is wrong with them. */
std::string events_in_short(const std::vector<Event>& events) {
    std::vector<std::string> names;
    for (const Event& event : events) {
        const bool bare = !event.value && event.name != "removed";
        const std::string name = bare ? event.name + " without value" : event.name;
        if (name != "Status" && (names.empty() || names.back() != name)) names.push_back(name);
    }
    return names.empty() ? "none" : fmt::format("{}", fmt::join(names, ", "));
}

/** The child process: where its pipe is, and what is known of its call when another thread of it terminates. */
int result_pipe = -1;
std::thread::id calling_thread;
std::optional<Outcome> finished_call;
std::atomic<bool> call_is_over = false;  ///< finished_call is there, and stays as it is

/** What is known by now, as the lines that the parent process reads. */
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
        if (host().tensors.living() > returned) text += ", tensor left behind";
        const std::string names = events_in_short(events);
        if (outcome.status == Status::submitted || names != "none") text += "; events: " + names;
        if (host().tasks.open_stores() + host().tasks.discarded_stores() > 0) text += "; DataStore not handed over";
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
    // A worker may fail before the export that started it has returned, and its outcome is to be told all the same.
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

/** Makes the call in this process, which ends with it. */
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
    const bool submits = call.entry->family == Family::tasks && !call.entry->parameters.empty();
    if (submits || call.before == Before::task) make("PrimeCount_CreateTask", {});
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
    // Longer than the time limit: a task that is not removed shows as that.
    if (finished_call->status == Status::submitted) host().tasks.wait_removed(1, 10min);
    const Account now = account();
    host().faults.clear();
    report(now, usable(caller) ? "" : "; unusable after");
}

/** Runs the case in a child process. */
Result run_apart(const Library& library, const Call& call, const HostFault& fault) {
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

    Result result;
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

/** The faults of one callback that is called so often: each at its first, second and third call. */
struct Planned {
    std::string what;  ///< for the table
    HostFault fault;
    std::int64_t at = 1;
    bool throws = false;
};
std::vector<Planned> faults_of(const FaultSlot& slot, std::int64_t calls) {
    const std::string name(slot.name);
    std::vector<std::int64_t> hit;
    for (std::int64_t k = 1; k <= std::min(calls, last_call_hit); ++k) hit.push_back(k);
    std::vector<Planned> list;
    const auto add = [&](const std::string& what, std::string_view form, mint left_position = 0) {
        for (const std::int64_t k : hit)
            list.push_back({what,
                            {fmt::format("{}={}@{}", name, form, k), TableChoice::full, left_position},
                            k,
                            form.starts_with("throw")});
    };
    for (const std::string_view form : slot.forms) {
        if (form == "null") add("returns null", "null");
        if (form == "throw") add("throws std::runtime_error", "throw");
        if (form == "throw-int") add("throws an int", "throw-int");
        if (form == "slow") add("takes 0.2 s", "slow");
        if (form != "code") continue;
        if (name == "AbortQ") {
            add("returns 1", "1");
            add("returns -1", "-1");
            add("returns 2^32", "4294967296");
        } else if (name == "createAsynchronousTaskWithoutThread" || name == "removeAsynchronousTask") {
            add("returns -1", "-1");
        } else {
            for (const std::string_view code : {"1", "3", "77"}) add(fmt::format("returns code {}", code), code);
        }
    }
    if (name == "MTensor_new") add("returns 0 and a null tensor", "0");
    if (name == "MTensor_getInteger") {
        add("returns 0, position 0", "0", 0);
        add("returns 0, position 17", "0", 17);
        add("returns 0, position 1", "0", 1);
    }
    return list;
}

/** Members by key, in the order in which the keys came. */
using Cells = std::vector<std::string>;
using Groups = std::vector<std::pair<Cells, std::vector<std::string>>>;

void add_to(Groups& groups, const Cells& key, const std::string& member) {
    auto group = std::find_if(groups.begin(), groups.end(), [&](const auto& known) { return known.first == key; });
    if (group == groups.end()) group = groups.insert(group, {key, {}});
    group->second.push_back(member);
}

std::string calls_in_short(const std::map<std::string, std::int64_t>& calls) {
    std::vector<std::string> names;
    for (const auto& [slot, number] : calls) {
        // Counted under the event's name as well.
        if (slot != "raiseAsyncEvent")
            names.push_back(fmt::format("`{}`{}", slot, number < last_call_hit ? "" : " often"));
    }
    return names.empty() ? "none" : fmt::format("{}", fmt::join(names, ", "));
}

/** The outcome in words, held against what comes of the same call when nothing goes wrong. */
std::string compared(Result result, const Result& usual, const std::string& slot, const Planned& planned) {
    // A crash takes the numbers with it.
    if (!result.calls.empty() && result.calls[slot] < planned.at) return "the call was not made";
    const bool during_progress =
        usual.status_events >= last_call_hit && planned.throws &&
        (slot == "createDataStore" || slot == "DataStore_addReal" || slot.ends_with(":Status"));
    if (during_progress && result.status_events != planned.at - 1)
        result.outcome += fmt::format("; {} Status events instead of {}", result.status_events, planned.at - 1);
    if (result.outcome != usual.outcome) return result.outcome;
    if (result.answer != usual.answer) return fmt::format("{}: {}", result.outcome, result.answer);
    return "as without the fault";
}

constexpr std::string_view introduction = R"(# What comes of every fault of a host callback

<!-- Made by: kesh-host faults > docs/fault-outcomes.md -->

Every callback that an export makes goes wrong in every way, in a process of its own each time: at each of its calls
where there are few, else at the first, the second and the third. The outcome tells the code or the exception that leaves
the export, whether the result slot was written, the events of the task that are not "Status", and what did not pass to the
host as it does after a success: a string argument that was kept, a tensor that was made and not returned, a DataStore that
was made and not handed over with an event. "After a count" and "after a task" say whose progress callback was still
installed. Two outcomes are ends of the process: `std::terminate`, when an exception leaves a thread, and `crash`, when a
null pointer from the host is followed. After every other case the library is asked for pi(100), as a task and on the
host's thread, and an outcome would end in "unusable after" if it did not answer 25. All other slots of the two tables
are traps, and a call to one would be a breach, as would be any event out of order. The table has none of these.
)";

/**
 * What comes of the call when nothing goes wrong: the answer is held against the known one.
 * @throws std::runtime_error when its progress is not reported often enough for the faults that are planned
 */
Result baseline(const Library& library, const Call& call) {
    Result result = run_apart(library, call, {});
    const std::int64_t reports = std::max(result.calls["AbortQ"], result.calls["raiseAsyncEvent:Status"]);
    std::erase_if(result.calls, [](const auto& made) { return made.second == 0; });
    if (call.reports && reports < last_call_hit) {
        throw std::runtime_error(
            fmt::format("{} reported its progress {} times and not the {} times that its rows need: "
                        "this machine needs a longer count there",
                        call.text(), reports, last_call_hit));
    }
    const std::string_view known = known_answer(call);
    if (!known.empty() && result.answer != known)
        result.outcome += fmt::format("; answer {} instead of {}", result.answer, known);
    return result;
}

std::string table_row(const Cells& cells, const std::vector<std::string>& calls) {
    return fmt::format("| {} | {} |\n", fmt::join(cells, " | "), fmt::join(calls, ", "));
}

}  // namespace

std::string fault_page(const Library& library, const std::vector<std::string>& exports) {
    std::vector<Call> calls;
    for (const Export& entry : export_table()) {
        const bool wanted = exports.empty() || std::find(exports.begin(), exports.end(), entry.name) != exports.end();
        // KESH_PrimeQ is handed no table.
        if (!wanted || entry.name == "KESH_PrimeQ") continue;
        for (Call& call : calls_of(entry)) calls.push_back(std::move(call));
    }

    std::vector<Result> usual;
    Groups without_fault;
    Groups without_table;
    std::size_t cases = 0;
    for (const Call& call : calls) {
        const Result& result = usual.emplace_back(baseline(library, call));
        add_to(without_fault, {calls_in_short(result.calls), result.outcome}, call.text());
        if (call.before != Before::nothing) continue;
        for (const auto& [name, table] :
             {std::pair{"both tables", TableChoice::null}, std::pair{"the task table", TableChoice::without_io}}) {
            const std::string outcome = compared(run_apart(library, call, {"", table}), result, "", {"", {}, 0});
            add_to(without_table, {name, outcome}, call.text());
            ++cases;
        }
    }

    std::string page(introduction);
    page += "\n## Nothing goes wrong\n\n| callbacks made | outcome | calls |\n|---|---|---|\n";
    for (const auto& [cells, members] : without_fault) page += table_row(cells, members);

    page += "\n## A table is null\n\n| null | outcome | calls |\n|---|---|---|\n";
    for (const auto& [cells, members] : without_table) page += table_row(cells, members);

    for (const FaultSlot& slot : fault_slots()) {
        if (slot.name == "raiseAsyncEvent") continue;  // each event by its name
        const std::string name(slot.name);
        Groups groups;  // by fault, outcome, the calls hit
        for (std::size_t i = 0; i < calls.size(); ++i) {
            const auto made = usual[i].calls.find(name);
            if (made == usual[i].calls.end()) continue;
            Groups hits;  // by fault, outcome
            for (const Planned& planned : faults_of(slot, made->second)) {
                const Result result = run_apart(library, calls[i], planned.fault);
                add_to(hits, {planned.what, compared(result, usual[i], name, planned)}, std::to_string(planned.at));
                ++cases;
            }
            for (const auto& [key, hit] : hits)
                add_to(groups, {key[0], key[1], fmt::format("{}", fmt::join(hit, ", "))}, calls[i].text());
        }
        if (groups.empty()) continue;
        std::stable_sort(groups.begin(), groups.end(),
                         [](const auto& left, const auto& right) { return left.first[0] < right.first[0]; });
        page += fmt::format("\n## {}\n\n| fault | outcome | at its call | calls |\n|---|---|---|---|\n", name);
        for (const auto& [cells, members] : groups) page += table_row(cells, members);
    }
    return page + fmt::format("\n{} faults, {} calls without one.\n", cases, calls.size());
}

}  // namespace kesh_host
