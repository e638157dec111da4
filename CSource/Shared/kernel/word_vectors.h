/**
 * @file   word_vectors.h
 * @brief  Trial division and strong tests of 64-bit numbers in vector lanes, for tests of many numbers.
 *
 * The precondition of the tests is has_word_vectors().
 */
#pragma once

#include <array>
#include <span>

#include "Shared/kernel/lanes.h"

namespace kesh::kernel {

/** Whether the current level has vectors for 64-bit numbers: AVX-512 IFMA. */
[[nodiscard]] inline bool has_word_vectors() noexcept {
    return level() == Level::ifma;
}

/** The number of 64-bit numbers in a vector. */
inline constexpr std::size_t vector_words = 8;

/** Bit c is set when one of the primes divides number c. */
[[nodiscard]] unsigned divisors_in_lanes(const std::array<umint, vector_words>& numbers,
                                         std::span<const ExactDivisor> primes) noexcept;

/** The number of 64-bit numbers that are tested side by side: two vectors, because one alone waits half of the time. */
inline constexpr std::size_t word_vector_lanes = 2 * vector_words;
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
