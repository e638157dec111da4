/**
 * @file   lanes.h
 * @brief  The probable-prime tests of several wide numbers side by side, for tests of many numbers.
 *
 * Each squaring of a single number waits for the one before. Independent numbers use that time, and in the lanes of
 * vectors one instruction computes for several of them: eight with AVX-512 IFMA, four with AVX2. README.md derives the
 * forms. The verdicts are those of the tests of one number in kernel.h.
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

/** The most numbers that are tested side by side. */
inline constexpr std::size_t lanes = 16;
using LaneGroup = std::array<LaneNumber, lanes>;
using LaneParameters = std::array<mint, lanes>;

/** Whether a level has vector lanes for numbers of 65 bits and more. */
[[nodiscard]] constexpr bool has_lanes(Level level) noexcept {
    return level != Level::portable;
}

/**
 * The number of 52-bit digits of a number with that many bits, with AVX-512 IFMA: R' = 2^(52 digits) is above 16 times
 * the number. Above ten, the number of digits is even, because products are then cut into halves.
 */
constexpr int lane_digits(int bits) noexcept {
    const int digits = (bits + 4 + 51) / 52;
    return digits <= 10 ? digits : digits + digits % 2;
}

/** The size of a number in a lane, a number from 2 to most_lane_size: its digits, or with AVX2 its limbs. */
[[nodiscard]] constexpr int lane_size(Level level, int bits) noexcept {
    return level == Level::ifma ? lane_digits(bits) : (bits + 63) / 64;
}
inline constexpr int least_lane_size = 2, most_lane_size = lane_digits(1024);

/** The lanes of a vector. */
[[nodiscard]] constexpr std::size_t vector_lanes(Level level) noexcept {
    return level == Level::ifma ? 8 : 4;
}

/**
 * The number of integers of a size that are tested to base 2 side by side. Short ones are in two vectors, because one
 * alone waits for its quotients and carries.
 */
[[nodiscard]] constexpr std::size_t lanes_to_base_2(Level level, int size) noexcept {
    return (size <= (level == Level::ifma ? 7 : 4) ? 2 : 1) * vector_lanes(level);
}
/** With AVX2, the Lucas test of more limbs takes no less time in lanes than for one number after another. */
inline constexpr int most_limbs_of_avx2_lucas = 8;
/**
 * The same for the Lucas test, whose product and square already use each other's waiting time; 1 if it is not done in
 * lanes.
 */
[[nodiscard]] constexpr std::size_t lanes_in_lucas(Level level, int size) noexcept {
    if (level != Level::ifma && size > most_limbs_of_avx2_lucas) return 1;
    return (size <= (level == Level::ifma ? 3 : 2) ? 2 : 1) * vector_lanes(level);
}

/**
 * Whether a number m is tested in a lane. If m - 1 is a multiple of 2^s, all lanes compute up to s squarings more at
 * the end, so that s is limited to 51.
 */
[[nodiscard]] constexpr bool fits_a_lane(umint low_limb) noexcept {
    return ((low_limb - 1) & ((umint{1} << 52) - 1)) != 0;
}

/**
 * Bit c is set when number c is a strong probable prime to base 2, for the first `count` numbers; there are numbers
 * in the other lanes of their vectors, too. Preconditions: has_lanes(level), which the processor supports; the numbers
 * are odd, above 2^64, fit_a_lane, and lane_size of each is at most `size`, which is one of its values; 0 < count <=
 * lanes_to_base_2(level, size).
 */
[[nodiscard]] unsigned strong_base2_in_lanes(Level level, const LaneGroup& numbers, int size,
                                             std::size_t count) noexcept;

/**
 * Bit c is set when number c meets the condition of lucas_u_vanishes with q[c]. Preconditions: as above, with
 * lanes_in_lucas, which is above 1; 0 < |q[c]| < 2^31 and q[c] is prime to number c.
 */
[[nodiscard]] unsigned lucas_u_vanishes_in_lanes(Level level, const LaneGroup& numbers, const LaneParameters& q,
                                                 int size, std::size_t count) noexcept;

}  // namespace kesh::kernel
