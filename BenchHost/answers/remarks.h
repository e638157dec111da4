/**
 * @file   remarks.h
 * @brief  What the bare number of a result does not say: that an argument was taken for another number, that a result
 * is no answer but stands for "there is none", that elements are cut to 32 bits, that a sum has wrapped.
 */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "calls/call.h"

namespace kesh_host {

struct Remarks {
    /** For each argument the number that the library works with, where it is not the one that was typed. */
    std::vector<std::optional<std::string>> taken_as;
    /** Where the result is no answer: the sentence that says so. */
    std::optional<std::string> stand_in;
    /** Elements of a list are not the primes themselves. */
    bool narrowed = false;
};

/** The remarks on a call that succeeded. */
Remarks remarks_on(const Outcome& outcome);

/** The call's answer in one or more sentences. Empty where the export has none. */
std::string answer_sentence(const Outcome& outcome);

}  // namespace kesh_host
