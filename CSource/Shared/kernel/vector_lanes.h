/**
 * @file   vector_lanes.h
 * @brief  Montgomery arithmetic on numbers in vector lanes, in the form of the instruction set that lane_form.h names.
 *         README.md derives it.
 */
#pragma once

#include "Shared/kernel/lane_form.h"

#include "Shared/kernel/lanes.h"
#include "Shared/kernel/limbs.h"

namespace kesh::kernel::KESH_LANE_FORM {

/** Numbers side by side: digit i of all of them in the lanes of digit[i]. */
template <int d>
struct Numbers {
    Vector digit[d];
};

/** Digits of numbers side by side in memory, written lane by lane. */
template <int d>
struct alignas(64) DigitTable {
    static constexpr umint digit_mask = (umint{1} << bits_of<d>)-1;

    umint digit[d][lanes_of_vector];

    /** Puts a value of n limbs into a lane. It has at most d digits. */
    template <int n>
    void put(int lane, const umint* value) noexcept {
        for (int i = 0; i < d; ++i) {
            const int limb = i * bits_of<d> / 64, offset = i * bits_of<d> % 64;
            umint bits = limb < n ? value[limb] >> offset : 0;
            if (offset > 64 - bits_of<d> && limb + 1 < n) bits |= value[limb + 1] << (64 - offset);
            digit[i][lane] = bits & digit_mask;
        }
    }
};

template <int d>
KESH_LANES_INLINE Numbers<d> load(const DigitTable<d>& table) noexcept {
    Numbers<d> r;
    for (int i = 0; i < d; ++i) r.digit[i] = load(table.digit[i]);
    return r;
}

/** Normalises the digits of numbers below R' in lanes of any size. Returns the carry out, in units of R'. */
template <int d>
KESH_LANES_INLINE Vector normalise(Numbers<d>& a) noexcept {
    const Vector mask = all_lanes(DigitTable<d>::digit_mask);
    Vector carry = all_lanes(0);
#pragma GCC unroll 40
    for (int i = 0; i < d; ++i) {
        const Vector digit = sum(a.digit[i], carry);
        a.digit[i] = bit_and(digit, mask);
        carry = shifted_right<bits_of<d>>(digit);
    }
    return carry;
}

template <int d>
KESH_LANES_INLINE Numbers<d> normalised(Numbers<d> a) noexcept {
    normalise<d>(a);
    return a;
}

template <int d>
KESH_LANES_INLINE Numbers<d> add(const Numbers<d>& a, const Numbers<d>& b) noexcept {
    Numbers<d> r;
#pragma GCC unroll 40
    for (int i = 0; i < d; ++i) r.digit[i] = sum(a.digit[i], b.digit[i]);
    return r;
}

/** In each lane a where the mask is set, else b. */
template <int d>
KESH_LANES_INLINE Numbers<d> select(Mask mask, const Numbers<d>& a, const Numbers<d>& b) noexcept {
    Numbers<d> r;
#pragma GCC unroll 40
    for (int i = 0; i < d; ++i) r.digit[i] = select(mask, a.digit[i], b.digit[i]);
    return r;
}

/** Bit c is set when the numbers in lane c are equal. */
template <int d>
KESH_LANES_INLINE unsigned equal(const Numbers<d>& a, const Numbers<d>& b) noexcept {
    unsigned mask = (1U << lanes_of_vector) - 1;
    for (int i = 0; i < d; ++i) mask &= bits_of_mask(equal_lanes(a.digit[i], b.digit[i]));
    return mask;
}

/**
 * Odd moduli m below R' / 16, R' = 2^(d bits_of<d>), each in its lane, and Montgomery arithmetic modulo them with R'.
 * Operands and results are below 4 m.
 */
template <int d>
class Moduli {
  public:
    using Number = Numbers<d>;

    Moduli() = default;
    KESH_LANES_INLINE explicit Moduli(const Number& m) noexcept : m_(m), k_(negative_inverse(m.digit[0])) {
        // mu = (m k + 1) / 2^bits; the lowest digit of m k + 1 is 0.
        Vector product[d + 1];
        for (Vector& digit : product) digit = all_lanes(0);
        product[0] = all_lanes(1);
        add_multiple<d>(product, k_, m_.digit);
        for (int j = 0; j < d; ++j) mu_.digit[j] = product[j + 1];
        mu_.digit[0] = sum(mu_.digit[0], shifted_right<bits_of<d>>(product[0]));
        normalise<d>(mu_);
        // R' - m, the complement of all digits plus 1
        for (int j = 0; j < d; ++j) complement_.digit[j] = difference(all_digit_bits(), m_.digit[j]);
        complement_.digit[0] = sum(complement_.digit[0], all_lanes(1));
        normalise<d>(complement_);
    }

    /** a b / R' modulo m, below 3 m. */
    KESH_LANES_INLINE Number mul(const Number& a, const Number& b) const noexcept {
        Vector t[2 * d];
        multiply<d>(t, a.digit, b.digit);
        return reduced(t);
    }
    /** a b / R' + c modulo m, below 4 m for c <= m. */
    KESH_LANES_INLINE Number mul_add(const Number& a, const Number& b, const Number& c) const noexcept {
        Vector t[2 * d];
        multiply<d>(t, a.digit, b.digit);
        return reduced_sum(t, c);
    }
    /** a^2 / R' modulo m, below 3 m. */
    KESH_LANES_INLINE Number sqr(const Number& a) const noexcept {
        Vector t[2 * d];
        square<d>(t, a.digit);
        return reduced(t);
    }
    /** a^2 / R' + c modulo m, below 4 m for c <= m. */
    KESH_LANES_INLINE Number sqr_add(const Number& a, const Number& c) const noexcept {
        Vector t[2 * d];
        square<d>(t, a.digit);
        return reduced_sum(t, c);
    }

    /**
     * a 2^s / 2^bits modulo m, below 2 m, for 0 <= s <= bits - 2 in each lane; and s = bits - 1 if a is a residue below
     * m.
     */
    KESH_LANES_INLINE Number shift(const Number& a, Vector s) const noexcept {
        Vector t[d + 1];
#pragma GCC unroll 41
        for (int j = 0; j <= d; ++j) t[j] = all_lanes(0);
        add_multiple<d>(t, power_of_2(s), a.digit);
        add_multiple<d>(t, low_product<d>(t[0], k_), m_.digit);
        Number r;
#pragma GCC unroll 40
        for (int j = 0; j < d; ++j) r.digit[j] = t[1 + j];
        r.digit[0] = sum(r.digit[0], shifted_right<bits_of<d>>(t[0]));
        return normalised<d>(r);
    }

    /** The residue below m of a number below 3 m. */
    KESH_LANES Number residue(Number a) const noexcept {
        for (int i = 0; i < 2; ++i) {
            Number reduced = add<d>(a, complement_);
            const Vector not_below = normalise<d>(reduced);
            a = select<d>(equal_lanes(not_below, all_lanes(1)), reduced, a);
        }
        return a;
    }

    /** m - a for a residue a <= m: the complement of the digits of a + R' - m, plus 1. */
    KESH_LANES Number negative(const Number& a) const noexcept {
        Number r = add<d>(a, complement_);
        normalise<d>(r);
        for (Vector& digit : r.digit) digit = difference(all_digit_bits(), digit);
        r.digit[0] = sum(r.digit[0], all_lanes(1));
        normalise<d>(r);
        return r;
    }

  private:
    KESH_LANES_INLINE static Vector all_digit_bits() noexcept {
        return all_lanes(DigitTable<d>::digit_mask);
    }

    /**
     * -1/m modulo 2^bits for an odd digit m. The negative of 3 m xor 2 is right to 5 bits; with m k = -1 + y, k (2 + m
     * k) is right to y^2.
     */
    KESH_LANES_INLINE static Vector negative_inverse(Vector m) noexcept {
        const Vector triple = sum(m, sum(m, m));
        const Vector start = bit_and(bit_xor(triple, all_lanes(2)), all_digit_bits());
        Vector k = difference(sum(all_digit_bits(), all_lanes(1)), start);
        for (int right = 5; right < bits_of<d>; right *= 2)
            k = low_product<d>(k, sum(all_lanes(2), low_product<d>(m, k)));
        return k;
    }

    KESH_LANES_INLINE Number reduced(Vector* t) const noexcept {
        Number r;
        reduce<d>(r.digit, t, m_.digit, mu_.digit, k_);
        return r;
    }
    /** (t + c R') / R'. */
    KESH_LANES_INLINE Number reduced_sum(Vector* t, const Number& c) const noexcept {
#pragma GCC unroll 40
        for (int j = 0; j < d; ++j) t[d + j] = sum(t[d + j], c.digit[j]);
        return reduced(t);
    }

    Number m_, mu_, complement_;
    Vector k_;
};

}  // namespace kesh::kernel::KESH_LANE_FORM
