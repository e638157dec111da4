/**
 * @file   print.cpp
 * @brief  Text and JSON forms.
 */
#include "print.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

#include "caller.h"
#include "digits.h"
#include "printable.h"
#include "progress.h"
#include "remarks.h"
#include "tensors.h"

namespace bench_host {

using Json = nlohmann::ordered_json;

namespace {

/** Rows of a shortened tensor at either end. */
constexpr std::size_t rows_at_an_end = 6;

bool is_negative_pattern(const Outcome& outcome) {
    const mint* number = std::get_if<mint>(&outcome.result);
    return number != nullptr && *number < 0 && outcome.entry->result == Kind::pattern;
}

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

namespace {

/** Columns that the text takes: one a character, none for the bytes of "ESC [ ... m". */
std::size_t columns_of(std::string_view text) {
    std::size_t columns = 0;
    bool escape = false;
    for (const char c : text) {
        if (c == '\033') escape = true;
        const bool continues_character = (static_cast<unsigned char>(c) & 0xc0) == 0x80;
        if (!escape && !continues_character) ++columns;
        if (escape && c == 'm') escape = false;
    }
    return columns;
}

}  // namespace

std::string wrapped(const std::string& text, unsigned width, unsigned indent) {
    std::istringstream words(text);
    std::string result;
    std::string word;
    std::size_t column = indent;
    while (words >> word) {
        const std::size_t room = columns_of(word);
        if (column > indent && column + 1 + room > width) {
            result += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (column > indent) {
            result += ' ';
            ++column;
        }
        result += word;
        column += room;
    }
    return result;
}

std::string fitted(const std::string& text, int fd) {
    if (!is_terminal(fd)) return text;
    const unsigned width = terminal_width(fd);
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t indent = std::min(line.find_first_not_of(' '), line.size());
        result += columns_of(line) <= width
                      ? line
                      : line.substr(0, indent) + wrapped(line, width, static_cast<unsigned>(indent));
        result += '\n';
    }
    return result;
}

std::string tensor_table(std::span<const mint> values, const PrintLook& look) {
    if (values.empty()) return "{}\n";
    std::size_t cell = 1;
    for (const mint value :
         {*std::min_element(values.begin(), values.end()), *std::max_element(values.begin(), values.end())}) {
        cell = std::max(cell, fmt::formatted_size("{}", value));
    }
    const std::size_t margin = fmt::formatted_size("{}", values.size()) + 2;
    std::size_t columns = look.width > margin + cell ? (look.width - margin) / (cell + 2) : 1;
    // Round numbers of columns make the index readable.
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
        // An unchecked call may have named a task that does not exist.
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
                return fmt::format("{} waiting for {}: task {} stays queued; 'stop' ends the task that runs\n",
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
    if (outcome.task && !outcome.task->running() && outcome.code == 0) {
        return outcome.task->failed
                   ? fmt::format("{} {} failed: task {} reported \"Error\" with \"$Failed\"\n", style.red("error:"),
                                 call, outcome.task->id)
                   : fmt::format(
                         "{} {} ended without a result: task {} was removed, and no value came with its events\n",
                         style.red("error:"), call, outcome.task->id);
    }
    return fmt::format(
        "{} {} returned {}, {}\n       {}\n", style.red("error:"), call, outcome.code, error_name(outcome.code),
        style.dim(wrapped(fmt::format("Errors of {}: {}.", outcome.entry->name, outcome.entry->errors), 100, 7)));
}

std::string event_value_text(const std::optional<EventValue>& value) {
    if (!value) return "(no value)";
    if (const auto* number = std::get_if<mint>(&*value)) return fmt::format("{}", *number);
    if (const auto* real = std::get_if<mreal>(&*value)) return fmt::format("{:.2f}", *real);
    return fmt::format("\"{}\"", std::get<std::string>(*value));
}

std::string json_line(const Json& object) {
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

Json to_json(const Task& task) {
    Json object = {{"id", task.id},
                   {"what", task.what},
                   {"state", state_name(task)},
                   {"status_events", task.status_events},
                   {"first_percent", task.first_percent ? Json(*task.first_percent) : Json()},
                   {"last_percent", task.first_percent ? Json(task.percent) : Json()},
                   {"failed", task.failed}};
    if (task.result) {
        std::visit([&](const auto& value) { object["result"] = value; }, *task.result);
    } else {
        object["result"] = nullptr;
    }
    return object;
}

namespace {

Json argument_json(const Outcome& outcome, const Remarks& remarks, std::size_t i) {
    const ArgumentValue& argument = outcome.arguments[i];
    const auto& parameters = outcome.entry->parameters;
    Json object = {{"name", i < parameters.size() ? Json(parameters[i].name) : Json()},
                   {"kind", kind_name(argument.kind)},
                   {"typed", argument.typed},
                   {"value", value_text(argument)}};
    if (remarks.taken_as[i]) object["taken_as"] = *remarks.taken_as[i];
    return object;
}

void add_sum(Json& result, const SumCheck& sum) {
    result["wrapped"] = sum.wrapped == Wrapped::unknown ? Json() : Json(sum.wrapped == Wrapped::yes);
    if (sum.exact) result["exact"] = to_decimal(*sum.exact);
}

Json result_json(const Outcome& outcome, const Remarks& remarks) {
    if (const auto* number = std::get_if<mint>(&outcome.result)) {
        Json object = {{"kind", "integer"}, {"value", *number}, {"text", fmt::format("{}", *number)}};
        if (is_negative_pattern(outcome)) object["unsigned"] = fmt::format("{}", static_cast<umint>(*number));
        if (remarks.stand_in) {
            object["stand_in"] = true;
        } else if (outcome.sum) {
            add_sum(object, *outcome.sum);
        }
        return object;
    }
    if (const auto* truth = std::get_if<bool>(&outcome.result)) return {{"kind", "boolean"}, {"value", *truth}};
    if (const auto* text = std::get_if<std::string>(&outcome.result))
        return {{"kind", "string"}, {"value", *text}, {"text", *text}};
    if (const auto* tensor = std::get_if<TensorResult>(&outcome.result)) {
        return {{"kind", "tensor"},
                {"dimensions", (*tensor)->dimensions},
                {"value", (*tensor)->data()},
                {"narrowed", remarks.narrowed}};
    }
    return nullptr;
}

}  // namespace

Json to_json(const Outcome& outcome) {
    const Remarks remarks = remarks_on(outcome);
    Json arguments = Json::array();
    Json reinterpreted = Json::array();
    for (std::size_t i = 0; i < outcome.arguments.size(); ++i) {
        arguments.push_back(argument_json(outcome, remarks, i));
        if (remarks.taken_as[i]) reinterpreted.push_back(arguments.back()["name"]);
    }
    // 0 where the call did not succeed is no code that an export returned.
    const bool returned = outcome.good() || outcome.code != LIBRARY_NO_ERROR;
    Json object = {{"export", outcome.entry->name},
                   {"arguments", std::move(arguments)},
                   {"status", status_name(outcome.status)},
                   {"code", returned ? Json(outcome.code) : Json()},
                   {"code_name", returned ? Json(error_name(outcome.code)) : Json()},
                   {"result", result_json(outcome, remarks)},
                   {"bounds_reinterpreted", std::move(reinterpreted)},
                   {"seconds", outcome.seconds},
                   {"pieces", outcome.pieces}};
    if (outcome.status == Status::exception || !outcome.exception_type.empty()) {
        object["exception"] = {{"type", outcome.exception_type}, {"text", outcome.exception_text}};
    }
    if (outcome.task) object["task"] = to_json(*outcome.task);
    object["breaches"] = outcome.breaches;
    return object;
}

Json bad_input_json(const std::vector<std::string>& words, const std::string& message) {
    return {{"export", words.empty() ? Json() : Json(words[0])}, {"status", "bad input"}, {"message", message}};
}

std::string list_text(const PrintLook& look) {
    std::string text;
    std::optional<Family> family;
    for (const Export& entry : export_table()) {
        if (family != entry.family) {
            text += fmt::format("{}{}\n", family ? "\n" : "", look.style.bold(family_title(entry.family)));
            family = entry.family;
        }
        std::string signature = fmt::format("{}(", entry.name);
        for (std::size_t i = 0; i < entry.parameters.size(); ++i) {
            signature += fmt::format("{}{}: {}", i == 0 ? "" : ", ", entry.parameters[i].name,
                                     kind_name(entry.parameters[i].kind));
        }
        signature += fmt::format(") -> {}", kind_name(entry.result));
        constexpr unsigned column = 66;
        if (look.width >= column + 50) {
            text += fmt::format("  {:<{}} {}\n", signature, column,
                                look.style.dim(wrapped(std::string(entry.summary), look.width, column + 3)));
        } else {
            text += fmt::format("  {}\n      {}\n", signature,
                                look.style.dim(wrapped(std::string(entry.summary), look.width, 6)));
        }
    }
    return text;
}

Json to_json(const Export& entry) {
    Json parameters = Json::array();
    for (const Parameter& parameter : entry.parameters) {
        parameters.push_back(
            {{"name", parameter.name}, {"kind", kind_name(parameter.kind)}, {"meaning", parameter.meaning}});
    }
    return {{"export", entry.name},
            {"family", family_title(entry.family)},
            {"arguments", std::move(parameters)},
            {"result", kind_name(entry.result)},
            {"summary", entry.summary},
            {"errors", entry.errors},
            {"cost", entry.cost},
            {"stop", entry.stop},
            {"example", entry.example}};
}

Json list_json() {
    Json exports = Json::array();
    for (const Export& entry : export_table()) exports.push_back(to_json(entry));
    return exports;
}

Json tasks_json(const std::vector<Task>& tasks) {
    Json list = Json::array();
    for (const Task& task : tasks) list.push_back(to_json(task));
    return list;
}

std::string export_help(const Export& entry, const PrintLook& look) {
    std::string text = fmt::format("{}\n  {}\n", look.style.bold(usage_line(entry)),
                                   wrapped(std::string(entry.summary), look.width, 2));
    const auto line = [&](std::string_view name, std::string_view meaning) {
        text += fmt::format("  {:<9} {}\n", name, wrapped(std::string(meaning), look.width, 12));
    };
    for (const Parameter& parameter : entry.parameters)
        line(parameter.name, fmt::format("{}: {}", kind_name(parameter.kind), parameter.meaning));
    line("result", kind_name(entry.result));
    line("errors", entry.errors);
    line("cost", entry.cost);
    if (!entry.stop.empty()) line("stop", entry.stop);
    std::string example(entry.name);
    for (const std::string_view word : entry.example) example.append(" ").append(word);
    if (!entry.example_result.empty()) example.append("   gives ").append(entry.example_result);
    line("example", example);
    return text;
}

std::string tasks_text(const std::vector<Task>& tasks, const PrintLook& look) {
    if (tasks.empty()) return "no tasks\n";
    std::size_t widest = std::string_view("count").size();
    for (const Task& task : tasks) widest = std::max(widest, task.what.size());
    const auto line = [widest](const auto& id, std::string_view state, std::string_view percent, std::string_view time,
                               std::string_view what, std::string_view result) {
        return fmt::format("{:>4}  {:<8} {:>7}  {:>10}  {:<{}}  {}\n", id, state, percent, time, what, widest, result);
    };
    std::string text = look.style.bold(line("task", "state", "percent", "time", "count", "result"));
    const auto now = Task::Clock::now();
    for (const Task& task : tasks) {
        const auto end = task.state == TaskState::removed ? task.ended : now;
        std::string time = "-";
        if (task.state != TaskState::created) {
            time = format_duration(std::chrono::duration<double>(end - task.submitted).count());
        }
        std::string result;
        if (task.failed) result = "failed or stopped";
        if (task.result) result = event_value_text(task.result);
        text += line(task.id, state_name(task), task.status_events > 0 ? fmt::format("{:.1f}", task.percent) : "-",
                     time, task.what, result);
    }
    return text;
}

}  // namespace bench_host
