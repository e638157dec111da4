/**
 * @file   shifts.h
 * @brief  Shifts, also with counts out of range, and bit counts against GMP.
 */
#pragma once

#include "support/agreement.h"

namespace kesh::test {

template <engine_word T>
Verdict check_shifts(const Operands<T>& s) {
    constexpr mint N = width_v<T>;
    const mpz_class a = as_mpz(s.a);

    if (s.count >= 0) {
        const T expected = as_word<T>(a << static_cast<mp_bitcnt_t>(s.count));
        T got = s.b;
        math_left_shift(s.a, s.count, got);
        KESH_AGREE(same(got, expected), "math_left_shift");
        got = s.a;
        math_left_shift_equal(got, s.count);
        KESH_AGREE(same(got, expected), "math_left_shift_equal");
        got = s.a;
        math_left_shift(got, s.count, got);
        KESH_AGREE(same(got, expected), "math_left_shift into its operand");
    }
    {
        const bool in_range = s.count >= 0 && s.count < N;
        const T shifted = in_range ? as_word<T>(a >> static_cast<mp_bitcnt_t>(s.count)) : T(0);
        T got = s.b;
        math_right_shift(s.a, s.count, got);
        KESH_AGREE(same(got, in_range ? shifted : s.b), "math_right_shift");
        got = s.a;
        math_right_shift_equal(got, s.count);
        KESH_AGREE(same(got, in_range ? shifted : s.a), "math_right_shift_equal");
        got = s.a;
        math_right_shift(got, s.count, got);
        KESH_AGREE(same(got, in_range ? shifted : s.a), "math_right_shift into its operand");
    }
    if constexpr (wide_word<T>) {
        T got = s.b, reference = s.b;
        math_right_shift(s.a, s.count, got);
        reference::math_right_shift(s.a, s.count, reference);
        KESH_AGREE(same(got, reference), "reference::math_right_shift");
        if (s.count >= 0) {
            math_left_shift(s.a, s.count, got);
            reference::math_left_shift(s.a, s.count, reference);
            KESH_AGREE(same(got, reference), "reference::math_left_shift");
        }
    }
    if (s.count >= 0 && s.count < N) {
        const auto n = static_cast<mp_bitcnt_t>(s.count);
        const mpz_class both = as_mpz(s.a, s.b);
        const mpz_class left = both << n, right = both >> n;
        T lo, hi;
        math_left_shift(s.a, s.b, s.count, lo, hi);
        KESH_AGREE(same(lo, as_word<T>(left)) && same(hi, as_word<T>(left >> static_cast<mp_bitcnt_t>(N))),
                   "two-word left shift");
        math_right_shift(s.a, s.b, s.count, lo, hi);
        KESH_AGREE(same(lo, as_word<T>(right)) && same(hi, as_word<T>(right >> static_cast<mp_bitcnt_t>(N))),
                   "two-word right shift");
    }

    const mint length = a == 0 ? 0 : static_cast<mint>(mpz_sizeinbase(a.get_mpz_t(), 2));
    const mint trailing = a == 0 ? N : static_cast<mint>(mpz_scan1(a.get_mpz_t(), 0));
    KESH_AGREE(math_num_bits(s.a) == length, "math_num_bits");
    KESH_AGREE(math_count_leading_zeros(s.a) == N - length, "math_count_leading_zeros");
    KESH_AGREE(math_count_trailing_zeros(s.a) == trailing, "math_count_trailing_zeros");
    return {};
}

}  // namespace kesh::test
