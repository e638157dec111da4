/**
 * @file   digit_shape.h
 * @brief  One number as digits of fewer bits than a limb, for the kernels that keep it in vector registers.
 *
 * A shape S says how a number of S::n limbs is cut: S::bits is the size of a digit, S::digits their number and that of
 * the rows of a reduction, so that R' = 2^(bits digits), R' / R = 2^S::doublings, and S::Digits is a number in memory,
 * whose digit i is digit[S::place(i)].
 */
#pragma once

#include "Shared/kernel/kernel.h"
#include "Shared/kernel/limbs.h"

namespace kesh::kernel {

template <class S>
using Digits = typename S::Digits;

template <class S>
constexpr umint mask_of_digit = (umint{1} << S::bits) - 1;

/** The digits of a value of n limbs. */
template <class S>
Digits<S> to_digits(const umint* value) noexcept {
    Digits<S> r{};
    for (int i = 0; i * S::bits < 64 * S::n; ++i) {
        const int limb = i * S::bits / 64, offset = i * S::bits % 64;
        umint digit = value[limb] >> offset;
        if (offset > 64 - S::bits && limb + 1 < S::n) digit |= value[limb + 1] << (64 - offset);
        r.digit[S::place(i)] = digit & mask_of_digit<S>;
    }
    return r;
}

/** The n + 1 limbs of a number whose digits may have more than `bits` bits. */
template <class S>
void from_digits(umint* r, const Digits<S>& value) noexcept {
    for (int i = 0; i <= S::n; ++i) r[i] = 0;
    umint carry = 0;
    for (int i = 0; i < S::digits; ++i) {
        const umint sum = value.digit[S::place(i)] + carry, digit = sum & mask_of_digit<S>;
        carry = sum >> S::bits;
        const int limb = i * S::bits / 64, offset = i * S::bits % 64;
        r[limb] |= digit << offset;
        if (offset > 64 - S::bits && limb < S::n) r[limb + 1] |= digit >> (64 - offset);
    }
}

/** What the rows of a reduction add, as digits: k = -1/m mod 2^bits, m, and mu = (m k + 1) / 2^bits. */
template <class S>
struct Rows {
    umint k;
    Digits<S> m, mu;

    explicit Rows(const Modulus<S::n>& modulus) noexcept
        : k(modulus.k & mask_of_digit<S>), m(to_digits<S>(modulus.m)), mu(make_mu(modulus)) {}

  private:
    static Digits<S> make_mu(const Modulus<S::n>& modulus) noexcept {
        umint product[S::n + 1];
        product[S::n] = add_product_row(product, modulus.zero, modulus.m, modulus.k & mask_of_digit<S>, S::n, 1);
        shift_right<S::n + 1>(product, product, S::bits);
        return to_digits<S>(product);
    }
};

/** The internal form a R' mod m of a residue a R. r may be a. */
template <class S>
void to_internal(umint* r, const umint* a, const Modulus<S::n>& modulus) noexcept {
    for (int i = 0; i < S::n; ++i) r[i] = a[i];
    for (int i = 0; i < S::doublings; ++i) double_if<S::n>(r, 1, modulus.m);
}

/** The residue of a value below 3 m. */
template <class S>
void residue_of_digits(umint* r, const Digits<S>& value, const Modulus<S::n>& modulus) noexcept {
    constexpr int n = S::n;
    umint t[n + 1], m[n + 1];
    from_digits<S>(t, value);
    for (int i = 0; i < n; ++i) m[i] = modulus.m[i];
    m[n] = 0;
    reduce_once<n + 1>(t, t, 0, m);
    reduce_once<n + 1>(t, t, 0, m);
    for (int i = 0; i < n; ++i) r[i] = t[i];
}

/** What the ladder starts with and adds, in internal form: V(0) = 2, V(1) = a, and -2 and -a. */
template <class S>
struct LadderStart {
    Digits<S> two, a, minus_two, minus_a;

    LadderStart(const umint* residue, const Modulus<S::n>& modulus) noexcept {
        constexpr int n = S::n;
        umint t[n];
        to_internal<S>(t, modulus.r1, modulus);
        double_if<n>(t, 1, modulus.m);
        put(t, two, minus_two, modulus);
        to_internal<S>(t, residue, modulus);
        put(t, a, minus_a, modulus);
    }

  private:
    static void put(const umint* t, Digits<S>& value, Digits<S>& negative, const Modulus<S::n>& modulus) noexcept {
        umint negated[S::n];
        subtract_mod<S::n>(negated, modulus.zero, t, modulus.m);
        value = to_digits<S>(t);
        negative = to_digits<S>(negated);
    }
};

}  // namespace kesh::kernel
