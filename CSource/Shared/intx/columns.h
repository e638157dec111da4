/**
 * @file   columns.h
 * @brief  Products of limb arrays column by column (product scanning), for any processor.
 *
 * Column k of a product is the sum of all a[i] b[k - i]. A three-limb accumulator takes one column at a time, so every
 * limb of the result is stored once and no carry runs through memory: a multiplication, an addition and two carries
 * for each limb product. The loops have constant bounds and are unrolled completely; there is no branch. (P. G. Comba,
 * Exponentiation cryptosystems on the IBM PC, IBM Systems Journal 29 (1990).)
 */
#pragma once

#include "Shared/intx/limbs.h"

namespace kesh::detail {

/** The sum of a column: c2:c1:c0. */
struct Column {
    umint c0 = 0, c1 = 0, c2 = 0;

    /** += a b. */
    void add_product(umint a, umint b) noexcept {
        umint lo, hi;
        math_mul(a, b, lo, hi);
        std::uint8_t carry = math_addcarry(0, c0, lo, c0);
        carry = math_addcarry(carry, c1, hi, c1);
        math_addcarry(carry, c2, 0, c2);
    }

    void add(const Column& other) noexcept {
        std::uint8_t carry = math_addcarry(0, c0, other.c0, c0);
        carry = math_addcarry(carry, c1, other.c1, c1);
        math_addcarry(carry, c2, other.c2, c2);
    }

    /** += 2 other. */
    void add_twice(const Column& other) noexcept {
        add(other);
        add(other);
    }

    /** Returns the finished lowest limb and goes to the next column. */
    umint shift() noexcept {
        const umint lowest = c0;
        c0 = c1;
        c1 = c2;
        c2 = 0;
        return lowest;
    }
};

/** hi:lo = a b, of n limbs each. lo and hi must not overlap a or b. n^2 limb products. */
template <std::size_t n>
inline void full_product_columns(umint* lo, umint* hi, const umint* a, const umint* b) noexcept {
    Column sum;
#pragma GCC unroll 32
    for (std::size_t k = 0; k < 2 * n - 1; ++k) {
#pragma GCC unroll 16
        for (std::size_t i = k < n ? 0 : k - n + 1; i <= (k < n ? k : n - 1); ++i) sum.add_product(a[i], b[k - i]);
        (k < n ? lo[k] : hi[k - n]) = sum.shift();
    }
    hi[n - 1] = sum.c0;
}

/** lo = a b modulo 2^(64 n). lo must not overlap a or b. n (n + 1) / 2 limb products. */
template <std::size_t n>
inline void low_product_columns(umint* lo, const umint* a, const umint* b) noexcept {
    Column sum;
#pragma GCC unroll 16
    for (std::size_t k = 0; k < n - 1; ++k) {
#pragma GCC unroll 16
        for (std::size_t i = 0; i <= k; ++i) sum.add_product(a[i], b[k - i]);
        lo[k] = sum.shift();
    }
    // Only the lowest limb of the highest column is needed.
    umint top = sum.c0;
#pragma GCC unroll 16
    for (std::size_t i = 0; i < n; ++i) top += a[i] * b[n - 1 - i];
    lo[n - 1] = top;
}

/**
 * r = a b R^(-1) mod m, R = 2^(64 n), k0 = -m^(-1) mod 2^64. Precondition: a b < m R. r may be a or b.
 * Product and reduction share the columns: q[k] makes column k of a b + q m vanish, so columns 0 to n-1 yield the
 * limbs of q and columns n to 2n-1 the result. 2 n^2 + n limb products, where a reduction by whole words costs 2.5 n^2
 * + n / 2.
 */
template <std::size_t n>
inline void montgomery_product_columns(umint* r, const umint* a, const umint* b, const umint* m, umint k0) noexcept {
    umint q[n], t[n];
    Column sum;
#pragma GCC unroll 16
    for (std::size_t k = 0; k < n; ++k) {
#pragma GCC unroll 16
        for (std::size_t i = 0; i <= k; ++i) sum.add_product(a[i], b[k - i]);
#pragma GCC unroll 16
        for (std::size_t i = 0; i < k; ++i) sum.add_product(q[i], m[k - i]);
        q[k] = sum.c0 * k0;
        sum.add_product(q[k], m[0]);
        sum.shift();
    }
#pragma GCC unroll 16
    for (std::size_t k = n; k < 2 * n - 1; ++k) {
#pragma GCC unroll 16
        for (std::size_t i = k - n + 1; i < n; ++i) sum.add_product(a[i], b[k - i]);
#pragma GCC unroll 16
        for (std::size_t i = k - n + 1; i < n; ++i) sum.add_product(q[i], m[k - i]);
        t[k - n] = sum.shift();
    }
    t[n - 1] = sum.c0;
    reduce_once<n>(r, t, sum.c1, m);
}

}  // namespace kesh::detail
