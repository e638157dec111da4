/**
 * @file   vector_lanes.h
 * @brief  Montgomery arithmetic on eight numbers in the lanes of 52-bit multiply-adds (AVX-512 IFMA). README.md
 *         derives the form.
 */
#pragma once

#include "Shared/kernel/avx512.h"
#include "Shared/kernel/digits.h"
#include "Shared/kernel/lanes.h"
#include "Shared/kernel/limbs.h"

namespace kesh::kernel {

/**
 * From this many digits on the products are separate functions: their code is long, and their values do not fit into
 * the registers beside those of the loop.
 */
constexpr int outlined_from = 6;

/** Eight numbers: digit i of all of them in the lanes of digit[i]. */
template <int d>
struct Numbers {
    __m512i digit[d];
};

/** Digits of eight numbers in memory, written lane by lane. */
template <int d>
struct alignas(64) DigitTable {
    umint digit[d][lanes];

    /** Puts a value of n limbs into a lane. It has at most d digits. */
    template <int n>
    void put(std::size_t lane, const umint* value) noexcept {
        for (int i = 0; i < d; ++i) {
            const int limb = i * digit_bits / 64, offset = i * digit_bits % 64;
            umint bits = limb < n ? value[limb] >> offset : 0;
            if (offset > 64 - digit_bits && limb + 1 < n) bits |= value[limb + 1] << (64 - offset);
            digit[i][lane] = bits & digit_mask;
        }
    }
};

KESH_IFMA_INLINE __m512i all_lanes(umint value) noexcept {
    return _mm512_set1_epi64(static_cast<long long>(value));
}

template <int d>
KESH_IFMA_INLINE Numbers<d> load(const DigitTable<d>& table) noexcept {
    Numbers<d> r;
    for (int i = 0; i < d; ++i) r.digit[i] = _mm512_load_si512(table.digit[i]);
    return r;
}

/** Normalises the digits of numbers below R' in lanes of any size. Returns the carry out, in units of 2^(52 d). */
template <int d>
KESH_IFMA_INLINE __m512i normalise(Numbers<d>& a) noexcept {
    const __m512i mask = all_lanes(digit_mask);
    __m512i carry = _mm512_setzero_si512();
#pragma GCC unroll 20
    for (int i = 0; i < d; ++i) {
        const __m512i sum = _mm512_add_epi64(a.digit[i], carry);
        a.digit[i] = _mm512_and_si512(sum, mask);
        carry = _mm512_srli_epi64(sum, digit_bits);
    }
    return carry;
}

template <int d>
KESH_IFMA_INLINE Numbers<d> normalised(Numbers<d> a) noexcept {
    normalise<d>(a);
    return a;
}

template <int d>
KESH_IFMA_INLINE Numbers<d> add(const Numbers<d>& a, const Numbers<d>& b) noexcept {
    Numbers<d> r;
#pragma GCC unroll 20
    for (int i = 0; i < d; ++i) r.digit[i] = _mm512_add_epi64(a.digit[i], b.digit[i]);
    return r;
}

/** In each lane a where the mask has a 1, else b. */
template <int d>
KESH_IFMA_INLINE Numbers<d> select(__mmask8 mask, const Numbers<d>& a, const Numbers<d>& b) noexcept {
    Numbers<d> r;
#pragma GCC unroll 20
    for (int i = 0; i < d; ++i) r.digit[i] = _mm512_mask_blend_epi64(mask, b.digit[i], a.digit[i]);
    return r;
}

template <int d>
KESH_IFMA_INLINE unsigned equal(const Numbers<d>& a, const Numbers<d>& b) noexcept {
    unsigned mask = 0xFF;
    for (int i = 0; i < d; ++i) mask &= _mm512_cmpeq_epi64_mask(a.digit[i], b.digit[i]);
    return mask;
}

/** acc[0 .. h] += a b for h digits of b: low halves at their place, high halves one above. */
template <int h>
KESH_IFMA_INLINE void add_row(__m512i* acc, __m512i a, const __m512i* b) noexcept {
#pragma GCC unroll 10
    for (int j = 0; j < h; ++j) acc[j] = _mm512_madd52lo_epu64(acc[j], a, b[j]);
#pragma GCC unroll 10
    for (int j = 0; j < h; ++j) acc[j + 1] = _mm512_madd52hi_epu64(acc[j + 1], a, b[j]);
}

/** t[0 .. rows + h - 1] += a b for `rows` digits of a and h of b. A window of h + 1 columns moves over t. */
template <int rows, int h>
KESH_IFMA_INLINE void add_product_inline(__m512i* t, const __m512i* a, const __m512i* b) noexcept {
    __m512i factor[h], acc[h + 1];
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
KESH_IFMA_INLINE void square_inline(__m512i* t, const __m512i* a) noexcept {
    __m512i x[h], mixed[2 * h];
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
        const __m512i odd = _mm512_add_epi64(mixed[2 * i + 1], mixed[2 * i + 1]);
        t[2 * i + 1] = _mm512_madd52hi_epu64(odd, x[i], x[i]);
        if (i + 1 < h) {
            const __m512i even = _mm512_add_epi64(mixed[2 * i + 2], mixed[2 * i + 2]);
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
KESH_IFMA_INLINE void reduce_inline(__m512i* t, __m512i* q, const __m512i* mu) noexcept {
    __m512i factor[h], acc[h + 1], current = t[0];
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
KESH_IFMA_INLINE void reduce_quickly(__m512i* t, __m512i* q, const __m512i* mu) noexcept {
    __m512i low[rows + h + 1], high[rows + h + 1];
#pragma GCC unroll 10
    for (int j = 0; j < rows + h + 1; ++j) low[j] = high[j] = _mm512_setzero_si512();
#pragma GCC unroll 10
    for (int i = 0; i < rows; ++i) {
        q[i] = low_52_bits(t[i]);
#pragma GCC unroll 10
        for (int j = 0; j < h; ++j) low[i + 1 + j] = _mm512_madd52lo_epu64(low[i + 1 + j], q[i], mu[j]);
#pragma GCC unroll 10
        for (int j = 0; j < h; ++j) high[i + 2 + j] = _mm512_madd52hi_epu64(high[i + 2 + j], q[i], mu[j]);
        const __m512i carry = _mm512_srli_epi64(t[i], digit_bits);
        const __m512i early = _mm512_add_epi64(_mm512_add_epi64(t[i + 1], high[i + 1]), carry);
        t[i + 1] = _mm512_add_epi64(early, low[i + 1]);
    }
#pragma GCC unroll 10
    for (int j = rows + 1; j < rows + h + 1; ++j) t[j] = _mm512_add_epi64(t[j], _mm512_add_epi64(low[j], high[j]));
}

template <int rows, int h>
KESH_IFMA __attribute__((noinline)) void add_product_outlined(__m512i* t, const __m512i* a, const __m512i* b) noexcept {
    add_product_inline<rows, h>(t, a, b);
}
template <int h>
KESH_IFMA __attribute__((noinline)) void square_outlined(__m512i* t, const __m512i* a) noexcept {
    square_inline<h>(t, a);
}
template <int rows, int h>
KESH_IFMA __attribute__((noinline)) void reduce_outlined(__m512i* t, __m512i* q, const __m512i* mu) noexcept {
    reduce_inline<rows, h>(t, q, mu);
}

template <int rows, int h>
KESH_IFMA_INLINE void add_product(__m512i* t, const __m512i* a, const __m512i* b) noexcept {
    if constexpr (h < outlined_from)
        add_product_inline<rows, h>(t, a, b);
    else
        add_product_outlined<rows, h>(t, a, b);
}
template <int h>
KESH_IFMA_INLINE void square(__m512i* t, const __m512i* a) noexcept {
    if constexpr (h < outlined_from)
        square_inline<h>(t, a);
    else
        square_outlined<h>(t, a);
}
template <int rows, int h>
KESH_IFMA_INLINE void reduce(__m512i* t, __m512i* q, const __m512i* mu) noexcept {
    if constexpr (h <= waiting_to)
        reduce_quickly<rows, h>(t, q, mu);
    else if constexpr (h < outlined_from)
        reduce_inline<rows, h>(t, q, mu);
    else
        reduce_outlined<rows, h>(t, q, mu);
}

/**
 * Eight odd moduli m below R' / 16, R' = 2^(52 d), each in its lane, and Montgomery arithmetic modulo them with R'.
 * Operands and results are below 4 m.
 */
template <int d>
class Moduli {
  public:
    using Number = Numbers<d>;

    Moduli() = default;
    KESH_IFMA_INLINE explicit Moduli(const Number& m) noexcept : m_(m), k_(negative_inverse(m.digit[0])) {
        // mu = (m k + 1) / 2^52; the lowest digit of m k is 2^52 - 1.
        __m512i product[d + 1];
        for (__m512i& digit : product) digit = _mm512_setzero_si512();
        product[0] = all_lanes(1);
        for (int j = 0; j < d; ++j) {
            product[j] = _mm512_madd52lo_epu64(product[j], m_.digit[j], k_);
            product[j + 1] = _mm512_madd52hi_epu64(product[j + 1], m_.digit[j], k_);
        }
        for (int j = 0; j < d; ++j) mu_.digit[j] = product[j + 1];
        mu_.digit[0] = _mm512_add_epi64(mu_.digit[0], _mm512_srli_epi64(product[0], digit_bits));
        normalise<d>(mu_);
        // R' - m, the complement of all digits plus 1
        for (int j = 0; j < d; ++j) complement_.digit[j] = _mm512_sub_epi64(all_lanes(digit_mask), m_.digit[j]);
        complement_.digit[0] = _mm512_add_epi64(complement_.digit[0], all_lanes(1));
        normalise<d>(complement_);
    }

    [[nodiscard]] const Number& m() const noexcept {
        return m_;
    }

    /** a b / R' modulo m, below 3 m. */
    KESH_IFMA_INLINE Number mul(const Number& a, const Number& b) const noexcept {
        return normalised<d>(unfinished_mul(a, b));
    }
    /** a b / R' + c modulo m, below 4 m for c <= m. */
    KESH_IFMA_INLINE Number mul_add(const Number& a, const Number& b, const Number& c) const noexcept {
        return normalised<d>(add<d>(unfinished_mul(a, b), c));
    }
    /** a^2 / R' modulo m, below 3 m. */
    KESH_IFMA_INLINE Number sqr(const Number& a) const noexcept {
        return normalised<d>(unfinished_sqr(a));
    }
    /** a^2 / R' + c modulo m, below 4 m for c <= m. */
    KESH_IFMA_INLINE Number sqr_add(const Number& a, const Number& c) const noexcept {
        return normalised<d>(add<d>(unfinished_sqr(a), c));
    }

    /** a 2^s / 2^52 modulo m, below 2 m, for 0 <= s < 50 in each lane. */
    KESH_IFMA_INLINE Number shift(const Number& a, __m512i s) const noexcept {
        __m512i t[d + 1];
#pragma GCC unroll 21
        for (int j = 0; j <= d; ++j) t[j] = _mm512_setzero_si512();
        const __m512i power = _mm512_sllv_epi64(all_lanes(1), s);
        add_wide_row(t, power, a);
        return reduce_last(t);
    }

    /** The residue below m. */
    KESH_IFMA Number residue(Number a) const noexcept {
        for (int i = 0; i < 3; ++i) {
            Number difference = add<d>(a, complement_);
            const __m512i not_below = normalise<d>(difference);
            a = select<d>(_mm512_cmpeq_epi64_mask(not_below, all_lanes(1)), difference, a);
        }
        return a;
    }

    /** m - a for a residue a <= m: the complement of the digits of a + R' - m, plus 1. */
    KESH_IFMA Number negative(const Number& a) const noexcept {
        Number r = add<d>(a, complement_);
        normalise<d>(r);
        for (__m512i& digit : r.digit) digit = _mm512_sub_epi64(all_lanes(digit_mask), digit);
        r.digit[0] = _mm512_add_epi64(r.digit[0], all_lanes(1));
        normalise<d>(r);
        return r;
    }

  private:
    /**
     * -1/m mod 2^52 for an odd digit m. The negative of 3 m xor 2 is right to 5 bits; with m k = -1 + y, k (2 + m k)
     * is right to y^2.
     */
    KESH_IFMA_INLINE static __m512i negative_inverse(__m512i m) noexcept {
        const __m512i triple = _mm512_add_epi64(m, _mm512_add_epi64(m, m));
        const __m512i start = _mm512_and_si512(_mm512_xor_si512(triple, all_lanes(2)), all_lanes(digit_mask));
        __m512i k = _mm512_sub_epi64(all_lanes(digit_mask + 1), start);
        for (int step = 0; step < 4; ++step) {
            const __m512i factor = _mm512_madd52lo_epu64(all_lanes(2), m, low_52_bits(k));
            k = _mm512_madd52lo_epu64(_mm512_setzero_si512(), low_52_bits(k), low_52_bits(factor));
        }
        return k;
    }

    /** The number of digits of the parts into which products are cut. */
    static constexpr int h = d <= 10 ? d : d / 2;

    KESH_IFMA_INLINE Number unfinished_mul(const Number& a, const Number& b) const noexcept {
        __m512i t[2 * d];
#pragma GCC unroll 40
        for (int j = 0; j < 2 * d; ++j) t[j] = _mm512_setzero_si512();
        for (int i = 0; i < d; i += h)
            for (int j = 0; j < d; j += h) add_product<h, h>(t + i + j, a.digit + i, b.digit + j);
        return reduced(t);
    }

    KESH_IFMA_INLINE Number unfinished_sqr(const Number& a) const noexcept {
        __m512i t[2 * d];
        square<h>(t, a.digit);
        if constexpr (h < d) {
            square<h>(t + d, a.digit + h);
            __m512i mixed[d];
            for (__m512i& column : mixed) column = _mm512_setzero_si512();
            add_product<h, h>(mixed, a.digit, a.digit + h);
            for (int j = 0; j < d; ++j) t[h + j] = _mm512_add_epi64(t[h + j], _mm512_add_epi64(mixed[j], mixed[j]));
        }
        return reduced(t);
    }

    /**
     * t / R' modulo m, digits not normalised: below t / R' + 2 m. The first d - 1 rows add quotients times M = m k,
     * together less than R' m; the last row one times m, less again.
     */
    KESH_IFMA_INLINE Number reduced(__m512i* t) const noexcept {
        __m512i q[h];
        if constexpr (h == d) {
            reduce<d - 1, d>(t, q, mu_.digit);
        } else {
            reduce<h, h>(t, q, mu_.digit);
            add_product<h, h>(t + h + 1, q, mu_.digit + h);
            reduce<h - 1, h>(t + h, q, mu_.digit);
            add_product<h - 1, h>(t + d + 1, q, mu_.digit + h);
        }
        const __m512i last = _mm512_madd52lo_epu64(_mm512_setzero_si512(), low_52_bits(t[d - 1]), k_);
        add_wide_row(t + d - 1, last, m_);
        Number r;
#pragma GCC unroll 20
        for (int j = 0; j < d; ++j) r.digit[j] = t[d + j];
        r.digit[0] = _mm512_add_epi64(r.digit[0], _mm512_srli_epi64(t[d - 1], digit_bits));
        return r;
    }

    /** (t + q m) / 2^52, normalised. */
    KESH_IFMA_INLINE Number reduce_last(__m512i* t) const noexcept {
        const __m512i q = _mm512_madd52lo_epu64(_mm512_setzero_si512(), low_52_bits(t[0]), k_);
        add_wide_row(t, q, m_);
        Number r;
#pragma GCC unroll 20
        for (int j = 0; j < d; ++j) r.digit[j] = t[1 + j];
        r.digit[0] = _mm512_add_epi64(r.digit[0], _mm512_srli_epi64(t[0], digit_bits));
        normalise<d>(r);
        return r;
    }

    KESH_IFMA_INLINE static void add_wide_row(__m512i* t, __m512i a, const Number& b) noexcept {
        for (int j = 0; j < d; j += h) add_row<h>(t + j, a, b.digit + j);
    }

    Number m_, mu_, complement_;
    __m512i k_;
};

}  // namespace kesh::kernel
