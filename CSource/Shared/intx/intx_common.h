/// @file   intx_common.h
/// @brief  The generic algorithms: carries, shifts, bit counts, products, division, inverses.
#pragma once

#include "Shared/intx/intx_gcc.h"

namespace kesh {

/// -a^(-1) modulo 2^64 for odd a (an even a yields a meaningless value).
/// Newton-Hensel: y = a + 2 is right modulo 4, because a (a + 2) = (a + 1)^2 - 1, and every step y (a y + 2) doubles the bits.
constexpr umint math_mod_inv_2(const umint& a) noexcept {
    umint y = a + 2;
    y *= a * y + 2;
    y *= a * y + 2;
    y *= a * y + 2;
    y *= a * y + 2;
    y *= a * y + 2;
    return y;
}

/// Inverse of u modulo v in [1, v); 0 when gcd(u, v) != 1 and when v = 1. u may be larger than v. Precondition: v != 0.
/// Extended Euclid with a non-negative cofactor and a sign toggle; the cofactors never exceed v.
constexpr umint math_invmod(umint u, umint v) noexcept {
    if (v == 1) return 0;
    umint x = 1, y = 0, a = u, b = v;
    int iter = 1;
    while (b != 0) {
        umint q = 0, t = 0;
        math_divmod(a, b, q, t);
        const umint z = x + q * y;
        x = y;
        y = z;
        a = b;
        b = t;
        iter = -iter;
    }
    if (a != 1) return 0;
    return iter > 0 ? x : v - x;
}

}  // namespace kesh
