/**
 * @file   small_primes.h
 * @brief  The table of small primes, each prepared for division by multiplication, and trial division by it.
 */
#pragma once

#include <vector>

#include "Shared/fastdiv.h"

namespace kesh {

using small_prime = fastdiv2x1<unsigned long, unsigned long>;

/** The table's bound. */
inline constexpr mint SMALL_PRIMES_UPTO = 1000000;

/**
 * The primes up to SMALL_PRIMES_UPTO in increasing order, 2 first: 78,498 entries once built, none before. Built by
 * init_small_primes() and never changed again.
 */
extern std::vector<small_prime> primes_small;

/**
 * All primes <= limit in increasing order, by a segmented sieve over odd numbers. Its sieving primes end at 1000, so
 * limit must be below 1001^2.
 */
std::vector<small_prime> gen_small_prime(mint limit);

/**
 * Builds primes_small if it is not built yet. Threads that come first at the same time wait for the one that builds;
 * what any of them reads afterwards is the finished table.
 */
void init_small_primes();

/**
 * 0 when one of the primes primes_small[from .. to-1] proves n composite, 1 otherwise, also where n is itself the table
 * prime that divides it. Precondition: 0 <= from, and to <= the size of the table.
 * Cost: one short division and one short product of the width for each prime tried.
 */
template <wide_word T>
int primeq_trial_division(T n, mint from, mint to) {
    KESH_REQUIRE(0 <= from && to <= static_cast<mint>(primes_small.size()));
    for (mint i = from; i < to; ++i) {
        const small_prime& p = primes_small[static_cast<std::size_t>(i)];
        if ((n / p) * p == n) return n != p.m ? 0 : 1;
    }
    return 1;
}

}  // namespace kesh
