/**
 * @file   vector_shift.h
 * @brief  Shifts of limb arrays by a count that the compiler does not know, two limbs at a time, or eight.
 *
 * One pass shifts by bits and by whole limbs. The limbs are copied next to as many zeros, and are read again from a
 * place that is whole pairs of limbs away. Vector shifts then move bits from each pair to its neighbour. They return 0
 * for every count of 64 or more, and a negative count is read as a large unsigned one. No branch depends on the count.
 *
 * At the level ifma eight limbs fill a register, and one instruction moves them by any number of places, so nothing is
 * copied. It is assembly, because the header of the intrinsics takes half a second of each compilation.
 */
#pragma once

#include <cstddef>

#include "Shared/intx/level.h"

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

/** Places that a permutation takes its limbs from: it uses them modulo the number of limbs. */
inline constexpr umint places[32] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15,
                                     16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31};

// The moved limbs are zmm2, and zmm3 above it; where the mask has a 0, so have they. The ones beside them go to zmm0
// and zmm1, shifted the other way by the bits that are left of 64, which gives 0 for all 64. The result is stored in
// pairs, as its readers load it: stored at once it was read four times as slowly in one of ten runs.

// vzeroupper clears the upper parts of sixteen registers. A program that is compiled for AVX may keep values there, and
// one that is compiled for AVX-512 also in the mask registers; other compilations have no names for those.
#define KESH_FIRST_VECTORS                                                                                     \
    "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11", "xmm12", \
        "xmm13", "xmm14", "xmm15"
#if defined(__AVX512F__)
#define KESH_VECTOR_CLOBBERS KESH_FIRST_VECTORS, "k1", "k2"
#else
#define KESH_VECTOR_CLOBBERS KESH_FIRST_VECTORS
#endif

/** left_shift_pairs for n = 8 or 16. Call it only if level() is Level::ifma. */
template <std::size_t n>
inline void left_shift_eights(umint* r, const umint* a, mint count) noexcept {
    static_assert(n == 8 || n == 16);
    const mint moved = count / MINT_BITS, bits = count % MINT_BITS, rest = MINT_BITS - bits;
    const umint* const place = places + (static_cast<mint>(n) - moved);
    const unsigned mask = 0xFFFFU << moved;
    if constexpr (n == 8) {
        __asm__ volatile(
            "vmovdqu64 (%[place]), %%zmm2\n\t"
            "kmovw %[mask], %%k1\n\t"
            "vpermq (%[a]), %%zmm2, %%zmm2%{%%k1%}%{z%}\n\t"
            "vpxor %%xmm1, %%xmm1, %%xmm1\n\t"
            "vmovq %[bits], %%xmm4\n\t"
            "vmovq %[rest], %%xmm5\n\t"
            "valignq $7, %%zmm1, %%zmm2, %%zmm0\n\t"
            "vpsllq %%xmm4, %%zmm2, %%zmm2\n\t"
            "vpsrlq %%xmm5, %%zmm0, %%zmm0\n\t"
            "vporq %%zmm0, %%zmm2, %%zmm2\n\t"
            "vmovdqu %%xmm2, (%[r])\n\t"
            "vextracti64x2 $1, %%zmm2, 16(%[r])\n\t"
            "vextracti64x2 $2, %%zmm2, 32(%[r])\n\t"
            "vextracti64x2 $3, %%zmm2, 48(%[r])\n\t"
            "vzeroupper"
            :
            : [r] "r"(r), [a] "r"(a), [place] "r"(place), [mask] "r"(mask), [bits] "r"(bits), [rest] "r"(rest)
            : KESH_VECTOR_CLOBBERS, "memory");
    } else {
        __asm__ volatile(
            "vmovdqu64 (%[a]), %%zmm0\n\t"
            "vmovdqu64 (%[place]), %%zmm2\n\t"
            "vmovdqu64 64(%[place]), %%zmm3\n\t"
            "kmovw %[mask], %%k1\n\t"
            "kmovw %[upper], %%k2\n\t"
            "vpermi2q 64(%[a]), %%zmm0, %%zmm2%{%%k1%}%{z%}\n\t"
            "vpermi2q 64(%[a]), %%zmm0, %%zmm3%{%%k2%}%{z%}\n\t"
            "vpxor %%xmm4, %%xmm4, %%xmm4\n\t"
            "valignq $7, %%zmm4, %%zmm2, %%zmm0\n\t"
            "valignq $7, %%zmm2, %%zmm3, %%zmm1\n\t"
            "vmovq %[bits], %%xmm4\n\t"
            "vmovq %[rest], %%xmm5\n\t"
            "vpsllq %%xmm4, %%zmm2, %%zmm2\n\t"
            "vpsllq %%xmm4, %%zmm3, %%zmm3\n\t"
            "vpsrlq %%xmm5, %%zmm0, %%zmm0\n\t"
            "vpsrlq %%xmm5, %%zmm1, %%zmm1\n\t"
            "vporq %%zmm0, %%zmm2, %%zmm2\n\t"
            "vporq %%zmm1, %%zmm3, %%zmm3\n\t"
            "vmovdqu %%xmm2, (%[r])\n\t"
            "vextracti64x2 $1, %%zmm2, 16(%[r])\n\t"
            "vextracti64x2 $2, %%zmm2, 32(%[r])\n\t"
            "vextracti64x2 $3, %%zmm2, 48(%[r])\n\t"
            "vmovdqu %%xmm3, 64(%[r])\n\t"
            "vextracti64x2 $1, %%zmm3, 80(%[r])\n\t"
            "vextracti64x2 $2, %%zmm3, 96(%[r])\n\t"
            "vextracti64x2 $3, %%zmm3, 112(%[r])\n\t"
            "vzeroupper"
            :
            : [r] "r"(r), [a] "r"(a), [place] "r"(place), [mask] "r"(mask), [upper] "r"(mask >> 8), [bits] "r"(bits),
              [rest] "r"(rest)
            : KESH_VECTOR_CLOBBERS, "memory");
    }
}

/** right_shift_pairs, likewise. */
template <std::size_t n>
inline void right_shift_eights(umint* r, const umint* a, mint count) noexcept {
    static_assert(n == 8 || n == 16);
    const mint moved = count / MINT_BITS, bits = count % MINT_BITS, rest = MINT_BITS - bits;
    const umint* const place = places + moved;
    const unsigned mask = ((1U << n) - 1) >> moved;
    if constexpr (n == 8) {
        __asm__ volatile(
            "vmovdqu64 (%[place]), %%zmm2\n\t"
            "kmovw %[mask], %%k1\n\t"
            "vpermq (%[a]), %%zmm2, %%zmm2%{%%k1%}%{z%}\n\t"
            "vpxor %%xmm1, %%xmm1, %%xmm1\n\t"
            "vmovq %[bits], %%xmm4\n\t"
            "vmovq %[rest], %%xmm5\n\t"
            "valignq $1, %%zmm2, %%zmm1, %%zmm0\n\t"
            "vpsrlq %%xmm4, %%zmm2, %%zmm2\n\t"
            "vpsllq %%xmm5, %%zmm0, %%zmm0\n\t"
            "vporq %%zmm0, %%zmm2, %%zmm2\n\t"
            "vmovdqu %%xmm2, (%[r])\n\t"
            "vextracti64x2 $1, %%zmm2, 16(%[r])\n\t"
            "vextracti64x2 $2, %%zmm2, 32(%[r])\n\t"
            "vextracti64x2 $3, %%zmm2, 48(%[r])\n\t"
            "vzeroupper"
            :
            : [r] "r"(r), [a] "r"(a), [place] "r"(place), [mask] "r"(mask), [bits] "r"(bits), [rest] "r"(rest)
            : KESH_VECTOR_CLOBBERS, "memory");
    } else {
        __asm__ volatile(
            "vmovdqu64 (%[a]), %%zmm0\n\t"
            "vmovdqu64 (%[place]), %%zmm2\n\t"
            "vmovdqu64 64(%[place]), %%zmm3\n\t"
            "kmovw %[mask], %%k1\n\t"
            "kmovw %[upper], %%k2\n\t"
            "vpermi2q 64(%[a]), %%zmm0, %%zmm2%{%%k1%}%{z%}\n\t"
            "vpermi2q 64(%[a]), %%zmm0, %%zmm3%{%%k2%}%{z%}\n\t"
            "vpxor %%xmm4, %%xmm4, %%xmm4\n\t"
            "valignq $1, %%zmm2, %%zmm3, %%zmm0\n\t"
            "valignq $1, %%zmm3, %%zmm4, %%zmm1\n\t"
            "vmovq %[bits], %%xmm4\n\t"
            "vmovq %[rest], %%xmm5\n\t"
            "vpsrlq %%xmm4, %%zmm2, %%zmm2\n\t"
            "vpsrlq %%xmm4, %%zmm3, %%zmm3\n\t"
            "vpsllq %%xmm5, %%zmm0, %%zmm0\n\t"
            "vpsllq %%xmm5, %%zmm1, %%zmm1\n\t"
            "vporq %%zmm0, %%zmm2, %%zmm2\n\t"
            "vporq %%zmm1, %%zmm3, %%zmm3\n\t"
            "vmovdqu %%xmm2, (%[r])\n\t"
            "vextracti64x2 $1, %%zmm2, 16(%[r])\n\t"
            "vextracti64x2 $2, %%zmm2, 32(%[r])\n\t"
            "vextracti64x2 $3, %%zmm2, 48(%[r])\n\t"
            "vmovdqu %%xmm3, 64(%[r])\n\t"
            "vextracti64x2 $1, %%zmm3, 80(%[r])\n\t"
            "vextracti64x2 $2, %%zmm3, 96(%[r])\n\t"
            "vextracti64x2 $3, %%zmm3, 112(%[r])\n\t"
            "vzeroupper"
            :
            : [r] "r"(r), [a] "r"(a), [place] "r"(place), [mask] "r"(mask), [upper] "r"(mask >> 8), [bits] "r"(bits),
              [rest] "r"(rest)
            : KESH_VECTOR_CLOBBERS, "memory");
    }
}

#undef KESH_VECTOR_CLOBBERS
#undef KESH_FIRST_VECTORS

/** r = a << count by the form for the level in force. Preconditions: n even, 0 <= count < 64 n. r may be a. */
template <std::size_t n>
inline void left_shift_limbs(umint* r, const umint* a, mint count) noexcept {
    if constexpr (n >= 8) {
        if (level() >= Level::ifma) {
            left_shift_eights<n>(r, a, count);
            return;
        }
    }
    left_shift_pairs<n>(r, a, count);
}

/** r = a >> count, likewise. */
template <std::size_t n>
inline void right_shift_limbs(umint* r, const umint* a, mint count) noexcept {
    if constexpr (n >= 8) {
        if (level() >= Level::ifma) {
            right_shift_eights<n>(r, a, count);
            return;
        }
    }
    right_shift_pairs<n>(r, a, count);
}

}  // namespace kesh::detail

#endif
