/**
 * @file   pair_lanes.h
 * @brief  The probable-prime tests of two numbers of 3 to 8 limbs in turns, for processors with BMI2 and ADX but
 * without vector lanes.
 *
 * Each squaring of a number waits for the squaring before. The instructions of two numbers use each other's waiting
 * time; README.md has the figures.
 */
#pragma once

#include <array>

#include "Shared/kernel/kernel.h"

namespace kesh::kernel {

inline constexpr std::size_t pair_lanes = 2;

/** Two numbers with the same number of limbs. */
using NumberPair = std::array<const umint*, pair_lanes>;

/** Whether numbers of so many limbs are tested in pairs at the current level. */
[[nodiscard]] bool has_pairs(int limbs) noexcept;

/** Bit c is set when number c is a strong probable prime to base 2. Preconditions: has_pairs(limbs); odd, above 3. */
[[nodiscard]] unsigned strong_base2_of_pair(const NumberPair& numbers, int limbs) noexcept;

/**
 * Bit c is set when number c meets the condition of lucas_u_vanishes with q[c]. Preconditions: those of
 * strong_base2_of_pair and of lucas_u_vanishes.
 */
[[nodiscard]] unsigned lucas_u_vanishes_of_pair(const NumberPair& numbers, const std::array<mint, pair_lanes>& q,
                                                int limbs) noexcept;

}  // namespace kesh::kernel
