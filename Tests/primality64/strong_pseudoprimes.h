/**
 * @file   strong_pseudoprimes.h
 * @brief  Computes base-2 strong pseudoprimes: products of two primes p and q with q - 1 = k (p - 1), which most of
 *         those without small factors are.
 */
#pragma once

#include <cstdint>
#include <primesieve.hpp>
#include <vector>

#include "Prime/prime_testing.h"

namespace kesh::test {

inline bool passes_strongly(std::uint64_t n, std::uint64_t base) {
    const kesh::mp_mont_data<std::uint64_t> M(n);
    const kesh::mint k = kesh::math_count_trailing_zeros(n - 1);
    return kesh::sprp(M, n, base, (n - 1) >> k, k) != 0;
}

/** Those with from <= p <= to and 2 <= k <= 12 that are below 2^64. Ascending in p. */
inline std::vector<std::uint64_t> strong_pseudoprimes(std::uint64_t from, std::uint64_t to) {
    std::vector<std::uint64_t> found;
    primesieve::iterator primes(from - 1);
    for (std::uint64_t p = primes.next_prime(); p <= to; p = primes.next_prime()) {
        for (std::uint64_t k = 2; k <= 12; ++k) {
            std::uint64_t q = 0, n = 0;
            if (__builtin_mul_overflow(k, p - 1, &q) || __builtin_mul_overflow(p, q + 1, &n)) break;
            // The second condition leaves out the few with more than two factors, which may be small ones.
            if (passes_strongly(n, 2) && kesh::PrimeQ(q + 1)) found.push_back(n);
        }
    }
    return found;
}

}  // namespace kesh::test
