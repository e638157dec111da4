/**
 * @file   avx512.h
 * @brief  A software model of the AVX-512 intrinsics that the kernels use, in place of the header of the same name.
 *
 * The intrinsics are declared in the kernels' namespace, where they hide the compiler's. The model checks what the
 * kernels rely on, and ends the program if it does not hold: the operands of a multiply-add are below 2^52 (or come
 * from low_52_bits), no sum, difference or shift to the left loses a bit of a lane, and memory is aligned. For a new
 * intrinsic add a function, with a check unless a kernel loses bits on purpose.
 */
#pragma once

#include <immintrin.h>

#include "Shared/intx/intx_gcc.h"

// Compilers have macros in place of some of these functions, and of more of them without optimisation.
#undef _mm256_add_epi64
#undef _mm256_alignr_epi64
#undef _mm256_and_si256
#undef _mm256_broadcastq_epi64
#undef _mm256_castsi256_si128
#undef _mm256_cmpgt_epu64_mask
#undef _mm256_load_si256
#undef _mm256_madd52hi_epu64
#undef _mm256_madd52lo_epu64
#undef _mm256_mask_blend_epi64
#undef _mm256_maskz_srli_epi64
#undef _mm256_or_si256
#undef _mm256_set1_epi64x
#undef _mm256_setzero_si256
#undef _mm256_sll_epi64
#undef _mm256_srli_epi64
#undef _mm256_store_si256
#undef _mm512_add_epi64
#undef _mm512_alignr_epi64
#undef _mm512_and_si512
#undef _mm512_broadcastq_epi64
#undef _mm512_castsi512_si128
#undef _mm512_castsi512_si256
#undef _mm512_cmpeq_epi64_mask
#undef _mm512_cmpgt_epu64_mask
#undef _mm512_load_si512
#undef _mm512_madd52hi_epu64
#undef _mm512_madd52lo_epu64
#undef _mm512_mask_blend_epi64
#undef _mm512_maskz_srli_epi64
#undef _mm512_mullo_epi64
#undef _mm512_or_si512
#undef _mm512_set1_epi64
#undef _mm512_setzero_si512
#undef _mm512_sll_epi64
#undef _mm512_slli_epi64
#undef _mm512_sllv_epi64
#undef _mm512_srl_epi64
#undef _mm512_srli_epi64
#undef _mm512_srlv_epi64
#undef _mm512_store_si512
#undef _mm512_sub_epi64
#undef _mm512_test_epi64_mask
#undef _mm512_xor_si512
#undef _mm512_zextsi256_si512
#undef _mm_cvtsi64_si128

#define KESH_IFMA
#define KESH_IFMA_INLINE inline

namespace kesh::kernel {

inline namespace model {

struct alignas(16) __m128i {
    umint lane[2];
};

struct alignas(32) __m256i {
    umint lane[4];
};

struct alignas(64) __m512i {
    umint lane[8];
};

__m512i _mm512_load_si512(const void* memory) noexcept;
void _mm512_store_si512(void* memory, const __m512i& a) noexcept;
__m512i _mm512_setzero_si512() noexcept;
__m512i _mm512_set1_epi64(long long a) noexcept;
__m128i _mm_cvtsi64_si128(long long a) noexcept;
__m128i _mm512_castsi512_si128(const __m512i& a) noexcept;
__m512i _mm512_broadcastq_epi64(const __m128i& a) noexcept;
__m512i _mm512_mask_blend_epi64(__mmask8 mask, const __m512i& a, const __m512i& b) noexcept;
/** Lanes `count` to count + 7 of the sixteen lanes of low, then high. */
__m512i _mm512_alignr_epi64(const __m512i& high, const __m512i& low, int count) noexcept;
__m512i _mm512_and_si512(const __m512i& a, const __m512i& b) noexcept;
__m512i _mm512_or_si512(const __m512i& a, const __m512i& b) noexcept;
__m512i _mm512_xor_si512(const __m512i& a, const __m512i& b) noexcept;
__m512i _mm512_srli_epi64(const __m512i& a, unsigned count) noexcept;
__m512i _mm512_maskz_srli_epi64(__mmask8 mask, const __m512i& a, unsigned count) noexcept;
__m512i _mm512_srl_epi64(const __m512i& a, const __m128i& count) noexcept;
__m512i _mm512_srlv_epi64(const __m512i& a, const __m512i& count) noexcept;
__m512i _mm512_sll_epi64(const __m512i& a, const __m128i& count) noexcept;
__m512i _mm512_slli_epi64(const __m512i& a, unsigned count) noexcept;
__m512i _mm512_sllv_epi64(const __m512i& a, const __m512i& count) noexcept;
__mmask8 _mm512_cmpeq_epi64_mask(const __m512i& a, const __m512i& b) noexcept;
__mmask8 _mm512_cmpgt_epu64_mask(const __m512i& a, const __m512i& b) noexcept;
/** The lanes where a and b have a bit in common. */
__mmask8 _mm512_test_epi64_mask(const __m512i& a, const __m512i& b) noexcept;
__m512i _mm512_add_epi64(const __m512i& a, const __m512i& b) noexcept;
__m512i _mm512_sub_epi64(const __m512i& a, const __m512i& b) noexcept;
/** Low halves of 64-bit products: bits are lost on purpose. */
__m512i _mm512_mullo_epi64(const __m512i& a, const __m512i& b) noexcept;
__m512i _mm512_madd52lo_epu64(const __m512i& acc, const __m512i& a, const __m512i& b) noexcept;
__m512i _mm512_madd52hi_epu64(const __m512i& acc, const __m512i& a, const __m512i& b) noexcept;
__m512i low_52_bits(const __m512i& a) noexcept;

__m256i _mm256_load_si256(const __m256i* memory) noexcept;
void _mm256_store_si256(__m256i* memory, const __m256i& a) noexcept;
__m256i _mm256_setzero_si256() noexcept;
__m256i _mm256_set1_epi64x(long long a) noexcept;
__m128i _mm256_castsi256_si128(const __m256i& a) noexcept;
__m256i _mm512_castsi512_si256(const __m512i& a) noexcept;
/** The upper lanes become 0. */
__m512i _mm512_zextsi256_si512(const __m256i& a) noexcept;
__m256i _mm256_broadcastq_epi64(const __m128i& a) noexcept;
__m256i _mm256_mask_blend_epi64(__mmask8 mask, const __m256i& a, const __m256i& b) noexcept;
__m256i _mm256_alignr_epi64(const __m256i& high, const __m256i& low, int count) noexcept;
__m256i _mm256_and_si256(const __m256i& a, const __m256i& b) noexcept;
__m256i _mm256_or_si256(const __m256i& a, const __m256i& b) noexcept;
__m256i _mm256_srli_epi64(const __m256i& a, unsigned count) noexcept;
__m256i _mm256_maskz_srli_epi64(__mmask8 mask, const __m256i& a, unsigned count) noexcept;
__m256i _mm256_sll_epi64(const __m256i& a, const __m128i& count) noexcept;
__mmask8 _mm256_cmpgt_epu64_mask(const __m256i& a, const __m256i& b) noexcept;
__m256i _mm256_add_epi64(const __m256i& a, const __m256i& b) noexcept;
__m256i _mm256_madd52lo_epu64(const __m256i& acc, const __m256i& a, const __m256i& b) noexcept;
__m256i _mm256_madd52hi_epu64(const __m256i& acc, const __m256i& a, const __m256i& b) noexcept;
__m256i low_52_bits(const __m256i& a) noexcept;

/** These only keep compilers from changing an order. */
inline void in_turns(const __m512i&) noexcept {}
inline void in_turns(const __m256i&) noexcept {}

}  // namespace model
}  // namespace kesh::kernel
