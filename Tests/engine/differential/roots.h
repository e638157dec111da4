/// @file   roots.h
/// @brief  Integer square roots against GMP.
#pragma once

#include "Shared/isqrt.h"
#include "engine/differential/gmp.h"

namespace kesh::testing {

/// True where the wide root is not the exact one: the normalised value begins with a limb of ones.
template <wide_word T>
bool root_out_of_range(const T& a) {
    const mint shift = math_count_leading_zeros(a) & ~mint{1};
    if (math_is_zero(a.hi())) {
        if constexpr (T::bits == 128)
            return false;
        else
            return root_out_of_range(a.hi() | a.lo());
    }
    if (T::bits == 128 && shift != 0) return false;  // undoing the shift brings the estimate back into range
    return (a << shift).limb[T::limbs - 1] == ~umint{0};
}

template <engine_word T>
verdict check_root_of(const operands<T>& s, const T& a) {
    T root, rest;
    math_isqrt(a, root, rest);
    if constexpr (wide_word<T>) {
        if (root_out_of_range(a)) {
            if (T::bits == 128) {
                KESH_AGREE(root == power_of_two<T>(64) && rest == a, "math_isqrt at the top of the range");
            }
            return {};
        }
    }
    const mpz_class value = as_mpz(a);
    mpz_class expected_root, expected_rest;
    mpz_sqrtrem(expected_root.get_mpz_t(), expected_rest.get_mpz_t(), value.get_mpz_t());
    KESH_AGREE(same(root, as_word<T>(expected_root)) && same(rest, as_word<T>(expected_rest)), "math_isqrt");
    return {};
}

/// Roots of a, of a perfect square and of its two neighbours.
template <engine_word T>
verdict check_roots(const operands<T>& s) {
    T k, square;
    math_right_shift(s.b, width_v<T> / 2, k);
    math_mul(k, k, square);
    for (const T& a : {s.a, square, minus(square, T(1)), plus(square, T(1))}) {
        if (verdict v = check_root_of(s, a); !v.empty()) return v;
    }
    T root = s.a, rest;
    math_isqrt(s.a, k, rest);
    math_isqrt(root, root, square);
    KESH_AGREE(same(root, k) && same(square, rest), "math_isqrt into its operand");
    return {};
}

}  // namespace kesh::testing
