/**
 * @file   avx2.h
 * @brief  The AVX2 instructions for the kernels, on four lanes of 64 bits, and the attribute of functions that use
 * them.
 *
 * Kernels reach these instructions through this header only. Tests/kernels/model has a header of the same name with
 * plain C++ in place of the instructions, which checks each lane for overflow.
 */
#pragma once

#include <immintrin.h>

#include "Shared/intx/intx_gcc.h"

#define KESH_AVX2 __attribute__((target("avx2")))
#if defined(__OPTIMIZE__)
#define KESH_AVX2_INLINE __attribute__((always_inline)) KESH_AVX2 inline
#else  // see KESH_IFMA_INLINE
#define KESH_AVX2_INLINE KESH_AVX2 inline
#endif

namespace kesh::kernel::avx2_form {

using Vector = __m256i;
using Mask = __m256i;  ///< all bits of a lane set, or none

KESH_AVX2_INLINE Vector all_lanes(umint value) noexcept {
    return _mm256_set1_epi64x(static_cast<long long>(value));
}
/** `memory` has a multiple of 32 as its address. */
KESH_AVX2_INLINE Vector load(const umint* memory) noexcept {
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(memory));
}
KESH_AVX2_INLINE void store(umint* memory, Vector a) noexcept {
    _mm256_store_si256(reinterpret_cast<__m256i*>(memory), a);
}
/** The lowest lane in all lanes. */
KESH_AVX2_INLINE Vector lowest_lane(Vector a) noexcept {
    return _mm256_broadcastq_epi64(_mm256_castsi256_si128(a));
}
/** Each lane in the next lower place, and 0 in the highest one. The lowest lane is dropped. */
KESH_AVX2_INLINE Vector lanes_down(Vector a) noexcept {
    return _mm256_blend_epi32(_mm256_permute4x64_epi64(a, 0b11'11'10'01), _mm256_setzero_si256(), 0b1100'0000);
}
/** Each lane in the next higher place, and 0 in the lowest one. The highest lane is 0. */
KESH_AVX2_INLINE Vector lanes_up(Vector a) noexcept {
    return _mm256_blend_epi32(_mm256_permute4x64_epi64(a, 0b10'01'00'00), _mm256_setzero_si256(), 0b0000'0011);
}
KESH_AVX2_INLINE Vector sum(Vector a, Vector b) noexcept {
    return _mm256_add_epi64(a, b);
}
KESH_AVX2_INLINE Vector difference(Vector a, Vector b) noexcept {
    return _mm256_sub_epi64(a, b);
}
KESH_AVX2_INLINE Vector bit_and(Vector a, Vector b) noexcept {
    return _mm256_and_si256(a, b);
}
KESH_AVX2_INLINE Vector bit_xor(Vector a, Vector b) noexcept {
    return _mm256_xor_si256(a, b);
}
template <int count>
KESH_AVX2_INLINE Vector shifted_right(Vector a) noexcept {
    return _mm256_srli_epi64(a, count);
}
KESH_AVX2_INLINE Vector shifted_right(Vector a, int count) noexcept {
    return _mm256_srl_epi64(a, _mm_cvtsi64_si128(count));
}
/** a 2^count modulo 2^64. */
KESH_AVX2_INLINE Vector shifted_left(Vector a, int count) noexcept {
    return _mm256_sll_epi64(a, _mm_cvtsi64_si128(count));
}
/** 2^s in each lane. */
KESH_AVX2_INLINE Vector power_of_2(Vector s) noexcept {
    return _mm256_sllv_epi64(all_lanes(1), s);
}
KESH_AVX2_INLINE Mask equal_lanes(Vector a, Vector b) noexcept {
    return _mm256_cmpeq_epi64(a, b);
}
/** Bit c is set when lane c of the mask is. */
KESH_AVX2_INLINE unsigned bits_of_mask(Mask mask) noexcept {
    return static_cast<unsigned>(_mm256_movemask_pd(_mm256_castsi256_pd(mask)));
}
/** In each lane a where the mask is set, else b. */
KESH_AVX2_INLINE Vector select(Mask mask, Vector a, Vector b) noexcept {
    return _mm256_blendv_epi8(b, a, mask);
}

/**
 * An operand of a product whose lanes may hold more than 32 bits. The instruction ignores the upper bits; the model
 * accepts such lanes only from this function.
 */
KESH_AVX2_INLINE Vector low_32_bits(Vector a) noexcept {
    return a;
}

/**
 * a b for lanes below 2^32. clang++ takes the intrinsic apart, into the multiplication of 64-bit lanes, for which there
 * is no instruction.
 */
KESH_AVX2_INLINE Vector product(Vector a, Vector b) noexcept {
#if defined(__clang__)
    Vector r;
    __asm__("vpmuludq %2, %1, %0" : "=x"(r) : "x"(a), "x"(b));
    return r;
#else
    return _mm256_mul_epu32(a, b);
#endif
}
/** The same with b from memory. */
KESH_AVX2_INLINE Vector product_with(Vector a, const Vector* b) noexcept {
#if defined(__clang__)
    Vector r;
    __asm__("vpmuludq %2, %1, %0" : "=x"(r) : "x"(a), "m"(*b));
    return r;
#else
    return _mm256_mul_epu32(a, *b);
#endif
}

/**
 * Compilers compute the sum up to here. Without it, for numbers side by side, g++ computes the products of several rows
 * before it adds any, and keeps them in memory: the ladder at 256 bits takes a quarter longer.
 */
KESH_AVX2_INLINE void sum_so_far(Vector& a) noexcept {
    __asm__("" : "+x"(a));
}

}  // namespace kesh::kernel::avx2_form
