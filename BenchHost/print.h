/**
 * @file   print.h
 * @brief  Outcomes, exports and tasks as text for people and as JSON for programs.
 */
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <vector>

#include "call.h"
#include "terminal.h"

namespace bench_host {

struct PrintLook {
    Style style;
    unsigned width = 80;
    bool quiet = false;  ///< the bare result
    bool whole_tensors = false;
};

/** What the call came to, for standard output: empty when it failed. Ends with a line end unless empty. */
std::string result_text(const Outcome& outcome, const PrintLook& look);

/** The bare answer in one line, as in the table of exports: 25, {2, 3, 5}. Empty without one. */
std::string answer_text(const Outcome& outcome);

/** Why there is no result, for standard error: empty when there is one. */
std::string failure_text(const Outcome& outcome, const Style& style);

/** The integers of a tensor as right-aligned columns, the index of each row's first element in front, the middle left
 * out when long. */
std::string tensor_table(std::span<const mint> values, const PrintLook& look);

/** The call as one JSON object; docs/kesh-host.md describes its members. */
nlohmann::ordered_json to_json(const Outcome& outcome);
nlohmann::ordered_json to_json(const Task& task);
/** The object as a line. Bytes that are no UTF-8 become U+FFFD: a JSON text has no other place for them. */
std::string json_line(const nlohmann::ordered_json& object);
/** The object that stands for input of which no call was made. */
nlohmann::ordered_json bad_input_json(const std::vector<std::string>& words, const std::string& message);

/** All exports with argument kinds and result. */
std::string list_text(const PrintLook& look);
nlohmann::ordered_json list_json();
nlohmann::ordered_json to_json(const Export& entry);

/** Everything about one export. */
std::string export_help(const Export& entry, const PrintLook& look);

/** The tasks as a table. */
std::string tasks_text(const std::vector<Task>& tasks, const PrintLook& look);

nlohmann::ordered_json tasks_json(const std::vector<Task>& tasks);

/** A value of an event: 25, 45.2, "$Failed". */
std::string event_value_text(const std::optional<EventValue>& value);

/** Breaks text at blanks so that no line is longer than `width`; lines after the first are indented. Escape sequences
 * take no room. */
std::string wrapped(const std::string& text, unsigned width, unsigned indent);

/** Where `fd` is a terminal, the text with the lines that are too long for it wrapped; elsewhere lines stay whole. */
std::string fitted(const std::string& text, int fd);

}  // namespace bench_host
