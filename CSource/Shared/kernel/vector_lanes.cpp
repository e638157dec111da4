/**
 * @file   vector_lanes.cpp
 * @brief  The probable-prime tests of eight wide numbers in vector lanes.
 */

#include "Shared/kernel/lanes.h"

#include <cassert>

#include "Shared/kernel/routines.h"
#include "Shared/kernel/vector_lanes.h"

namespace kesh::kernel {

namespace {

/** The numbers of a group in the form of the lanes, and the values that are computed for each number alone. */
template <int d>
struct Prepared {
    /** The limbs of the largest number with d digits. */
    static constexpr int n = (digit_bits * d - 4 + 63) / 64;

    umint number[lanes][n];
    int bits = 0;  ///< the bits of the longest number
    DigitTable<d> digits;

    explicit Prepared(const LaneGroup& group) noexcept {
        for (std::size_t c = 0; c < lanes; ++c) {
            for (int i = 0; i < n; ++i) number[c][i] = i < group[c].size ? group[c].limbs[i] : 0;
            assert(group[c].size <= n && (number[c][0] & 1) == 1);
            const int length = bit_length<n>(number[c]);
            assert(length <= digit_bits * d - 4);
            bits = bits < length ? length : bits;
            digits.template put<n>(c, number[c]);
        }
    }
};

/** 52 (1 + 16 + ... + 16^(nibbles - 1)) in digits. */
template <int d>
void make_offset(umint* offset, int nibbles) noexcept {
    constexpr umint repunit = 0x1111111111111;
    umint carry = 0;
    for (int i = 0; i < d; ++i) {
        const int left = nibbles - 13 * i;
        const umint ones = left <= 0 ? 0 : left >= 13 ? repunit : repunit >> (digit_bits - 4 * left);
        const umint sum = 52 * ones + carry;
        offset[i] = sum & digit_mask;
        carry = sum >> digit_bits;
    }
}

/**
 * The strong test to base 2. With e = (m - 1) / 2^s, the exponent of 2^e is read from the left, four bits at a time:
 * four squarings, then a factor 2^(c - 52), c = 0 ... 15, which is one row of the reduction of the number times 2^c. So
 * the c are the digits to base 16 of e + 52 (1 + 16 + ... + 16^(k-1)). As e < 16^k / 2, the digit above them is always
 * 3: the power begins with 2^3.
 */
template <int d>
KESH_IFMA unsigned strong_base2(const LaneGroup& group) noexcept {
    Prepared<d> prepared(group);
    DigitTable<d> first;
    alignas(64) umint zeros[lanes];
    int most_zeros = 0;
    for (std::size_t c = 0; c < lanes; ++c) {
        umint power[Prepared<d>::n];
        power_of_2_residue<Prepared<d>::n>(power, digit_bits * d + 3, prepared.number[c]);
        first.template put<Prepared<d>::n>(c, power);
        zeros[c] = static_cast<umint>(math_count_trailing_zeros(prepared.number[c][0] - 1));
        assert(zeros[c] < digit_bits);
        most_zeros = most_zeros < static_cast<int>(zeros[c]) ? static_cast<int>(zeros[c]) : most_zeros;
    }
    const Moduli<d> moduli(load<d>(prepared.digits));
    const __m512i one = all_lanes(1);

    const int nibbles = (prepared.bits + 3) / 4;
    umint offset[d];
    make_offset<d>(offset, nibbles);
    const __m512i s = _mm512_load_si512(zeros);
    const __m512i up = _mm512_sub_epi64(all_lanes(digit_bits), s);
    const __m512i passed_on = _mm512_sub_epi64(_mm512_sllv_epi64(one, s), one);
    Numbers<d> exponent;
    for (int j = 0; j < d; ++j) {
        exponent.digit[j] = _mm512_srlv_epi64(moduli.m().digit[j], s);  // s > 0: the last bit of m falls away
        if (j + 1 < d) {
            const __m512i above = _mm512_and_si512(moduli.m().digit[j + 1], passed_on);
            exponent.digit[j] = _mm512_add_epi64(exponent.digit[j], _mm512_sllv_epi64(above, up));
        }
        exponent.digit[j] = _mm512_add_epi64(exponent.digit[j], all_lanes(offset[j]));
    }
    normalise<d>(exponent);

    const Numbers<d> start = load<d>(first);  // 2^3
    Numbers<d> x = start;
    for (int i = nibbles - 1; i >= 0; --i) {
        for (int j = 0; j < 4; ++j) x = moduli.sqr(x);
        const __m128i place = _mm_cvtsi64_si128(mint{4} * (i % 13));
        x = moduli.shift(x, _mm512_and_si512(_mm512_srl_epi64(exponent.digit[i / 13], place), all_lanes(15)));
    }

    const Numbers<d> unit = moduli.residue(moduli.shift(start, all_lanes(digit_bits - 3)));
    Numbers<d> r = moduli.residue(x);
    unsigned passed = equal<d>(r, unit) | equal<d>(moduli.negative(r), unit);
    for (int i = 1; i < most_zeros; ++i) {
        x = moduli.sqr(x);
        const auto in_time = static_cast<unsigned>(_mm512_cmpgt_epu64_mask(s, all_lanes(static_cast<umint>(i))));
        passed |= equal<d>(moduli.negative(moduli.residue(x)), unit) & in_time;
    }
    return passed;
}

/** The Lucas condition, as lucas_u_vanishes evaluates it. */
template <int d>
KESH_IFMA unsigned lucas(const LaneGroup& group, const std::array<mint, lanes>& q) noexcept {
    Prepared<d> prepared(group);
    DigitTable<d> first, inverses;
    unsigned positive = 0;
    for (std::size_t c = 0; c < lanes; ++c) {
        constexpr int n = Prepared<d>::n;
        umint unit[n], inverse[n];
        power_of_2_residue<n>(unit, digit_bits * d, prepared.number[c]);
        first.template put<n>(c, unit);
        positive |= (q[c] > 0 ? 1U : 0U) << c;
        divide_by_limb<n>(inverse, unit, static_cast<umint>(q[c] < 0 ? -q[c] : q[c]), prepared.number[c]);
        inverses.template put<n>(c, inverse);
    }
    const Moduli<d> moduli(load<d>(prepared.digits));
    const Numbers<d> unit = load<d>(first), inverse = load<d>(inverses);

    const Numbers<d> minus_unit = moduli.negative(unit);
    const Numbers<d> minus_two = moduli.residue(normalised<d>(add<d>(minus_unit, minus_unit)));
    const Numbers<d> two = moduli.negative(minus_two);
    const Numbers<d> inverse_of_q = select<d>(static_cast<__mmask8>(positive), inverse, moduli.negative(inverse));
    const Numbers<d> a = moduli.residue(normalised<d>(add<d>(inverse_of_q, minus_two)));
    const Numbers<d> minus_a = moduli.negative(a);

    // (m + 1) / 2 = (m - 1) / 2 + 1
    Numbers<d> exponent;
    for (int j = 0; j < d; ++j) {
        exponent.digit[j] = _mm512_srli_epi64(moduli.m().digit[j], 1);
        if (j + 1 < d) {
            const __m512i above = _mm512_and_si512(moduli.m().digit[j + 1], all_lanes(1));
            exponent.digit[j] = _mm512_add_epi64(exponent.digit[j], _mm512_slli_epi64(above, digit_bits - 1));
        }
    }
    exponent.digit[0] = _mm512_add_epi64(exponent.digit[0], all_lanes(1));
    normalise<d>(exponent);

    // A lane with a shorter exponent begins with clear bits, which do not change the pair V(0), V(1).
    Numbers<d> low = two, high = a;
    for (int i = prepared.bits - 1; i >= 0; --i) {
        const __mmask8 bit =
            _mm512_test_epi64_mask(exponent.digit[i / digit_bits], all_lanes(umint{1} << (i % digit_bits)));
        const Numbers<d> product = moduli.mul_add(low, high, minus_a);
        const Numbers<d> squared = moduli.sqr_add(select<d>(bit, high, low), minus_two);
        low = select<d>(bit, product, squared);
        high = select<d>(bit, squared, product);
    }
    return equal<d>(moduli.residue(moduli.mul(a, low)), moduli.residue(moduli.mul(two, high)));
}

}  // namespace

bool has_lanes() noexcept {
    return level() == Level::ifma;
}

#define KESH_FOR_EACH_DIGITS(each)                                                                               \
    each(2) each(3) each(4) each(5) each(6) each(7) each(8) each(9) each(10) each(12) each(14) each(16) each(18) \
        each(20)

unsigned strong_base2_in_lanes(const LaneGroup& numbers, int digits) noexcept {
    switch (digits) {
#define KESH_CASE(d) \
    case d:          \
        return strong_base2<d>(numbers);
        KESH_FOR_EACH_DIGITS(KESH_CASE)
#undef KESH_CASE
    }
    assert(false);
    return 0;
}

unsigned lucas_u_vanishes_in_lanes(const LaneGroup& numbers, const std::array<mint, lanes>& q, int digits) noexcept {
    switch (digits) {
#define KESH_CASE(d) \
    case d:          \
        return lucas<d>(numbers, q);
        KESH_FOR_EACH_DIGITS(KESH_CASE)
#undef KESH_CASE
    }
    assert(false);
    return 0;
}

}  // namespace kesh::kernel
