/**
 * @file   products.h
 * @brief  Full, low-half, square, limb and three-word products against GMP, and the fast forms against the reference
 *         forms.
 */
#pragma once

#include "support/agreement.h"

namespace kesh::test {

template <engine_word T>
Verdict check_products(const Operands<T>& s) {
    constexpr auto n = static_cast<mp_size_t>(limbs_v<T>);
    mp_limb_t expected[2 * n];
    T expected_lo, expected_hi, lo, hi;

    mpn_mul_n(expected, limbs_of(s.a), limbs_of(s.b), n);
    mpn_copyi(limbs_of(expected_lo), expected, n);
    mpn_copyi(limbs_of(expected_hi), expected + n, n);
    math_mul(s.a, s.b, lo, hi);
    KESH_AGREE(same(lo, expected_lo) && same(hi, expected_hi), "math_mul (full)");
    // Each form starts from other values, or one that does nothing would agree.
    lo = hi = s.c;
    math_mul(s.b, s.a, lo, hi);
    KESH_AGREE(same(lo, expected_lo) && same(hi, expected_hi), "math_mul (full), operands exchanged");
    lo = hi = s.c;
    math_mul(s.a, s.b, lo);
    KESH_AGREE(same(lo, expected_lo), "math_mul (low half)");
    if constexpr (wide_word<T>) {
        lo = hi = s.c;
        reference::math_mul(s.a, s.b, lo, hi);
        KESH_AGREE(same(lo, expected_lo) && same(hi, expected_hi), "reference::math_mul (full)");
        lo = hi = s.c;
        reference::math_mul(s.a, s.b, lo);
        KESH_AGREE(same(lo, expected_lo), "reference::math_mul (low half)");
        KESH_AGREE(s.a * s.b == expected_lo && (lo = s.a, lo *= s.b) == expected_lo, "*");
        KESH_AGREE(s.a * s.limb == s.a * T(s.limb), "T * umint");
        const int factor = static_cast<int>(s.limb);
        KESH_AGREE(factor * s.a == T(factor) * s.a, "int * T");
    }

    mpn_sqr(expected, limbs_of(s.a), n);
    mpn_copyi(limbs_of(expected_lo), expected, n);
    mpn_copyi(limbs_of(expected_hi), expected + n, n);
    math_mul(s.a, s.a, lo, hi);
    KESH_AGREE(same(lo, expected_lo) && same(hi, expected_hi), "math_mul (square)");

    // a b + c0 + cc 2^64 = r + top 2^N + co 2^(N+64)
    T r;
    unsigned char co = 2;
    const umint c0 = limbs_of(s.c)[0];
    const umint top = math_mul_ui(s.carry, c0, s.a, s.limb, co, r);
    mpz_class in = as_mpz(s.a) * as_mpz(s.limb) + as_mpz(c0) + (mpz_class(s.carry) << 64);
    mpz_class out = as_mpz(r) + (as_mpz(top) << static_cast<mp_bitcnt_t>(width_v<T>)) +
                    (mpz_class(co) << static_cast<mp_bitcnt_t>(width_v<T> + 64));
    KESH_AGREE(in == out, "math_mul_ui");

    const mpz_class shifted = (as_mpz(s.a, s.b) * as_mpz(s.d)) >> static_cast<mp_bitcnt_t>(width_v<T>);
    math_mul_21(s.a, s.b, s.d, lo, hi);
    KESH_AGREE(as_mpz(lo, hi) == shifted, "math_mul_21");
    lo = s.a;
    hi = s.b;
    math_mul_21(lo, hi, s.d, lo, hi);
    KESH_AGREE(as_mpz(lo, hi) == shifted, "math_mul_21 into its operands");
    return {};
}

}  // namespace kesh::test
