/**
 * @file   sum_check.h
 * @brief  Whether a sum of primes, which is known modulo 2^64, is that number or a larger one.
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
    std::optional<cpp_int> exact;  ///< the sum itself, where it is known
};

/** Counts the primes of a closed range; nothing when that cannot be had. */
using PrimeCounter = std::function<std::optional<umint>(umint, umint)>;

/** The least prime up to which all primes add up to 2^64 or more: 2^64 + 13337117907 (Tests/host/sum_check_test.cpp
 * adds them up again). */
constexpr umint first_wrapped_sum = 29'505'444'491;

/**
 * The sum of the primes in [a, b] that equals `residue` modulo 2^64. Asks for one count at most, of a range of 10^8
 * numbers at most, and only where bounds do not decide.
 */
SumCheck check_sum(umint a, umint b, umint residue, const PrimeCounter& count);

}  // namespace kesh_host
