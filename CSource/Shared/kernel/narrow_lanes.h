/**
 * @file   narrow_lanes.h
 * @brief  The probable-prime tests of four numbers of two limbs side by side in general registers, for processors
 *         without vector lanes.
 *
 * In a single chain, a squaring takes 27 cycles, although it has only 8 limb products, because each instruction waits
 * for its operands. Four chains, each with its own modulus, take 13 cycles per squaring.
 */
#pragma once

#include <array>

#include "Shared/kernel/kernel.h"

namespace kesh::kernel {

inline constexpr std::size_t narrow_lanes = 4;

/** Each of two limbs. */
using NarrowGroup = std::array<const umint*, narrow_lanes>;

/** Bit c is set when number c is a strong probable prime to base 2. Precondition: odd numbers above 3. */
[[nodiscard]] unsigned strong_base2_narrow(const NarrowGroup& numbers) noexcept;

/** Bit c is set when number c meets the condition of lucas_u_vanishes with q[c]. Preconditions: as there. */
[[nodiscard]] unsigned lucas_u_vanishes_narrow(const NarrowGroup& numbers,
                                               const std::array<mint, narrow_lanes>& q) noexcept;

}  // namespace kesh::kernel
