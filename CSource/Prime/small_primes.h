/**
 * @file   small_primes.h
 * @brief  The table of small primes, each prepared for division by multiplication, and trial division by it.
 */
#pragma once

#include <vector>

#include "Shared/fastdiv.h"

namespace kesh {

using SmallPrime = fastdiv2x1<unsigned long, unsigned long>;

/** The bound of the table. */
inline constexpr mint SMALL_PRIMES_UPTO = 1000000;

/** The number of primes up to that bound. */
inline constexpr std::size_t SMALL_PRIMES_COUNT = 78498;

/**
 * The primes up to SMALL_PRIMES_UPTO in increasing order, 2 first. It is empty until init_small_primes() builds it;
 * then it has SMALL_PRIMES_COUNT entries and never changes again.
 */
extern std::vector<SmallPrime> primes_small;

/**
 * All primes <= limit in increasing order, by a segmented sieve over odd numbers. Its sieving primes end at 1000, so
 * limit must be below 1001^2.
 */
std::vector<SmallPrime> gen_small_prime(mint limit);

/**
 * The same primes up to SMALL_PRIMES_UPTO, read from the bitmap of the 64-bit test. The remaining cost is the first
 * access to the table's pages: they are allocated once, while the sieve's table moves as it grows.
 */
std::vector<SmallPrime> small_primes_from_bitmap();

/**
 * Builds primes_small if it is not built yet. If several threads call this first at the same time, one builds and the
 * others wait. Afterwards all of them read the finished table, or an empty one for ever if there was no memory for it.
 */
void init_small_primes();

/**
 * 0 when one of the primes primes_small[from .. to-1] proves n composite, 1 otherwise. A prime that is equal to n
 * proves nothing. Precondition: 0 <= from, and to <= the size of the table. Cost: one short division and one short
 * product of the width for each prime tried.
 */
template <wide_word T>
int primeq_trial_division(T n, mint from, mint to) {
    KESH_REQUIRE(0 <= from && to <= static_cast<mint>(primes_small.size()));
    for (mint i = from; i < to; ++i) {
        const SmallPrime& p = primes_small[static_cast<std::size_t>(i)];
        if ((n / p) * p == n) return n != p.m ? 0 : 1;
    }
    return 1;
}

}  // namespace kesh
