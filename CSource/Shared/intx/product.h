/**
 * @file   product.h
 * @brief  The products of the integer engine: by columns on any processor, by rows on those with BMI2 and ADX.
 *
 * Both return the same bits. The wider products are separate functions that are not inlined: compared with them a call
 * costs nothing.
 */
#pragma once

#include "Shared/intx/adx_rows.h"
#include "Shared/intx/columns.h"
#include "Shared/intx/level.h"

namespace kesh::detail {

template <std::size_t n>
[[gnu::noinline]] inline void full_product_outlined(umint* lo, umint* hi, const umint* a, const umint* b) noexcept {
    full_product_columns<n>(lo, hi, a, b);
}

template <std::size_t n>
[[gnu::noinline]] inline void low_product_outlined(umint* lo, const umint* a, const umint* b) noexcept {
    low_product_columns<n>(lo, a, b);
}

template <std::size_t n>
[[gnu::noinline]] inline void montgomery_product_outlined(umint* r, const umint* a, const umint* b, const umint* m,
                                                          umint k0) noexcept {
    montgomery_product_columns<n>(r, a, b, m, k0);
}

/**
 * The product of two limbs by two in halves: the lower half is returned in `lower`, the upper one as the result. No
 * sum leaves 128 bits.
 */
constexpr umint2 product_of_two_limbs(umint a0, umint a1, umint b0, umint b1, umint2& lower) noexcept {
    const umint2 p00 = limb_product(a0, b0);
    const umint2 middle = limb_product(a0, b1) + high_limb(p00);
    const umint2 sum = limb_product(a1, b0) + low_limb(middle);
    lower = two_limbs(low_limb(sum), low_limb(p00));
    return limb_product(a1, b1) + high_limb(middle) + high_limb(sum);
}

/** Stores two limbs from general registers. */
constexpr void store_two_limbs(umint* r, umint2 value) noexcept {
    umint low = low_limb(value), high = high_limb(value);
    keep_scalar(low);
    keep_scalar(high);
    r[0] = low;
    r[1] = high;
}

/** hi:lo = a b, of n limbs each. lo and hi must not overlap a or b. */
template <std::size_t n>
inline void full_product(umint* lo, umint* hi, const umint* a, const umint* b) noexcept {
    if constexpr (n == 2) {
        umint2 lower = 0;
        const umint2 upper = product_of_two_limbs(a[0], a[1], b[0], b[1], lower);
        store_two_limbs(lo, lower);
        store_two_limbs(hi, upper);
    } else {
#if defined(__x86_64__)
        if (level() >= Level::adx) {
            if constexpr (n == 4) multiply4(lo, hi, a, b);
            if constexpr (n == 8) multiply8(lo, hi, a, b);
            if constexpr (n == 16) multiply16(lo, hi, a, b);
            return;
        }
#endif
        full_product_outlined<n>(lo, hi, a, b);
    }
}

/** lo = a b modulo 2^(64 n). lo must not overlap a or b. */
template <std::size_t n>
inline void low_product(umint* lo, const umint* a, const umint* b) noexcept {
    if constexpr (n <= 4)
        low_product_columns<n>(lo, a, b);
    else
        low_product_outlined<n>(lo, a, b);
}

/**
 * The Montgomery product of two limbs, whose time is the latency of the chain of instructions. With q = t / m mod
 * 2^128, q m has the low half of t = a b, so that (t - q m) / 2^128 is the difference of the high halves, between -m
 * and m: neither the low half of q m nor its sum is needed, and the borrow replaces the comparison. mprime = -1/m mod
 * 2^128.
 */
inline void montgomery_product2(umint* r, const umint* a, const umint* b, const umint* m,
                                const umint* mprime) noexcept {
    umint2 t = 0, dropped = 0;
    const umint2 upper = product_of_two_limbs(a[0], a[1], b[0], b[1], t);
    const umint2 q = umint2{0} - t * two_limbs(mprime[1], mprime[0]);
    const umint2 part = product_of_two_limbs(low_limb(q), high_limb(q), m[0], m[1], dropped);
    const umint mask = umint{0} - static_cast<umint>(upper < part);
    store_two_limbs(r, upper - part + two_limbs(m[1] & mask, m[0] & mask));
}

/**
 * r = a b R^(-1) mod m, R = 2^(64 n), mprime = -m^(-1) mod R. Precondition: a b < m R. r may be a or b. Above two
 * limbs only the lowest limb of mprime is read.
 */
template <std::size_t n>
inline void montgomery_product(umint* r, const umint* a, const umint* b, const umint* m, const umint* mprime) noexcept {
    if constexpr (n == 2) {
        montgomery_product2(r, a, b, m, mprime);
    } else {
#if defined(__x86_64__)
        if (level() >= Level::adx) {
            if constexpr (n == 4) montgomery_product4(r, a, b, m, mprime[0]);
            if constexpr (n == 8) montgomery_product8(r, a, b, m, mprime[0]);
            if constexpr (n == 16) montgomery_product16(r, a, b, m, mprime[0]);
            return;
        }
#endif
        montgomery_product_outlined<n>(r, a, b, m, mprime[0]);
    }
}

}  // namespace kesh::detail
