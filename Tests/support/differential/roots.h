/**
 * @file   roots.h
 * @brief  Integer square roots against GMP.
 */
#pragma once

#include "Shared/isqrt.h"
#include "support/agreement.h"

namespace kesh::test {

/**
 * math_isqrt has the bits of its reference form everywhere and those of GMP wherever the root of the reference form's
 * innermost level fits its limb; math_isqrt_exact has those of GMP everywhere.
 */
template <engine_word T>
Verdict check_root_of(const Operands<T>& s, const T& a) {
    T root, rest;
    const mpz_class value = as_mpz(a);
    mpz_class expected_root, expected_rest;
    mpz_sqrtrem(expected_root.get_mpz_t(), expected_rest.get_mpz_t(), value.get_mpz_t());
    const T exact_root = as_word<T>(expected_root), exact_rest = as_word<T>(expected_rest);
    math_isqrt(a, root, rest);
    if constexpr (wide_word<T>) {
        T reference_root, reference_rest;
        reference::math_isqrt(a, reference_root, reference_rest);
        KESH_AGREE(same(root, reference_root) && same(rest, reference_rest), "math_isqrt");
        const mint length = math_num_bits(a);
        T top = a;
        math_right_shift_equal(top, length < 64 ? 0 : (length + 1) / 2 * 2 - 64);
        if (length <= 64 || top.limb[0] != ~umint{0}) {
            KESH_AGREE(same(root, exact_root) && same(rest, exact_rest), "math_isqrt below the top of the range");
        } else if (length > 126 && length <= 128) {
            KESH_AGREE(root == power_of_two<T>(64) && rest == a, "math_isqrt at the top of the range");
        }
        math_isqrt_exact(a, root, rest);
        KESH_AGREE(same(root, exact_root) && same(rest, exact_rest), "math_isqrt_exact");
        root = a;
        math_isqrt_exact(root, root, rest);
        KESH_AGREE(same(root, exact_root) && same(rest, exact_rest), "math_isqrt_exact into its operand");
    } else {
        KESH_AGREE(same(root, exact_root) && same(rest, exact_rest), "math_isqrt");
    }
    return {};
}

/** Roots of a, of a perfect square and of its two neighbours. */
template <engine_word T>
Verdict check_roots(const Operands<T>& s) {
    T k, square;
    math_right_shift(s.b, width_v<T> / 2, k);
    math_mul(k, k, square);
    for (const T& a : {s.a, square, minus(square, T(1)), plus(square, T(1))}) {
        if (Verdict v = check_root_of(s, a); !v.empty()) return v;
    }
    T root = s.a, rest;
    math_isqrt(s.a, k, rest);
    math_isqrt(root, root, square);
    KESH_AGREE(same(root, k) && same(square, rest), "math_isqrt into its operand");
    return {};
}

}  // namespace kesh::test
