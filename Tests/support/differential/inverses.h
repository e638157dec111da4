/**
 * @file   inverses.h
 * @brief  Inverses modulo 2^N and modulo arbitrary moduli against GMP.
 */
#pragma once

#include "support/agreement.h"

namespace kesh::test {

template <engine_word T>
Verdict check_inverse_mod_2(const Operands<T>& s) {
    T odd = s.a, product;
    math_or_equal(odd, T(1));
    math_mul(odd, math_mod_inv_2(odd), product);
    KESH_AGREE(same(product, minus(T(0), T(1))), "math_mod_inv_2");
    return {};
}

template <engine_word T>
Verdict check_invmod(const Operands<T>& s) {
    if (math_is_zero(s.d)) return {};
    const mpz_class u = as_mpz(s.a), v = as_mpz(s.d);
    mpz_class expected;
    if (v == 1 || mpz_invert(expected.get_mpz_t(), u.get_mpz_t(), v.get_mpz_t()) == 0) expected = 0;
    KESH_AGREE(same(math_invmod(s.a, s.d), as_word<T>(expected)), "math_invmod");
    KESH_AGREE(same(reference::math_invmod(s.a, s.d), as_word<T>(expected)), "reference::math_invmod");
    return {};
}

}  // namespace kesh::test
