/**
 * @file   word_lanes.h
 * @brief  Strong probable-prime tests of several 64-bit numbers side by side, one base each, for tests of many numbers.
 *
 * One chain of squarings keeps the multiplier busy for a third of the time. Here the number of multiplications matters,
 * not the latency: a product up to sign takes three. The exponent is read from the left. For base 2, six bits take a
 * product without its first multiplication, as in WordPowerOf2; for other bases, three bits take one product by a table
 * entry.
 */
#pragma once

#include <algorithm>

#include "Shared/kernel/strong_word.h"

namespace kesh::kernel {

/** The number of integers that are tested side by side. */
inline constexpr std::size_t word_lanes = 6;

/** word_mont_mul_abs for the lanes: it uses any registers, and m and inverse may be in memory. */
inline __attribute__((always_inline)) umint lane_mont_mul_abs(umint x, umint y, umint m, umint inverse) noexcept {
    umint high = x, low = y, negated;
    __asm__(KESH_WORD_MONT_MUL_ABS
            : [high] "+&r"(high), "+&a"(low), [negated] "=&r"(negated)
            : [m] "rm"(m), [inverse] "rm"(inverse)
            : "rdx", "cc");
    return high;
}

/** The numbers in the lanes with the fields of WordModulus, one element per lane. */
class WordLanes {
  public:
    static constexpr std::size_t W = word_lanes;
    using Row = std::array<umint, W>;

    explicit WordLanes(const Row& numbers) noexcept : m_(numbers) {
        each([&](auto c) __attribute__((always_inline)) {
            const WordModulus n(m_[c]);
            inverse_[c] = n.inverse;
            one_[c] = n.one;
            e_[c] = n.e;
            k_ = std::max(k_, static_cast<unsigned>(n.k));
            squarings_left_[c] = static_cast<unsigned>(n.k);
        });
    }

    /** Bit c is set when number c passes the strong test to base 2. Precondition: numbers above 2^18. */
    [[nodiscard]] unsigned strong_base_2() const noexcept {
        umint longest = 0;
        each([&](auto c) __attribute__((always_inline)) { longest |= e_[c]; });
        unsigned left = (static_cast<unsigned>(math_num_bits(longest)) + 1) / 6 * 6;
        const umint offset = digit_offset(left);
        Row x, e;
        each([&](auto c) __attribute__((always_inline)) {
            e[c] = e_[c] + offset;
            x[c] = times_r(umint{1} << (e[c] >> left), m_[c]);
        });
        while (left != 0) {
            for (int i = 0; i < 6; ++i) square(x);
            left -= 6;
            each([&](auto c) __attribute__((always_inline)) {
                x[c] = shift_mont(x[c], static_cast<unsigned>(e[c] >> left) & 63, m_[c], inverse_[c]).value;
            });
        }
        return end(x);
    }

    /** Bit c is set when number c passes the strong test to base c. Precondition: 0 < base < 2^16, base < number. */
    [[nodiscard]] unsigned strong_to(const Row& bases) const noexcept {
        std::array<Row, 8> power;
        power[0] = one_;
        each([&](auto c) __attribute__((always_inline)) {
            const umint r2 = times_r(one_[c], m_[c]), b = bases[c];
            const auto mul = [&](umint x, umint y)
                                 __attribute__((always_inline)) { return lane_mont_mul_abs(x, y, m_[c], inverse_[c]); };
            power[1][c] = mul(b, r2);
            power[2][c] = mul(b * b, r2);
            power[3][c] = mul(b * b * b, r2);
            power[4][c] = mul(b * b * (b * b), r2);
            for (std::size_t i = 5; i < 8; ++i) power[i][c] = mul(power[4][c], power[i - 4][c]);
        });
        umint longest = 0;
        each([&](auto c) __attribute__((always_inline)) { longest |= e_[c]; });
        unsigned left = static_cast<unsigned>(math_num_bits(longest)) / 3 * 3;
        Row x;
        each([&](auto c) __attribute__((always_inline)) { x[c] = power[e_[c] >> left][c]; });
        while (left != 0) {
            for (int i = 0; i < 3; ++i) square(x);
            left -= 3;
            each([&](auto c) __attribute__((always_inline)) {
                x[c] = lane_mont_mul_abs(x[c], power[(e_[c] >> left) & 7][c], m_[c], inverse_[c]);
            });
        }
        return end(x);
    }

  private:
    template <class Body>
    static __attribute__((always_inline)) void each(Body&& body) noexcept {
        for_each_chain<W>(body);
    }

    __attribute__((always_inline)) void square(Row& x) const noexcept {
        each([&](auto c) __attribute__((always_inline)) { x[c] = lane_mont_mul_abs(x[c], x[c], m_[c], inverse_[c]); });
    }

    /** The end of a strong test from b^e up to sign, in all lanes until the last one is decided. */
    [[nodiscard]] unsigned end(Row x) const noexcept {
        unsigned passed = 0;
        each([&](auto c) __attribute__((always_inline)) {
            passed |= (unsigned{x[c] == one_[c]} | unsigned{x[c] == m_[c] - one_[c]}) << c();
        });
        for (unsigned i = 1; i < k_; ++i) {
            each([&](auto c) __attribute__((always_inline)) {
                x[c] = word_mont_mul(x[c], x[c], m_[c], inverse_[c]);  // here the sign matters
                passed |= (unsigned{x[c] == m_[c] - one_[c]} & unsigned{i < squarings_left_[c]}) << c();
            });
        }
        return passed;
    }

    Row m_, inverse_, one_, e_;
    std::array<unsigned, W> squarings_left_;  ///< k of each number
    unsigned k_ = 0;                          ///< the largest of them
};

}  // namespace kesh::kernel
