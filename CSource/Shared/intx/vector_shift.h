/**
 * @file   vector_shift.h
 * @brief  Shifts of limb arrays by a count that the compiler does not know, two limbs at a time.
 *
 * One pass shifts by bits and by whole limbs. The limbs are copied next to as many zeros, and are read again from a
 * place that is whole pairs of limbs away. Vector shifts then move bits from each pair to its neighbour. They return 0
 * for every count of 64 or more, and a negative count is read as a large unsigned one. No branch depends on the count.
 */
#pragma once

#include <cstddef>

#include "Shared/intx/intx_gcc.h"

#if defined(__x86_64__)

#include <emmintrin.h>

namespace kesh::detail {

/**
 * The counts for c bits, 0 <= c < 128: a limb is x << c, the next one's x << (c - 64) or x >> (64 - c), and that of
 * the one beyond x >> (128 - c); to the right likewise.
 */
struct PairCounts {
    __m128i near, whole, part, far;

    explicit PairCounts(mint c) noexcept
        : near(_mm_cvtsi64_si128(c)),
          whole(_mm_cvtsi64_si128(c - 64)),
          part(_mm_cvtsi64_si128(64 - c)),
          far(_mm_cvtsi64_si128(128 - c)) {}
};

/** r = a << count, of n limbs. Preconditions: n even, 0 <= count < 64 n. r may be a. */
template <std::size_t n>
inline void left_shift_pairs(umint* r, const umint* a, mint count) noexcept {
    constexpr std::size_t pairs = n / 2;
    __m128i padded[2 * pairs + 1];
#pragma GCC unroll 9
    for (std::size_t i = 0; i <= pairs; ++i) padded[i] = _mm_setzero_si128();
    __m128i* const copy = padded + pairs + 1;
#pragma GCC unroll 8
    for (std::size_t i = 0; i < pairs; ++i) copy[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + 2 * i));
    const __m128i* const source = copy - count / 128;
    const PairCounts by(count % 128);
    __m128i below = source[-1];
#pragma GCC unroll 8
    for (std::size_t i = 0; i < pairs; ++i) {
        const __m128i here = source[i];
        const __m128i between = _mm_castpd_si128(_mm_shuffle_pd(_mm_castsi128_pd(below), _mm_castsi128_pd(here), 1));
        const __m128i low = _mm_or_si128(_mm_srl_epi64(between, by.part), _mm_srl_epi64(below, by.far));
        const __m128i high = _mm_or_si128(_mm_sll_epi64(here, by.near), _mm_sll_epi64(between, by.whole));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(r + 2 * i), _mm_or_si128(high, low));
        below = here;
    }
}

/** r = a >> count, likewise. */
template <std::size_t n>
inline void right_shift_pairs(umint* r, const umint* a, mint count) noexcept {
    constexpr std::size_t pairs = n / 2;
    __m128i padded[2 * pairs + 1];
#pragma GCC unroll 8
    for (std::size_t i = 0; i < pairs; ++i) padded[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + 2 * i));
#pragma GCC unroll 9
    for (std::size_t i = pairs; i <= 2 * pairs; ++i) padded[i] = _mm_setzero_si128();
    const __m128i* const source = padded + count / 128;
    const PairCounts by(count % 128);
    __m128i here = source[0];
#pragma GCC unroll 8
    for (std::size_t i = 0; i < pairs; ++i) {
        const __m128i above = source[i + 1];
        const __m128i between = _mm_castpd_si128(_mm_shuffle_pd(_mm_castsi128_pd(here), _mm_castsi128_pd(above), 1));
        const __m128i low = _mm_or_si128(_mm_srl_epi64(here, by.near), _mm_srl_epi64(between, by.whole));
        const __m128i high = _mm_or_si128(_mm_sll_epi64(between, by.part), _mm_sll_epi64(above, by.far));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(r + 2 * i), _mm_or_si128(high, low));
        here = above;
    }
}

}  // namespace kesh::detail

#endif
