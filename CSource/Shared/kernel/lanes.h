/**
 * @file   lanes.h
 * @brief  The probable-prime tests of several wide numbers side by side, for tests of many numbers.
 *
 * Each squaring of a single number waits for the one before. Independent numbers use that time. With AVX-512 IFMA eight
 * of them are in the lanes of vectors; README.md derives the form. The verdicts are those of the tests of one number in
 * kernel.h.
 */
#pragma once

#include <array>

#include "Shared/kernel/kernel.h"

namespace kesh::kernel {

/** A number of `size` limbs, the highest not zero. */
struct LaneNumber {
    const umint* limbs;
    int size;
};

inline constexpr std::size_t lanes = 8;
using LaneGroup = std::array<LaneNumber, lanes>;

/**
 * The number of 52-bit digits of a number with that many bits in a lane: R' = 2^(52 digits) is above 16 times the
 * number. Above ten, the number of digits is even, because products are then cut into halves.
 */
constexpr int lane_digits(int bits) noexcept {
    const int digits = (bits + 4 + 51) / 52;
    return digits <= 10 ? digits : digits + digits % 2;
}

inline constexpr int least_lane_digits = lane_digits(65), most_lane_digits = lane_digits(1024);

/** Whether the current level has vector lanes. */
[[nodiscard]] bool has_lanes() noexcept;

/** Whether a number m can be tested in a lane: m - 1 must not be a multiple of 2^52. */
[[nodiscard]] constexpr bool fits_a_lane(umint low_limb) noexcept {
    return ((low_limb - 1) & ((umint{1} << 52) - 1)) != 0;
}

/**
 * Bit c is set when number c is a strong probable prime to base 2. Preconditions: has_lanes(); the numbers are odd,
 * above 2^64, fit_a_lane, and lane_digits of each is at most `digits`, which is one of the values of lane_digits.
 */
[[nodiscard]] unsigned strong_base2_in_lanes(const LaneGroup& numbers, int digits) noexcept;

/**
 * Bit c is set when number c meets the condition of lucas_u_vanishes with q[c]. Preconditions: as above; 0 < |q[c]| <
 * 2^31 and q[c] is prime to number c.
 */
[[nodiscard]] unsigned lucas_u_vanishes_in_lanes(const LaneGroup& numbers, const std::array<mint, lanes>& q,
                                                 int digits) noexcept;

}  // namespace kesh::kernel
