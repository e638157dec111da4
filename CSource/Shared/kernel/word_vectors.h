/**
 * @file   word_vectors.h
 * @brief  Trial division and strong tests of 64-bit numbers in vector lanes, for tests of many numbers.
 *
 * The precondition of all functions here is has_lanes().
 */
#pragma once

#include <array>
#include <span>

#include "Shared/kernel/lanes.h"

namespace kesh::kernel {

/** Bit c is set when one of the primes divides number c. */
[[nodiscard]] unsigned divisors_in_lanes(const std::array<umint, lanes>& numbers,
                                         std::span<const ExactDivisor> primes) noexcept;

/** The number of 64-bit numbers that are tested side by side: two vectors, because one alone waits half of the time. */
inline constexpr std::size_t word_vector_lanes = 2 * lanes;
using WordVector = std::array<umint, word_vector_lanes>;

/**
 * Bit c is set when number c passes the strong test to base 2. The first `count` numbers are tested. Preconditions:
 * odd numbers of 2^32 or more; 0 < count <= word_vector_lanes.
 */
[[nodiscard]] unsigned strong_base2_in_lanes(const WordVector& numbers, std::size_t count) noexcept;

/**
 * Bit c is set when number c passes the strong tests to both of its bases. Preconditions: as above, and 0 < base <
 * 2^16.
 */
[[nodiscard]] unsigned strong_tests_in_lanes(const WordVector& numbers, const WordVector& first_bases,
                                             const WordVector& second_bases, std::size_t count) noexcept;

}  // namespace kesh::kernel
