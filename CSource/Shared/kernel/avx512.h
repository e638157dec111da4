/**
 * @file   avx512.h
 * @brief  The AVX-512 instructions for the kernels: the compiler's intrinsics, and the attribute of functions that use
 *         them.
 *
 * Kernels reach the intrinsics through this header only. Tests/kernels/model has a header of the same name whose
 * intrinsics are functions in plain C++, and compiles the kernels' sources a second time with that one. So their
 * tests run on every processor, and each lane is checked for overflow.
 */
#pragma once

// The header of g++ 12 initialises a register with itself to mean "any value" and then warns of it (GCC bug 105593).
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop
#else
#include <immintrin.h>
#endif

#define KESH_IFMA __attribute__((target("avx512f,avx512dq,avx512vl,avx512ifma,bmi2")))
#if defined(__OPTIMIZE__)
#define KESH_IFMA_INLINE __attribute__((always_inline)) KESH_IFMA inline
#else  // inlined code that is not optimised takes compilers minutes with the checks of sanitizers
#define KESH_IFMA_INLINE KESH_IFMA inline
#endif

namespace kesh::kernel {

/**
 * An operand of a multiply-add whose lanes may hold more than 52 bits. The instruction ignores the upper bits; the
 * model accepts such lanes only from this function.
 */
KESH_IFMA_INLINE __m512i low_52_bits(__m512i a) noexcept {
    return a;
}
KESH_IFMA_INLINE __m256i low_52_bits(__m256i a) noexcept {
    return a;
}

/**
 * Compilers keep the order of these. Without them clang++ computes one product of a pair after the other, and no longer
 * hides the latency of one behind the other.
 */
KESH_IFMA_INLINE void in_turns(__m512i& a) noexcept {
    __asm__ volatile("" : "+v"(a));
}
KESH_IFMA_INLINE void in_turns(__m256i& a) noexcept {
    __asm__ volatile("" : "+v"(a));
}

}  // namespace kesh::kernel
