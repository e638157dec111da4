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
 * r = (a1, a0) (b1, b0). In assembly for g++, which adds zeros to upper halves and moves halves of products through
 * memory. If the compiler sees that both factors are the same, the mixed product is computed once.
 */
constexpr void multiply2(umint (&r)[4], umint a0, umint a1, umint b0, umint b1) noexcept {
#if defined(__x86_64__) && !defined(__clang__)
    if (!std::is_constant_evaluated()) {
        umint r0, r1, r2, r3, x0, x1, y0, y1;
        if (__builtin_constant_p(a0 == b0 && a1 == b1) && a0 == b0 && a1 == b1) {
            __asm__(
                "movq %[a0], %%rax\n\t"
                "mulq %[a0]\n\t"
                "movq %%rax, %[r0]\n\t"
                "movq %%rdx, %[r1]\n\t"
                "movq %[a0], %%rax\n\t"
                "mulq %[a1]\n\t"
                "movq %%rax, %[x0]\n\t"
                "movq %%rdx, %[x1]\n\t"
                "movq %[a1], %%rax\n\t"
                "mulq %[a1]\n\t"
                "addq %[x0], %[r1]\n\t"
                "adcq %[x1], %%rax\n\t"
                "adcq $0, %%rdx\n\t"
                "addq %[x0], %[r1]\n\t"
                "adcq %[x1], %%rax\n\t"
                "adcq $0, %%rdx"
                : [r0] "=&r"(r0), [r1] "=&r"(r1), "=&a"(r2), "=&d"(r3), [x0] "=&r"(x0), [x1] "=&r"(x1)
                : [a0] "r"(a0), [a1] "r"(a1)
                : "cc");
        } else {
            __asm__(
                "movq %[a0], %%rax\n\t"
                "mulq %[b0]\n\t"
                "movq %%rax, %[r0]\n\t"
                "movq %%rdx, %[r1]\n\t"
                "movq %[a0], %%rax\n\t"
                "mulq %[b1]\n\t"
                "movq %%rax, %[x0]\n\t"
                "movq %%rdx, %[x1]\n\t"
                "movq %[a1], %%rax\n\t"
                "mulq %[b0]\n\t"
                "movq %%rax, %[y0]\n\t"
                "movq %%rdx, %[y1]\n\t"
                "movq %[a1], %%rax\n\t"
                "mulq %[b1]\n\t"
                "addq %[x0], %[r1]\n\t"
                "adcq %[x1], %%rax\n\t"
                "adcq $0, %%rdx\n\t"
                "addq %[y0], %[r1]\n\t"
                "adcq %[y1], %%rax\n\t"
                "adcq $0, %%rdx"
                : [r0] "=&r"(r0), [r1] "=&r"(r1), "=&a"(r2),
                  "=&d"(r3), [x0] "=&r"(x0), [x1] "=&r"(x1), [y0] "=&r"(y0), [y1] "=&r"(y1)
                : [a0] "r"(a0), [a1] "r"(a1), [b0] "r"(b0), [b1] "r"(b1)
                : "cc");
        }
        r[0] = r0, r[1] = r1, r[2] = r2, r[3] = r3;
        return;
    }
#endif
    // No sum leaves 128 bits.
    const umint2 p00 = limb_product(a0, b0);
    const umint2 middle = limb_product(a0, b1) + high_limb(p00);
    const umint2 sum = limb_product(a1, b0) + low_limb(middle);
    const umint2 upper = limb_product(a1, b1) + high_limb(middle) + high_limb(sum);
    r[0] = low_limb(p00), r[1] = low_limb(sum), r[2] = low_limb(upper), r[3] = high_limb(upper);
}

/** Stores two limbs from general registers. */
constexpr void store_two_limbs(umint* r, umint low, umint high) noexcept {
    keep_scalar(low);
    keep_scalar(high);
    r[0] = low;
    r[1] = high;
}

/** hi:lo = a b, of n limbs each. lo and hi must not overlap a or b. */
template <std::size_t n>
inline void full_product(umint* lo, umint* hi, const umint* a, const umint* b) noexcept {
    if constexpr (n == 2) {
        umint product[4] = {};
        multiply2(product, a[0], a[1], b[0], b[1]);
        store_two_limbs(lo, product[0], product[1]);
        store_two_limbs(hi, product[2], product[3]);
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
    umint t[4] = {}, part[4] = {};
    multiply2(t, a[0], a[1], b[0], b[1]);
    // The inverse is negated, not the product: nothing waits for it.
    umint n0 = umint{0} - mprime[0], n1 = umint{0} - mprime[1] - (mprime[0] != 0 ? 1 : 0);
    keep_scalar(n0);
    keep_scalar(n1);
    const umint2 q = two_limbs(t[1], t[0]) * two_limbs(n1, n0);
    multiply2(part, low_limb(q), high_limb(q), m[0], m[1]);
    // In limbs, because g++ moves 128-bit integers through memory.
    const umint borrow = subtract_limbs<2>(t, t + 2, part + 2);
    const umint addend[2] = {m[0] & (umint{0} - borrow), m[1] & (umint{0} - borrow)};
    add_limbs<2>(t, t, addend);
    store_two_limbs(r, t[0], t[1]);
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
