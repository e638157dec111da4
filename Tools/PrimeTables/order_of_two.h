/**
 * @file   order_of_two.h
 * @brief  The multiplicative order of 2 modulo every prime of a range.
 */
#pragma once

#include <bit>
#include <functional>
#include <vector>

#include "strong_test.h"

namespace prime_tables {

struct PrimeOrder {
    u32 prime;
    u32 order;  ///< least k > 0 with 2^k = 1 modulo prime
    [[nodiscard]] int valuation() const {
        return std::countr_zero(order);
    }
};

/**
 * Orders of all odd primes lo <= p < hi <= 2^32, ascending. The predecessors p - 1 are factored by a sieve of the
 * whole range, about 0.4 microseconds a prime near 2^32.
 */
std::vector<PrimeOrder> orders_of_two(u64 lo, u64 hi);

}  // namespace prime_tables
