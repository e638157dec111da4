/**
 * @file   pair_search.h
 * @brief  For one prime p, finds the few smaller primes q for which n = p * q * m can be a pseudoprime at all.
 *
 * The cofactor must satisfy q m = 1 modulo ord_p and p m = 1 modulo ord_q. The first fixes m modulo ord_p through the
 * inverse of q; inverses of a block of q are taken together (one extended Euclid, three products each). The second is
 * tried for every such m up to the bound. Almost no pair survives, so nearly all work is here; AVX-512 tries eight
 * pairs in a vector.
 *
 * Residues are doubles: products stay below 2^53, so that they and the fused remainder are exact.
 */
#pragma once

#include <functional>
#include <vector>

#include "order_of_two.h"

namespace prime_tables {

/** Primes of one 2-adic valuation of the order, ascending, in the compact form that keeps the kernel in the cache. */
struct PrimeColumn {
    std::vector<u32> prime;
    std::vector<u32> order;
};

/** Least q that the kernel accepts: with it p * m <= 2^64 / q is an exact double. */
constexpr u32 least_paired_prime = 4096;

/**
 * Calls hit(q, m) for every prime q of column[from, to) and every m <= 2^64 / (p q), up to rounding of that bound,
 * with q m = 1 modulo ord_p and p m = 1 modulo ord_q; m odd. Preconditions: q >= least_paired_prime, q < p < 2^24.
 */
void search_pairs(const PrimeOrder& p, const PrimeColumn& column, std::size_t from, std::size_t to, double largest,
                  const std::function<void(u64 q, u64 m)>& hit);

/** The same, one pair at a time: the form for every processor, and the reference for the vectors. */
void search_pairs_portable(const PrimeOrder& p, const PrimeColumn& column, std::size_t from, std::size_t to,
                           double largest, const std::function<void(u64 q, u64 m)>& hit);

}  // namespace prime_tables
