/**
 * @file   outcome_text.cpp
 * @brief  Describes results and failures in words.
 */
#include "answers/outcome_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "HostKit/export_table.h"
#include "answers/remarks.h"
#include "calls/caller.h"
#include "calls/countable_text.h"
#include "terminal/duration.h"
#include "terminal/layout.h"
#include "terminal/terminal.h"
#include "terminal/wording.h"

namespace kesh_host {

namespace {

/** The number of rows of a shortened tensor that are shown at each end. */
constexpr std::size_t rows_at_an_end = 6;

/** The result on one line. */
std::string plain_result(const Outcome& outcome) {
    if (const auto* number = std::get_if<mint>(&outcome.result)) return fmt::format("{}", *number);
    if (const auto* truth = std::get_if<bool>(&outcome.result)) return *truth ? "true" : "false";
    if (const auto* text = std::get_if<std::string>(&outcome.result)) return *text;
    if (const auto* tensor = std::get_if<TensorResult>(&outcome.result)) return fmt::format("{}", (*tensor)->length);
    return "";
}

std::string how(const Outcome& outcome) {
    std::string text = format_duration(outcome.seconds);
    if (outcome.pieces > 1) text += fmt::format(", in {} pieces", outcome.pieces);
    if (outcome.task)
        text += fmt::format(", task {} with {}", outcome.task->id,
                            counted(outcome.task->status_events, "progress report", "progress reports"));
    return text;
}

}  // namespace

std::string tensor_table(std::span<const mint> values, const PrintLook& look) {
    if (values.empty()) return "{}\n";
    std::size_t cell = 1;
    for (const mint value :
         {*std::min_element(values.begin(), values.end()), *std::max_element(values.begin(), values.end())}) {
        cell = std::max(cell, fmt::formatted_size("{}", value));
    }
    const std::size_t margin = fmt::formatted_size("{}", values.size()) + 2;
    std::size_t columns = look.width > margin + cell ? (look.width - margin) / (cell + 2) : 1;
    // A round number of columns makes the index readable.
    for (const std::size_t round : {20UL, 10UL, 5UL}) {
        if (columns >= round) {
            columns = round;
            break;
        }
    }
    columns = std::max<std::size_t>(columns, 1);
    const std::size_t rows = (values.size() + columns - 1) / columns;
    const bool shortened = !look.whole_tensors && rows > 2 * rows_at_an_end + 1;
    std::string text;
    for (std::size_t row = 0; row < rows; ++row) {
        if (shortened && row == rows_at_an_end) {
            const std::size_t left_out = (rows - 2 * rows_at_an_end) * columns;
            text += look.style.dim(fmt::format("{:>{}}  ... {} more ...", "", margin - 2, left_out)) + '\n';
            row = rows - rows_at_an_end;
        }
        text += look.style.dim(fmt::format("{:>{}}:", row * columns + 1, margin - 1));
        for (std::size_t i = row * columns; i < std::min(values.size(), (row + 1) * columns); ++i)
            text += fmt::format("  {:>{}}", values[i], cell);
        text += '\n';
    }
    return text;
}

std::string answer_text(const Outcome& outcome) {
    if (const auto* tensor = std::get_if<TensorResult>(&outcome.result))
        return fmt::format("{{{}}}", fmt::join((*tensor)->data(), ", "));
    return std::holds_alternative<std::monostate>(outcome.result) ? "" : plain_result(outcome);
}

std::string result_text(const Outcome& outcome, const PrintLook& look) {
    if (outcome.status == Status::submitted) {
        // With --unchecked, the task may not exist.
        if (!outcome.task)
            return look.quiet ? ""
                              : fmt::format("{}: submitted for a task that does not exist\n",
                                            call_text(*outcome.entry, outcome.arguments));
        return look.quiet ? fmt::format("{}\n", outcome.task->id)
                          : fmt::format("task {}: {}\n", outcome.task->id, outcome.task->what);
    }
    if (outcome.status != Status::ok) return "";
    std::string text;
    if (const auto* tensor = std::get_if<TensorResult>(&outcome.result)) {
        if (look.quiet) {
            for (const mint value : (*tensor)->data()) text += fmt::format("{}\n", value);
            return text;
        }
        text = tensor_table((*tensor)->data(), look);
    } else if (!std::holds_alternative<std::monostate>(outcome.result)) {
        text = look.style.bold(plain_result(outcome)) + '\n';
    }
    if (look.quiet) return text;
    const std::string words = answer_sentence(outcome);
    const std::string timing = how(outcome);
    return text +
           (words.empty() ? look.style.dim(fmt::format("({})", timing))
                          : fmt::format("{}  {}", words, look.style.dim(fmt::format("({})", timing)))) +
           '\n';
}

std::string failure_text(const Outcome& outcome, const Style& style) {
    const std::string call = call_text(*outcome.entry, outcome.arguments);
    switch (outcome.status) {
        case Status::ok:
        case Status::submitted:
            return "";
        case Status::missing:
            return fmt::format("{} {} is not exported by this library\n", style.red("missing:"), outcome.entry->name);
        case Status::stopped:
            if (outcome.task && outcome.task->running())
                return fmt::format("{} waiting for {}: task {} stays queued; 'stop' stops the task that is running\n",
                                   style.yellow("stopped:"), call, outcome.task->id);
            return fmt::format("{} {} after {}{}\n", style.yellow("stopped:"), call, format_duration(outcome.seconds),
                               outcome.task ? ""
                               : outcome.code != 0
                                   ? fmt::format("; it returned {}, {}", outcome.code, error_name(outcome.code))
                                   : "");
        case Status::exception:
            return fmt::format("{} {} left {}: {}\n", style.red("exception:"), outcome.exception_type, call,
                               outcome.exception_text);
        case Status::error:
            break;
    }
    const std::string why = why_not_countable(*outcome.entry, outcome.arguments);
    const std::string reason = why.empty() ? "" : "       " + why + "\n";
    if (outcome.task && !outcome.task->running() && outcome.code == 0) {
        return outcome.task->failed
                   ? fmt::format("{} {} failed: task {} reported \"Error\" with \"$Failed\"\n{}", style.red("error:"),
                                 call, outcome.task->id, reason)
                   : fmt::format(
                         "{} {} ended without a result: task {} was removed, and no value came with its events\n",
                         style.red("error:"), call, outcome.task->id);
    }
    return fmt::format(
        "{} {} returned {}, {}\n{}", style.red("error:"), call, outcome.code, error_name(outcome.code),
        !why.empty()
            ? reason
            : fmt::format("       {}\n",
                          style.dim(wrapped(
                              fmt::format("Errors of {}: {}.", outcome.entry->name, outcome.entry->errors), 100, 7))));
}

}  // namespace kesh_host
