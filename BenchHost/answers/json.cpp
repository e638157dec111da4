/**
 * @file   json.cpp
 * @brief  The JSON forms of calls, exports and tasks.
 */
#include "answers/json.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "answers/remarks.h"
#include "calls/arguments.h"
#include "calls/countable_text.h"
#include "calls/expression.h"
#include "calls/sum_check.h"

namespace kesh_host {

using Json = nlohmann::ordered_json;

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

bool is_negative_pattern(const Outcome& outcome) {
    const mint* number = std::get_if<mint>(&outcome.result);
    return number != nullptr && *number < 0 && outcome.entry->result == Kind::pattern;
}

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
    // If the call did not succeed, a code of 0 was not returned by an export.
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
    if (outcome.status == Status::error) {
        if (const std::string why = why_not_countable(*outcome.entry, outcome.arguments); !why.empty())
            object["reason"] = why;
    }
    if (outcome.task) object["task"] = to_json(*outcome.task);
    object["breaches"] = outcome.breaches;
    return object;
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

}  // namespace kesh_host
