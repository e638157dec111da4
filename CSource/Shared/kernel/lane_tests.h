/**
 * @file   lane_tests.h
 * @brief  The probable-prime tests of wide numbers in vector lanes, in the form that lane_form.h names.
 */
#pragma once

#include "Shared/kernel/vector_lanes.h"

#include <algorithm>
#include <cassert>

#include "Shared/kernel/routines.h"

namespace kesh::kernel::KESH_LANE_FORM {

/** The numbers in the lanes of some vectors. Numbers of d digits have n limbs at most. */
template <int d, int vectors>
struct Prepared {
    static constexpr int n = std::min(16, (bits_of<d> * d - 4 + 63) / 64), count = vectors * lanes_of_vector;

    umint number[count][n];
    int bits = 0;  ///< the bits of the longest number
    Moduli<d> moduli[vectors];

    KESH_LANES explicit Prepared(const LaneGroup& group) noexcept {
        static_assert(count <= static_cast<int>(lanes));
        DigitTable<d> digits[vectors];
        for (int c = 0; c < count; ++c) {
            const LaneNumber& from = group[static_cast<std::size_t>(c)];
            for (int i = 0; i < n; ++i) number[c][i] = i < from.size ? from.limbs[i] : 0;
            assert(from.size <= n && (number[c][0] & 1) == 1);
            const int length = bit_length<n>(number[c]);
            assert(length <= bits_of<d> * d - 4);
            bits = std::max(bits, length);
            digits[c / lanes_of_vector].template put<n>(c % lanes_of_vector, number[c]);
        }
        for (int v = 0; v < vectors; ++v) moduli[v] = Moduli<d>(load<d>(digits[v]));
    }
};

/** A value of n limbs for each lane. */
template <int n, int vectors>
struct alignas(64) LimbTable {
    umint limb[vectors][n][lanes_of_vector];

    /** Limb number i of lane c. */
    umint& at(int c, int i) noexcept {
        return limb[c / lanes_of_vector][i][c % lanes_of_vector];
    }
};

/**
 * The exponents e = (m - 1) / 2^s of the strong tests, plus bits_of<d> (1 + 16 + ... + 16^(nibbles - 1)), and s. With e
 * < 16^nibbles the part above the digits to base 16 is 1 to 4.
 */
template <int d, int vectors>
struct StrongExponents {
    static constexpr int n = Prepared<d, vectors>::n, count = Prepared<d, vectors>::count;

    LimbTable<n + 1, vectors> shifted;
    int nibbles;
    int top[count], s[count];

    explicit StrongExponents(const Prepared<d, vectors>& numbers) noexcept : nibbles((numbers.bits + 2) / 4) {
        for (int c = 0; c < count; ++c) {
            const StrongExponent<n> exponent(numbers.number[c]);
            s[c] = exponent.s;
            assert(s[c] < 52);
            umint2 carry = 0;
            for (int i = 0; i <= n; ++i) {
                const int ones = std::clamp(nibbles - 16 * i, 0, 16);
                const umint repunit = ones == 0 ? 0 : 0x1111'1111'1111'1111 >> (64 - 4 * ones);
                carry += static_cast<umint2>(repunit) * bits_of<d> + (i < n ? exponent.e[i] : 0);
                shifted.at(c, i) = static_cast<umint>(carry);
                carry >>= 64;
            }
            top[c] = static_cast<int>(shifted.at(c, nibbles / 16) >> (4 * (nibbles % 16)));
        }
    }
};

/**
 * The strong test to base 2. The exponent of 2^e is read from the left, four bits at a time: four squarings, then a
 * factor 2^(c - bits_of<d>), c = 0 ... 15, which is one row of the reduction of the number times 2^c. So the c are the
 * digits to base 16 of the exponents above.
 */
template <int d, int vectors>
KESH_LANES unsigned strong_base2(const LaneGroup& group) noexcept {
    const Prepared<d, vectors> numbers(group);
    const StrongExponents<d, vectors> exponents(numbers);
    constexpr int n = numbers.n, count = numbers.count;
    DigitTable<d> first[vectors];
    LimbTable<1, vectors> back;
    for (int c = 0; c < count; ++c) {
        umint power[n];
        power_of_2_residue<n>(power, bits_of<d> * d + exponents.top[c], numbers.number[c]);
        first[c / lanes_of_vector].template put<n>(c % lanes_of_vector, power);
        back.at(c, 0) = static_cast<umint>(bits_of<d> - exponents.top[c]);
    }

    Numbers<d> x[vectors], unit[vectors];
    for (int v = 0; v < vectors; ++v) {
        x[v] = load<d>(first[v]);
        unit[v] = numbers.moduli[v].residue(numbers.moduli[v].shift(x[v], load(back.limb[v][0])));
    }
    for (int i = exponents.nibbles - 1; i >= 0; --i) {
        for (int j = 0; j < 4; ++j) {
#pragma GCC unroll 2
            for (int v = 0; v < vectors; ++v) x[v] = numbers.moduli[v].sqr(x[v]);
        }
#pragma GCC unroll 2
        for (int v = 0; v < vectors; ++v) {
            const Vector nibbles = shifted_right(load(exponents.shifted.limb[v][i / 16]), 4 * (i % 16));
            x[v] = numbers.moduli[v].shift(x[v], bit_and(nibbles, all_lanes(15)));
        }
    }

    unsigned passed = 0;
    for (int v = 0; v < vectors; ++v) {
        const Numbers<d> r = numbers.moduli[v].residue(x[v]);
        passed |= (equal<d>(r, unit[v]) | equal<d>(numbers.moduli[v].negative(r), unit[v])) << (v * lanes_of_vector);
    }
    const int most_zeros = *std::max_element(exponents.s, exponents.s + count);
    for (int i = 1; i < most_zeros; ++i) {
        unsigned minus_one = 0, in_time = 0;
        for (int v = 0; v < vectors; ++v) {
            x[v] = numbers.moduli[v].sqr(x[v]);
            minus_one |= equal<d>(numbers.moduli[v].negative(numbers.moduli[v].residue(x[v])), unit[v])
                         << (v * lanes_of_vector);
        }
        for (int c = 0; c < count; ++c) in_time |= (i < exponents.s[c] ? 1U : 0U) << c;
        passed |= minus_one & in_time;
    }
    return passed;
}

/** The Lucas condition, as lucas_u_vanishes evaluates it. */
template <int d, int vectors>
KESH_LANES unsigned lucas(const LaneGroup& group, const LaneParameters& q) noexcept {
    const Prepared<d, vectors> numbers(group);
    constexpr int n = numbers.n, count = numbers.count;
    const umint zero[n] = {};
    DigitTable<d> units[vectors], inverses[vectors];
    LimbTable<n, vectors> exponents;
    for (int c = 0; c < count; ++c) {
        const umint* m = numbers.number[c];
        const mint parameter = q[static_cast<std::size_t>(c)];
        umint unit[n], inverse[n], exponent[n];
        power_of_2_residue<n>(unit, bits_of<d> * d, m);
        units[c / lanes_of_vector].template put<n>(c % lanes_of_vector, unit);
        divide_by_limb<n>(inverse, unit, static_cast<umint>(parameter < 0 ? -parameter : parameter), m);
        if (parameter < 0) subtract_mod<n>(inverse, zero, inverse, m);
        inverses[c / lanes_of_vector].template put<n>(c % lanes_of_vector, inverse);
        // (m + 1) / 2 without the carry that m + 1 may have.
        shift_right<n>(exponent, m, 1);
        detail::add_carry<n>(exponent, 1);
        for (int i = 0; i < n; ++i) exponents.at(c, i) = exponent[i];
    }

    Numbers<d> a[vectors], minus_a[vectors], two[vectors], minus_two[vectors], low[vectors], high[vectors];
    for (int v = 0; v < vectors; ++v) {
        const Moduli<d>& moduli = numbers.moduli[v];
        const Numbers<d> minus_unit = moduli.negative(load<d>(units[v]));
        minus_two[v] = moduli.residue(normalised<d>(add<d>(minus_unit, minus_unit)));
        low[v] = two[v] = moduli.negative(minus_two[v]);
        high[v] = a[v] = moduli.residue(normalised<d>(add<d>(load<d>(inverses[v]), minus_two[v])));
        minus_a[v] = moduli.negative(a[v]);
    }
    // A lane with a shorter exponent begins with clear bits, which do not change the pair V(0), V(1).
    for (int i = numbers.bits - 1; i >= 0; --i) {
#pragma GCC unroll 2
        for (int v = 0; v < vectors; ++v) {
            const Moduli<d>& moduli = numbers.moduli[v];
            const Mask bit = bit_of(load(exponents.limb[v][i / 64]), i % 64);
            const Numbers<d> product = moduli.mul_add(low[v], high[v], minus_a[v]);
            const Numbers<d> squared = moduli.sqr_add(select<d>(bit, high[v], low[v]), minus_two[v]);
            low[v] = select<d>(bit, product, squared);
            high[v] = select<d>(bit, squared, product);
        }
    }
    unsigned vanishes = 0;
    for (int v = 0; v < vectors; ++v) {
        const Moduli<d>& moduli = numbers.moduli[v];
        vanishes |= equal<d>(moduli.residue(moduli.mul(a[v], low[v])), moduli.residue(moduli.mul(two[v], high[v])))
                    << (v * lanes_of_vector);
    }
    return vanishes;
}

/** The strong test of `count` numbers of d digits, where `most` go side by side: in one vector if they fit. */
template <int d, std::size_t most>
unsigned strong_base2_in_vectors(const LaneGroup& numbers, std::size_t count) noexcept {
    assert(0 < count && count <= most);
    if constexpr (most > lanes_of_vector)
        if (count > lanes_of_vector) return strong_base2<d, 2>(numbers);
    return strong_base2<d, 1>(numbers);
}

/** The Lucas condition, likewise. */
template <int d, std::size_t most>
unsigned lucas_in_vectors(const LaneGroup& numbers, const LaneParameters& q, std::size_t count) noexcept {
    assert(0 < count && count <= most);
    if constexpr (most > lanes_of_vector)
        if (count > lanes_of_vector) return lucas<d, 2>(numbers, q);
    return lucas<d, 1>(numbers, q);
}

}  // namespace kesh::kernel::KESH_LANE_FORM
