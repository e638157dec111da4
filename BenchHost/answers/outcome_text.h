/**
 * @file   outcome_text.h
 * @brief  The outcome of a call, as text for people.
 */
#pragma once

#include <span>
#include <string>

#include "answers/print_look.h"
#include "calls/call.h"
#include "terminal/terminal.h"

namespace kesh_host {

/** The result of the call, for standard output; empty if the call failed. Ends with a line end unless empty. */
std::string result_text(const Outcome& outcome, const PrintLook& look);

/** The result alone, on one line, as in the table of exports: 25, {2, 3, 5}. Empty if there is none. */
std::string answer_text(const Outcome& outcome);

/** Why there is no result, for standard error; empty if there is one. */
std::string failure_text(const Outcome& outcome, const Style& style);

/**
 * The integers of a tensor in right-aligned columns, with the index of each row's first element; the middle of a long
 * one is left out.
 */
std::string tensor_table(std::span<const mint> values, const PrintLook& look);

}  // namespace kesh_host
