/**
 * @file   prime_word.h
 * @brief  The common parts of the 64-bit test of one number and of many numbers; prime_testing.cpp defines them.
 */
#pragma once

#include <cstdint>
#include <span>

#include "Shared/intx/intx_types.h"
#include "Shared/kernel/word_vectors.h"

namespace kesh {

/** The odd primes up to 1,048,577: bit k, counted from bit 0 of the first word, is 1 when 2 k + 3 is prime. */
std::span<const std::uint32_t> odd_prime_bitmap();

/** From this number on the hashed base does not reject every pseudoprime of its bucket, and a third base is needed. */
inline constexpr umint third_base_from = umint{1} << 49;

/** The second and the third base of an n of 2^32 or more. */
struct HashedBases {
    umint second;
    umint third;

    explicit HashedBases(umint n);
};

/** The largest prime that the tests of a word divide by. */
inline constexpr umint word_trial_limit = 139;

/** Whether n > 139 is even or a multiple of a prime up to 139. */
bool word_has_small_factor(umint n);

/** The odd primes up to 139, prepared for tests of many n. */
std::span<const ExactDivisor> word_divisors();

}  // namespace kesh
