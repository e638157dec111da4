/**
 * @file   avx2_form.h
 * @brief  Vector lanes with AVX2: four numbers side by side, in digits of 28 or 29 bits, by products of 32-bit lanes.
 * What vector_lanes.h is written in.
 */
#pragma once

#include "Shared/kernel/avx2.h"

namespace kesh::kernel::avx2_form {

constexpr int lanes_of_vector = 4;

/**
 * The size of a digit in numbers of d digits: a column is a sum of 2 d products, with a carry, and has to stay below
 * 2^64.
 */
template <int d>
constexpr int bits_of = d < 32 ? 29 : 28;

/** The least number of digits for numbers of so many limbs, from d up: R' is above 16 times the number. */
template <int d = 2>
constexpr int digits_of(int limbs) noexcept {
    if constexpr (d * bits_of<d> < 1024 + 4)
        if (d * bits_of<d> < 64 * limbs + 4) return digits_of<d + 1>(limbs);
    return d;
}

/** The lanes where bit number i of a is set. */
KESH_AVX2_INLINE Mask bit_of(Vector a, int i) noexcept {
    const Vector bit = all_lanes(umint{1} << i);
    return equal_lanes(bit_and(a, bit), bit);
}

template <int d>
KESH_AVX2_INLINE Vector digit_of(Vector a) noexcept {
    return bit_and(a, all_lanes((umint{1} << bits_of<d>)-1));
}

/** a b modulo 2^bits. */
template <int d>
KESH_AVX2_INLINE Vector low_product(Vector a, Vector b) noexcept {
    return digit_of<d>(product(low_32_bits(a), low_32_bits(b)));
}

/**
 * Rows are computed up to four at a time: four products are added to a column between its load and its store. `left`
 * rows are cut into parts of nearly equal size; the size of the first one.
 */
constexpr int rows_of_part(int left) noexcept {
    const int parts = (left + 3) / 4;
    return (left + parts - 1) / parts;
}

/** Up to this many digits, loops over columns are unrolled. Unrolled, squares of 26 and 37 digits take 15 % more time.
 */
constexpr int unrolled_to = 18;

/**
 * t[j] += factor[0] b[j] + factor[1] b[j - 1] + ..., one product for each of `rows` factors, as far as b has digits;
 * with `all`, it has them.
 */
template <int rows, int d, bool all = false>
KESH_AVX2_INLINE void add_column(Vector* t, const Vector* factor, const Vector* b, int j) noexcept {
    Vector column = t[j];
#pragma GCC unroll 4
    for (int i = 0; i < rows; ++i)
        if (all || (0 <= j - i && j - i < d)) column = sum(column, product_with(factor[i], b + (j - i)));
    sum_so_far(column);
    t[j] = column;
}

/** Adds to the columns `first` to d + rows - 2 of t, as above. */
template <int rows, int d, int first>
KESH_AVX2_INLINE void add_rows(Vector* t, const Vector* factor, const Vector* b) noexcept {
    constexpr int full = rows - 1 < d ? rows - 1 : d;  // from here to d - 1, columns have a product of each factor
#pragma GCC unroll 4
    for (int j = first; j < full; ++j) add_column<rows, d>(t, factor, b, j);
    if constexpr (d <= unrolled_to) {
#pragma GCC unroll 18
        for (int j = full; j < d; ++j) add_column<rows, d, rows <= d>(t, factor, b, j);
    } else {
#pragma GCC unroll 1
        for (int j = full; j < d; ++j) add_column<rows, d, rows <= d>(t, factor, b, j);
    }
#pragma GCC unroll 4
    for (int j = d; j < d + rows - 1; ++j) add_column<rows, d>(t, factor, b, j);
}

/** t += the products of the digits a[i], a[i + 1], ... with b. */
template <int d, int i = 0>
KESH_AVX2_INLINE void add_products(Vector* t, const Vector* a, const Vector* b) noexcept {
    constexpr int rows = rows_of_part(d - i);
    Vector factor[rows];
#pragma GCC unroll 4
    for (int r = 0; r < rows; ++r) factor[r] = a[i + r];
    add_rows<rows, d, 0>(t + i, factor, b);
    if constexpr (i + rows < d) add_products<d, i + rows>(t, a, b);
}

/**
 * t += the squares of the digits a[i], a[i + 1], ... and twice the products of each of these with the digits above it.
 * The doubled digits have 30 bits at most.
 */
template <int d, int i = 0>
KESH_AVX2_INLINE void add_squares(Vector* t, const Vector* a) noexcept {
    constexpr int rows = rows_of_part(d - i), above = d - i - rows;
    Vector factor[rows], twice[rows];
#pragma GCC unroll 4
    for (int r = 0; r < rows; ++r) {
        factor[r] = a[i + r];
        twice[r] = sum(factor[r], factor[r]);
    }
#pragma GCC unroll 4
    for (int r = 0; r < rows; ++r) {
        t[i + r + i + r] = sum(t[i + r + i + r], product(factor[r], factor[r]));
#pragma GCC unroll 4
        for (int s = r + 1; s < rows; ++s) t[i + r + i + s] = sum(t[i + r + i + s], product(twice[r], factor[s]));
    }
    if constexpr (above > 0) {
        add_rows<rows, above, 0>(t + i + i + rows, twice, a + i + rows);
        add_squares<d, i + rows>(t, a);
    }
}

/**
 * The rows i, i + 1, ... d - 2 of the reduction. For each digit q of t it adds q M with M = -1 + 2^bits mu: q times mu
 * is added to the columns above, and the rest of the column is carried.
 */
template <int d, int i = 0>
KESH_AVX2_INLINE void reduce_rows(Vector* t, const Vector* mu) noexcept {
    constexpr int rows = rows_of_part(d - 1 - i);
    Vector q[rows], column = t[i];
#pragma GCC unroll 4
    for (int r = 0; r < rows; ++r) {
        q[r] = digit_of<d>(column);
        const Vector carry = shifted_right<bits_of<d>>(column);
        column = sum(t[i + r + 1], carry);
        const int in_part = r + 1 < rows ? r + 1 : 0;
#pragma GCC unroll 4
        for (int s = 0; s < in_part; ++s) column = sum(column, product_with(q[s], mu + (r - s)));
    }
    t[i + rows] = column;
    add_rows<rows, d, rows - 1>(t + i + 1, q, mu);
    if constexpr (i + rows < d - 1) reduce_rows<d, i + rows>(t, mu);
}

template <int d>
KESH_AVX2 __attribute__((noinline)) void add_products_outlined(Vector* t, const Vector* a, const Vector* b) noexcept {
    add_products<d>(t, a, b);
}
template <int d>
KESH_AVX2 __attribute__((noinline)) void add_squares_outlined(Vector* t, const Vector* a) noexcept {
    add_squares<d>(t, a);
}
template <int d>
KESH_AVX2 __attribute__((noinline)) void reduce_rows_outlined(Vector* t, const Vector* mu) noexcept {
    reduce_rows<d>(t, mu);
}

/** From this many digits on the products are separate functions. */
constexpr int outlined_from = 10;

/** t[0 .. d] += a b for a digit a. */
template <int d>
KESH_AVX2_INLINE void add_multiple(Vector* t, Vector a, const Vector* b) noexcept {
#pragma GCC unroll 40
    for (int j = 0; j < d; ++j) t[j] = sum(t[j], product_with(a, b + j));
}

/** t[0 .. 2 d - 1] = a b. */
template <int d>
KESH_AVX2_INLINE void multiply(Vector* t, const Vector* a, const Vector* b) noexcept {
#pragma GCC unroll 40
    for (int j = 0; j < 2 * d; ++j) t[j] = all_lanes(0);
    if constexpr (d < outlined_from)
        add_products<d>(t, a, b);
    else
        add_products_outlined<d>(t, a, b);
}

/** t[0 .. 2 d - 1] = a^2. */
template <int d>
KESH_AVX2_INLINE void square(Vector* t, const Vector* a) noexcept {
#pragma GCC unroll 40
    for (int j = 0; j < 2 * d; ++j) t[j] = all_lanes(0);
    if constexpr (d < outlined_from)
        add_squares<d>(t, a);
    else
        add_squares_outlined<d>(t, a);
}

/** r = t / R' modulo m, below t / R' + 2 m, as in the form of AVX-512 IFMA. */
template <int d>
KESH_AVX2_INLINE void reduce(Vector* r, Vector* t, const Vector* m, const Vector* mu, Vector k) noexcept {
    static_assert(2 * d + 1 <= 1 << (64 - 2 * bits_of<d>), "a column of 2 d products and a carry is below 2^64");
    if constexpr (d < outlined_from)
        reduce_rows<d>(t, mu);
    else
        reduce_rows_outlined<d>(t, mu);
    const Vector q = low_product<d>(t[d - 1], k);
    Vector carry = shifted_right<bits_of<d>>(sum(t[d - 1], product_with(q, m)));
#pragma GCC unroll 40
    for (int j = 0; j < d; ++j) {
        Vector column = t[d + j];
        if (j + 1 < d) column = sum(column, product_with(q, m + j + 1));
        column = sum(column, carry);
        r[j] = digit_of<d>(column);
        carry = shifted_right<bits_of<d>>(column);
    }
}

}  // namespace kesh::kernel::avx2_form
