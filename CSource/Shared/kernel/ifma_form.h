/**
 * @file   ifma_form.h
 * @brief  Vector lanes with AVX-512 IFMA: eight numbers side by side, in digits of 52 bits. The operations on vectors
 * that vector_lanes.h is written in, and the products.
 */
#pragma once

#include "Shared/kernel/avx512.h"
#include "Shared/kernel/digits.h"

namespace kesh::kernel::ifma_form {

using Vector = __m512i;
using Mask = __mmask8;

constexpr int lanes_of_vector = 8;

/** The size of a digit in numbers of d digits. */
template <int d>
constexpr int bits_of = digit_bits;

KESH_IFMA_INLINE Vector all_lanes(umint value) noexcept {
    return _mm512_set1_epi64(static_cast<long long>(value));
}
/** `memory` has a multiple of 64 as its address. */
KESH_IFMA_INLINE Vector load(const umint* memory) noexcept {
    return _mm512_load_si512(memory);
}
KESH_IFMA_INLINE Vector sum(Vector a, Vector b) noexcept {
    return _mm512_add_epi64(a, b);
}
KESH_IFMA_INLINE Vector difference(Vector a, Vector b) noexcept {
    return _mm512_sub_epi64(a, b);
}
KESH_IFMA_INLINE Vector bit_and(Vector a, Vector b) noexcept {
    return _mm512_and_si512(a, b);
}
KESH_IFMA_INLINE Vector bit_xor(Vector a, Vector b) noexcept {
    return _mm512_xor_si512(a, b);
}
template <int count>
KESH_IFMA_INLINE Vector shifted_right(Vector a) noexcept {
    return _mm512_srli_epi64(a, count);
}
KESH_IFMA_INLINE Vector shifted_right(Vector a, int count) noexcept {
    return _mm512_srl_epi64(a, _mm_cvtsi64_si128(count));
}
/** 2^s in each lane. */
KESH_IFMA_INLINE Vector power_of_2(Vector s) noexcept {
    return _mm512_sllv_epi64(all_lanes(1), s);
}
/** The lanes where bit number i of a is set. */
KESH_IFMA_INLINE Mask bit_of(Vector a, int i) noexcept {
    return _mm512_test_epi64_mask(a, all_lanes(umint{1} << i));
}
KESH_IFMA_INLINE Mask equal_lanes(Vector a, Vector b) noexcept {
    return _mm512_cmpeq_epi64_mask(a, b);
}
KESH_IFMA_INLINE unsigned bits_of_mask(Mask mask) noexcept {
    return mask;
}
/** In each lane a where the mask is set, else b. */
KESH_IFMA_INLINE Vector select(Mask mask, Vector a, Vector b) noexcept {
    return _mm512_mask_blend_epi64(mask, b, a);
}

/** a b mod 2^52. */
template <int d>
KESH_IFMA_INLINE Vector low_product(Vector a, Vector b) noexcept {
    return _mm512_madd52lo_epu64(_mm512_setzero_si512(), low_52_bits(a), low_52_bits(b));
}

/**
 * From this many digits on the products are separate functions: their code is long, and their values do not fit into
 * the registers beside those of the loop.
 */
constexpr int outlined_from = 6;

/** The number of digits of the parts into which products of d digits are cut. */
template <int d>
constexpr int part_of = d <= 10 ? d : d / 2;

/** acc[0 .. h] += a b for h digits of b: low halves at their place, high halves one above. */
template <int h>
KESH_IFMA_INLINE void add_row(Vector* acc, Vector a, const Vector* b) noexcept {
#pragma GCC unroll 10
    for (int j = 0; j < h; ++j) acc[j] = _mm512_madd52lo_epu64(acc[j], a, b[j]);
#pragma GCC unroll 10
    for (int j = 0; j < h; ++j) acc[j + 1] = _mm512_madd52hi_epu64(acc[j + 1], a, b[j]);
}

/** t[0 .. rows + h - 1] += a b for `rows` digits of a and h of b. A window of h + 1 columns moves over t. */
template <int rows, int h>
KESH_IFMA_INLINE void add_product_inline(Vector* t, const Vector* a, const Vector* b) noexcept {
    Vector factor[h], acc[h + 1];
#pragma GCC unroll 10
    for (int j = 0; j < h; ++j) {
        factor[j] = b[j];
        acc[j] = t[j];
    }
#pragma GCC unroll 10
    for (int i = 0; i < rows; ++i) {
        acc[h] = t[i + h];
        add_row<h>(acc, a[i], factor);
        t[i] = acc[0];
#pragma GCC unroll 10
        for (int j = 0; j < h; ++j) acc[j] = acc[j + 1];
    }
#pragma GCC unroll 10
    for (int j = 0; j < h; ++j) t[rows + j] = acc[j];
}

/** t[0 .. 2 h - 1] = a^2: twice the products of different digits, and the squares. */
template <int h>
KESH_IFMA_INLINE void square_inline(Vector* t, const Vector* a) noexcept {
    Vector x[h], mixed[2 * h];
#pragma GCC unroll 10
    for (int i = 0; i < h; ++i) x[i] = a[i];
#pragma GCC unroll 20
    for (int i = 0; i < 2 * h; ++i) mixed[i] = _mm512_setzero_si512();
    t[0] = _mm512_madd52lo_epu64(_mm512_setzero_si512(), x[0], x[0]);
#pragma GCC unroll 10
    for (int i = 0; i < h; ++i) {
#pragma GCC unroll 10
        for (int j = i + 1; j < h; ++j) mixed[i + j] = _mm512_madd52lo_epu64(mixed[i + j], x[i], x[j]);
#pragma GCC unroll 10
        for (int j = i + 1; j < h; ++j) mixed[i + j + 1] = _mm512_madd52hi_epu64(mixed[i + j + 1], x[i], x[j]);
        // No later row reaches the two lowest columns of this one.
        const Vector odd = _mm512_add_epi64(mixed[2 * i + 1], mixed[2 * i + 1]);
        t[2 * i + 1] = _mm512_madd52hi_epu64(odd, x[i], x[i]);
        if (i + 1 < h) {
            const Vector even = _mm512_add_epi64(mixed[2 * i + 2], mixed[2 * i + 2]);
            t[2 * i + 2] = _mm512_madd52lo_epu64(even, x[i + 1], x[i + 1]);
        }
    }
}

/**
 * Rows of the reduction: for each of the `rows` lowest digits of t, with q its low 52 bits, adds the other bits of the
 * digit and q mu to the columns above it. So t increases by q M with M = -1 + 2^52 mu, and the digit becomes 0. t has
 * rows + h + 1 columns; the quotients go to q.
 */
template <int rows, int h>
KESH_IFMA_INLINE void reduce_inline(Vector* t, Vector* q, const Vector* mu) noexcept {
    Vector factor[h], acc[h + 1], current = t[0];
#pragma GCC unroll 10
    for (int j = 0; j < h; ++j) {
        factor[j] = mu[j];
        acc[j] = t[1 + j];
    }
#pragma GCC unroll 10
    for (int i = 0; i < rows; ++i) {
        acc[h] = t[1 + i + h];
        q[i] = low_52_bits(current);
        add_row<h>(acc, q[i], factor);
        current = _mm512_add_epi64(acc[0], _mm512_srli_epi64(current, digit_bits));
#pragma GCC unroll 10
        for (int j = 0; j < h; ++j) acc[j] = acc[j + 1];
    }
    t[rows] = current;
#pragma GCC unroll 10
    for (int j = 0; j < h; ++j) t[rows + 1 + j] = acc[j];
}

/**
 * Up to this many digits a product waits for the chain of its quotients, and not for the multiplier: sums are made in
 * parts, so that only one multiply-add of a column waits for the last quotient.
 */
constexpr int waiting_to = 4;

/** The same rows of the reduction with the shortest chain: low products, high products and t in sums of their own. */
template <int rows, int h>
KESH_IFMA_INLINE void reduce_quickly(Vector* t, Vector* q, const Vector* mu) noexcept {
    Vector low[rows + h + 1], high[rows + h + 1];
#pragma GCC unroll 10
    for (int j = 0; j < rows + h + 1; ++j) low[j] = high[j] = _mm512_setzero_si512();
#pragma GCC unroll 10
    for (int i = 0; i < rows; ++i) {
        q[i] = low_52_bits(t[i]);
#pragma GCC unroll 10
        for (int j = 0; j < h; ++j) low[i + 1 + j] = _mm512_madd52lo_epu64(low[i + 1 + j], q[i], mu[j]);
#pragma GCC unroll 10
        for (int j = 0; j < h; ++j) high[i + 2 + j] = _mm512_madd52hi_epu64(high[i + 2 + j], q[i], mu[j]);
        const Vector carry = _mm512_srli_epi64(t[i], digit_bits);
        const Vector early = _mm512_add_epi64(_mm512_add_epi64(t[i + 1], high[i + 1]), carry);
        t[i + 1] = _mm512_add_epi64(early, low[i + 1]);
    }
#pragma GCC unroll 10
    for (int j = rows + 1; j < rows + h + 1; ++j) t[j] = _mm512_add_epi64(t[j], _mm512_add_epi64(low[j], high[j]));
}

template <int rows, int h>
KESH_IFMA __attribute__((noinline)) void add_product_outlined(Vector* t, const Vector* a, const Vector* b) noexcept {
    add_product_inline<rows, h>(t, a, b);
}
template <int h>
KESH_IFMA __attribute__((noinline)) void square_outlined(Vector* t, const Vector* a) noexcept {
    square_inline<h>(t, a);
}
template <int rows, int h>
KESH_IFMA __attribute__((noinline)) void reduce_outlined(Vector* t, Vector* q, const Vector* mu) noexcept {
    reduce_inline<rows, h>(t, q, mu);
}

template <int rows, int h>
KESH_IFMA_INLINE void add_product(Vector* t, const Vector* a, const Vector* b) noexcept {
    if constexpr (h < outlined_from)
        add_product_inline<rows, h>(t, a, b);
    else
        add_product_outlined<rows, h>(t, a, b);
}
template <int h>
KESH_IFMA_INLINE void square_part(Vector* t, const Vector* a) noexcept {
    if constexpr (h < outlined_from)
        square_inline<h>(t, a);
    else
        square_outlined<h>(t, a);
}
template <int rows, int h>
KESH_IFMA_INLINE void reduce_part(Vector* t, Vector* q, const Vector* mu) noexcept {
    if constexpr (h <= waiting_to)
        reduce_quickly<rows, h>(t, q, mu);
    else if constexpr (h < outlined_from)
        reduce_inline<rows, h>(t, q, mu);
    else
        reduce_outlined<rows, h>(t, q, mu);
}

/** t[0 .. d] += a b for a digit a. */
template <int d>
KESH_IFMA_INLINE void add_multiple(Vector* t, Vector a, const Vector* b) noexcept {
    constexpr int h = part_of<d>;
    for (int j = 0; j < d; j += h) add_row<h>(t + j, a, b + j);
}

/** t[0 .. 2 d - 1] = a b. */
template <int d>
KESH_IFMA_INLINE void multiply(Vector* t, const Vector* a, const Vector* b) noexcept {
    constexpr int h = part_of<d>;
#pragma GCC unroll 40
    for (int j = 0; j < 2 * d; ++j) t[j] = _mm512_setzero_si512();
    for (int i = 0; i < d; i += h)
        for (int j = 0; j < d; j += h) add_product<h, h>(t + i + j, a + i, b + j);
}

/** t[0 .. 2 d - 1] = a^2. */
template <int d>
KESH_IFMA_INLINE void square(Vector* t, const Vector* a) noexcept {
    constexpr int h = part_of<d>;
    square_part<h>(t, a);
    if constexpr (h < d) {
        square_part<h>(t + d, a + h);
        Vector mixed[d];
        for (Vector& column : mixed) column = _mm512_setzero_si512();
        add_product<h, h>(mixed, a, a + h);
        for (int j = 0; j < d; ++j) t[h + j] = _mm512_add_epi64(t[h + j], _mm512_add_epi64(mixed[j], mixed[j]));
    }
}

/**
 * r = t / R' modulo m, below t / R' + 2 m. The first d - 1 rows add quotients times M = m k,
 * together less than R' m; the last row one times m, less again.
 */
template <int d>
KESH_IFMA_INLINE void reduce(Vector* r, Vector* t, const Vector* m, const Vector* mu, Vector k) noexcept {
    constexpr int h = part_of<d>;
    Vector q[h];
    if constexpr (h == d) {
        reduce_part<d - 1, d>(t, q, mu);
    } else {
        reduce_part<h, h>(t, q, mu);
        add_product<h, h>(t + h + 1, q, mu + h);
        reduce_part<h - 1, h>(t + h, q, mu);
        add_product<h - 1, h>(t + d + 1, q, mu + h);
    }
    add_multiple<d>(t + d - 1, low_product<d>(t[d - 1], k), m);
    Vector carry = _mm512_srli_epi64(t[d - 1], digit_bits);
#pragma GCC unroll 20
    for (int j = 0; j < d; ++j) {
        const Vector column = _mm512_add_epi64(t[d + j], carry);
        r[j] = _mm512_and_si512(column, all_lanes(digit_mask));
        carry = _mm512_srli_epi64(column, digit_bits);
    }
}

}  // namespace kesh::kernel::ifma_form
