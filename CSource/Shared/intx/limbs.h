/**
 * @file   limbs.h
 * @brief  Sums, differences and rows of products on limb arrays, least significant limb first. The engine's products
 *         and divisions and the kernels of the primality tests consist of these. No branch depends on the values.
 */
#pragma once

#include <cstddef>

#include "Shared/intx/intx_gcc.h"

namespace kesh::detail {

/** r = a + b + carry, of n limbs; returns the carry. r may be a or b. */
template <std::size_t n>
constexpr std::uint8_t add_limbs(umint* r, const umint* a, const umint* b, std::uint8_t carry = 0) noexcept {
#pragma GCC unroll 32
    for (std::size_t i = 0; i < n; ++i) carry = math_addcarry(carry, a[i], b[i], r[i]);
    return carry;
}

/** r += carry, of n limbs; returns the carry. */
template <std::size_t n>
constexpr std::uint8_t add_carry(umint* r, std::uint8_t carry) noexcept {
#pragma GCC unroll 32
    for (std::size_t i = 0; i < n; ++i) carry = math_addcarry(carry, r[i], 0, r[i]);
    return carry;
}

/** r = a - b - borrow, of n limbs; returns the borrow. r may be a or b. */
template <std::size_t n>
constexpr std::uint8_t subtract_limbs(umint* r, const umint* a, const umint* b, std::uint8_t borrow = 0) noexcept {
#pragma GCC unroll 32
    for (std::size_t i = 0; i < n; ++i) borrow = math_subborrow(borrow, a[i], b[i], r[i]);
    return borrow;
}

/** r = mask ? a : b, of n limbs, for a mask of all ones or zero. r may be a or b. */
template <std::size_t n>
constexpr void select(umint* r, umint mask, const umint* a, const umint* b) noexcept {
#pragma GCC unroll 16
    for (std::size_t i = 0; i < n; ++i) {
        umint limb = b[i] ^ ((a[i] ^ b[i]) & mask);
        keep_scalar(limb);
        r[i] = limb;
    }
}

/**
 * r = (top 2^(64 n) + t) mod m for a value below 2 m: the difference is always computed, and one of both is selected. r
 * may be t.
 */
template <std::size_t n>
constexpr void reduce_once(umint* r, const umint* t, umint top, const umint* m) noexcept {
    umint difference[n];
    const umint borrow = subtract_limbs<n>(difference, t, m);
    select<n>(r, umint{0} - (borrow & (top ^ 1)), t, difference);
}

/**
 * r = t + a b + carry, of n limbs; returns the limb above. The sum of the addends fits: (B-1)^2 + 2 (B-1) = B^2 - 1.
 * r may be t or a.
 */
constexpr umint add_product_row(umint* r, const umint* t, const umint* a, umint b, std::size_t n,
                                umint carry = 0) noexcept {
    for (std::size_t i = 0; i < n; ++i) {
        const umint2 sum = limb_product(a[i], b) + t[i] + carry;
        r[i] = low_limb(sum);
        carry = high_limb(sum);
    }
    return carry;
}

/** The same for a number of limbs that the compiler knows. */
template <std::size_t n>
constexpr umint add_product_row(umint* r, const umint* t, const umint* a, umint b, umint carry = 0) noexcept {
#pragma GCC unroll 16
    for (std::size_t i = 0; i < n; ++i) carry = add_product_row(r + i, t + i, a + i, b, 1, carry);
    return carry;
}

}  // namespace kesh::detail
