/**
 * @file   fault_page.cpp
 * @brief  Makes the table of outcomes from the results of all cases.
 */
#include "campaigns/fault_page.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "HostKit/export_table.h"
#include "HostKit/fault_plan.h"
#include "calls/call.h"
#include "campaigns/fault_calls.h"
#include "campaigns/fault_process.h"
#include "campaigns/planned_faults.h"

namespace kesh_host {

namespace {

/** Members by key, in the order of the first member of each key. */
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

/** The outcome in words, compared with the outcome of the same call without a fault. */
std::string compared(FaultResult result, const FaultResult& usual, const std::string& slot, const Planned& planned) {
    // After a crash the numbers are missing.
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

constexpr std::string_view introduction_to_faults =
    R"(# Outcomes of faults: what happens when a callback of the host fails

<!-- Made by: kesh-host faults > docs/fault-outcomes.md -->

The tables below list every callback that the library calls, every way in which it can fail, and the outcome. Each case
ran in a separate process. The callback failed at its first, its second or its third call, if there were that many.

The outcome says

- which code the export returned, or which exception left it;
- whether the export wrote its result slot;
- which events the task raised, except "Status";
- which objects did not reach the host as they do after a success: a string argument that the library kept ("string kept"),
  a tensor that was created and not returned ("tensor not returned"), or a DataStore that was created and not passed with an
  event ("DataStore not passed on").

"After a count" and "after a task" say whose progress callback was still installed. Two outcomes end the process:
`std::terminate`, if an exception leaves a thread, and `crash`, if the library follows a null pointer from the host. After
every other case, the library had to find pi(100), as a task and on the host's thread; otherwise the outcome ends in "unusable
after". All other slots of the two tables are traps: a call of such a slot is listed as a breach, and so is an event in the
wrong order. "Often" means three or more calls.
)";

/**
 * The outcome of the call without a fault; its result is compared with the known one.
 * @throws std::runtime_error when its progress is not reported often enough for the faults that are planned
 */
FaultResult baseline(const Library& library, const Call& call) {
    FaultResult result = run_apart(library, call, {});
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
        // KESH_PrimeQ gets no table.
        if (!wanted || entry.name == "KESH_PrimeQ") continue;
        for (Call& call : calls_of(entry)) calls.push_back(std::move(call));
    }

    std::vector<FaultResult> usual;
    Groups without_fault;
    Groups without_table;
    std::size_t cases = 0;
    for (const Call& call : calls) {
        const FaultResult& result = usual.emplace_back(baseline(library, call));
        add_to(without_fault, {calls_in_short(result.calls), result.outcome}, call.text());
        if (call.before != Before::nothing) continue;
        for (const auto& [name, table] :
             {std::pair{"both tables", TableChoice::null}, std::pair{"the task table", TableChoice::without_io}}) {
            const std::string outcome = compared(run_apart(library, call, {"", table}), result, "", {"", {}, 0});
            add_to(without_table, {name, outcome}, call.text());
            ++cases;
        }
    }

    std::string page(introduction_to_faults);
    page += "\n## Calls without a fault\n\n| callbacks made | outcome | calls |\n|---|---|---|\n";
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
                const FaultResult result = run_apart(library, calls[i], planned.fault);
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
