/// @file   portable.h
/// @brief  Montgomery products by rows of 64 x 64 -> 128 bit products, for any processor.
///
/// Reduction row by row: with q = t[0] k mod 2^64, t + q m is divisible by 2^64, and after n such rows t < 2 m holds.
/// It costs n^2 + n limb products where the form with a full low-half product costs 1.5 n^2 + n/2, and gives the same
/// residue, since both give the only number below m that is congruent to t / R.
#pragma once

#include "Shared/kernel/limbs.h"
#include "Shared/kernel/routines.h"

namespace kesh::kernel {

/// t[0 .. n-1] += a b; returns the limb that is carried out. The sum of the two addends fits: (B-1)^2 + 2 (B-1) = B^2
/// - 1.
template <int n>
inline umint add_product_row(umint* t, const umint* a, umint b) noexcept {
    umint carry = 0;
#pragma GCC unroll 16
    for (int j = 0; j < n; ++j) {
        const umint2 p = static_cast<umint2>(a[j]) * b + t[j] + carry;
        t[j] = static_cast<umint>(p);
        carry = static_cast<umint>(p >> 64);
    }
    return carry;
}

struct Portable {
    /// Row i adds a b[i] and one reduction row, and drops the limb that became 0; `top` is the limb above t's n, 0
    /// or 1.
    template <int n>
    static inline void mul(umint* r, const umint* a, const umint* b, const Modulus<n>& modulus) noexcept {
        umint t[n + 1] = {};
        umint top = 0;
#pragma GCC unroll 4
        for (int i = 0; i < n; ++i) {
            const umint high = add_product_row<n>(t, a, b[i]);
            const umint low = add_product_row<n>(t, modulus.m, t[0] * modulus.k);
            for (int j = 1; j < n; ++j) t[j - 1] = t[j];
            const std::uint8_t carry = math_addcarry(0, high, low, t[n - 1]);
            top = carry + umint{math_addcarry(0, t[n - 1], top, t[n - 1])};
        }
        reduce_once<n>(r, t, top, modulus.m);
    }

    /// The square is twice the products a[i] a[j], i < j, plus the squares a[i]^2: n(n+1)/2 limb products.
    template <int n>
    static inline void sqr(umint* r, const umint* a, const Modulus<n>& modulus) noexcept {
        umint t[2 * n] = {};
#pragma GCC unroll 16
        for (int i = 0; i + 1 < n; ++i) {
            umint carry = 0;
#pragma GCC unroll 16
            for (int j = i + 1; j < n; ++j) {
                const umint2 p = static_cast<umint2>(a[i]) * a[j] + t[i + j] + carry;
                t[i + j] = static_cast<umint>(p);
                carry = static_cast<umint>(p >> 64);
            }
            t[i + n] = carry;
        }
        std::uint8_t carry = 0;
        umint shifted_out = 0;
#pragma GCC unroll 16
        for (int i = 0; i < n; ++i) {
            const umint2 square = static_cast<umint2>(a[i]) * a[i];
            const umint even = (t[2 * i] << 1) | shifted_out;
            const umint odd = (t[2 * i + 1] << 1) | (t[2 * i] >> 63);
            shifted_out = t[2 * i + 1] >> 63;
            carry = math_addcarry(carry, even, static_cast<umint>(square), t[2 * i]);
            carry = math_addcarry(carry, odd, static_cast<umint>(square >> 64), t[2 * i + 1]);
        }
        reduce<n>(r, t, modulus);
    }

  private:
    /// r = t / R mod m for a t of 2 n limbs below m R, by n rows. Destroys t.
    template <int n>
    static inline void reduce(umint* r, umint* t, const Modulus<n>& modulus) noexcept {
        umint top = 0;
#pragma GCC unroll 4
        for (int i = 0; i < n; ++i) {
            const umint high = add_product_row<n>(t + i, modulus.m, t[i] * modulus.k);
            const std::uint8_t carry = math_addcarry(0, t[i + n], high, t[i + n]);
            top = carry + umint{math_addcarry(0, t[i + n], top, t[i + n])};
        }
        reduce_once<n>(r, t + n, top, modulus.m);
    }
};

}  // namespace kesh::kernel
