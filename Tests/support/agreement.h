/**
 * @file   agreement.h
 * @brief  The answer type of the differential checks: what they compared, and where it differed.
 */
#pragma once

#include <cstdint>
#include <string>

#include "Shared/intx/intx_operator.h"
#include "support/gmp.h"
#include "support/operands.h"

namespace kesh::test {

template <engine_word T>
bool same(const T& a, const T& b) {
    return math_compare(a, b) == 0;
}

template <engine_word T>
std::string show(const Operands<T>& s) {
    std::string text = "a=" + to_string(s.a, 16) + " b=" + to_string(s.b, 16) + " c=" + to_string(s.c, 16);
    text += " d=" + to_string(s.d, 16) + " limb=" + to_string(s.limb, 16) + " count=" + std::to_string(s.count);
    return text + " carry=" + std::to_string(s.carry);
}

/** Empty when everything agreed, else what differed and on which operands. */
using Verdict = std::string;

/** Results found equal so far, for the report of a long run. */
inline std::uint64_t agreements = 0;

template <engine_word T>
Verdict differs(const char* operation, const Operands<T>& s) {
    return std::string(operation) + " differs: " + show(s);
}

}  // namespace kesh::test

/** Inside a check: the condition holds, or the check ends with the operation's name and the operands `s`. */
#define KESH_AGREE(condition, operation)                          \
    if (!(condition)) return ::kesh::test::differs(operation, s); \
    ++::kesh::test::agreements
