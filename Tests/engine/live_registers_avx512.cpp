/**
 * @file   live_registers_avx512.cpp
 * @brief  Shifts of the engine between values in vector and mask registers, compiled for AVX-512.
 *
 * The assembly of the shifts changes such registers. Code that is compiled for processors with them relies on being
 * told.
 */
#include <immintrin.h>

#include "Shared/intx/intx_operator.h"

namespace {

/**
 * A sum of 40 numbers and three masks that are in registers while `shift` runs. `flatten` makes the shift a part of
 * this function: for a function that is called, the compiler saves such registers anyway.
 */
template <class Shift>
[[gnu::flatten]] double sum_around(const double* numbers, const long long* zero_to_seven, Shift shift) {
    __m256d vector[10];
    for (int i = 0; i < 10; ++i) vector[i] = _mm256_loadu_pd(numbers + 4 * i);
    const __m512i lanes = _mm512_loadu_si512(zero_to_seven);
    __mmask8 below_4 = _mm512_cmplt_epi64_mask(lanes, _mm512_set1_epi64(4));
    __mmask8 below_2 = _mm512_cmplt_epi64_mask(lanes, _mm512_set1_epi64(2));
    __mmask8 below_6 = _mm512_cmplt_epi64_mask(lanes, _mm512_set1_epi64(6));
    // The compiler knows nothing of these values, so that it cannot compute them again after the shift.
    for (__m256d& v : vector) __asm__ volatile("" : "+x"(v));
    __asm__ volatile("" : "+k"(below_4), "+k"(below_2), "+k"(below_6));
    shift();
    __asm__ volatile("" : "+k"(below_4), "+k"(below_2), "+k"(below_6));
    for (__m256d& v : vector) __asm__ volatile("" : "+x"(v));
    __m256d sum = vector[0];
    for (int i = 1; i < 10; ++i) sum = _mm256_add_pd(sum, vector[i]);
    double parts[4];
    _mm256_storeu_pd(parts, sum);
    return parts[0] + parts[1] + parts[2] + parts[3] + 1e3 * below_4 + 1e6 * below_2 + 1e9 * below_6;
}

template <kesh::mint N>
bool keeps_registers(const double* numbers, const long long* zero_to_seven, kesh::mint count) {
    const kesh::uintx_t<N> a(-1);
    kesh::uintx_t<N> left, right;
    // 0 + 1 + ... + 39 = 780; the masks are 15, 3 and 63.
    constexpr double expected = 780 + 15e3 + 3e6 + 63e9;
    return sum_around(numbers, zero_to_seven,
                      [&] { kesh::detail::left_shift_eights<N / 64>(left.limb, a.limb, count); }) == expected &&
           sum_around(numbers, zero_to_seven,
                      [&] { kesh::detail::right_shift_eights<N / 64>(right.limb, a.limb, count); }) == expected &&
           (left >> count) == right && left != right;
}

}  // namespace

/** numbers: 0 to 39. */
bool shifts_keep_registers(const double* numbers, const long long* zero_to_seven, long count) {
    return keeps_registers<512>(numbers, zero_to_seven, count) && keeps_registers<1024>(numbers, zero_to_seven, count);
}
