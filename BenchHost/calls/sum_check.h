/**
 * @file   sum_check.h
 * @brief  Finds out whether a sum of primes that is known modulo 2^64 is that number or a larger one.
 */
#pragma once

#include <functional>
#include <optional>

#include "VelmoraLibrary.h"
#include "calls/expression.h"

namespace kesh_host {

enum class Wrapped { no, yes, unknown };

struct SumCheck {
    Wrapped wrapped = Wrapped::unknown;
    std::optional<cpp_int> exact;  ///< the sum itself, if it is known
};

/** Counts the primes of a closed range; returns nothing if it cannot. */
using PrimeCounter = std::function<std::optional<umint>(umint, umint)>;

/**
 * The least prime up to which all primes add up to 2^64 or more: 2^64 + 13337117907 (Tests/host/sum_check_test.cpp adds
 * them up again).
 */
constexpr umint first_wrapped_sum = 29'505'444'491;

/**
 * The sum of the primes in [a, b] that equals `residue` modulo 2^64. Makes at most one count, of at most 10^8 numbers,
 * and only if the bounds do not give the sum.
 */
SumCheck check_sum(umint a, umint b, umint residue, const PrimeCounter& count);

}  // namespace kesh_host
