/**
 * @file   remarks.h
 * @brief  Facts that the number of a result alone does not show: an argument was taken for another number, a result
 * means "there is none", elements are cut to 32 bits, a sum has wrapped.
 */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "calls/call.h"

namespace kesh_host {

struct Remarks {
    /** For each argument the number that the library works with, if it is not the typed one. */
    std::vector<std::optional<std::string>> taken_as;
    /** If the result means "there is none": the sentence that says so. */
    std::optional<std::string> stand_in;
    /** Elements of a list are not the primes themselves. */
    bool narrowed = false;
};

/** The remarks on a call that succeeded. */
Remarks remarks_on(const Outcome& outcome);

/** The call's result in one or more sentences. Empty if the export has none. */
std::string answer_sentence(const Outcome& outcome);

}  // namespace kesh_host
