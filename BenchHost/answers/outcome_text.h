/**
 * @file   outcome_text.h
 * @brief  What a call came to, as text for people.
 */
#pragma once

#include <span>
#include <string>

#include "answers/print_look.h"
#include "calls/call.h"
#include "terminal/terminal.h"

namespace kesh_host {

/** What the call came to, for standard output: empty when it failed. Ends with a line end unless empty. */
std::string result_text(const Outcome& outcome, const PrintLook& look);

/** The bare answer in one line, as in the table of exports: 25, {2, 3, 5}. Empty without one. */
std::string answer_text(const Outcome& outcome);

/** Why there is no result, for standard error: empty when there is one. */
std::string failure_text(const Outcome& outcome, const Style& style);

/** The integers of a tensor as right-aligned columns, the index of each row's first element in front, the middle left
 * out when long. */
std::string tensor_table(std::span<const mint> values, const PrintLook& look);

}  // namespace kesh_host
