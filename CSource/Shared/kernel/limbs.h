/**
 * @file   limbs.h
 * @brief  The operations of the kernels on limb arrays, besides the sums and rows of the engine. No branch depends on
 *         the values.
 */
#pragma once

#include "Shared/intx/intx_common.h"

namespace kesh::kernel {

using detail::add_limbs;
using detail::add_product_row;
using detail::keep_scalar;
using detail::reduce_once;
using detail::select;
using detail::subtract_limbs;

/** x = 2 x mod m when `bit` is 1, x unchanged when it is 0. */
template <int n>
inline void double_if(umint* x, umint bit, const umint* m) noexcept {
    const umint mask = umint{0} - bit;
    umint t[n];
    std::uint8_t carry = 0;
#pragma GCC unroll 16
    for (int i = 0; i < n; ++i) {
        umint addend = x[i] & mask;
        keep_scalar(addend);
        carry = math_addcarry(carry, x[i], addend, t[i]);
    }
    reduce_once<n>(x, t, carry, m);
}

/** r = a - b, plus m if that is negative. r may be a or b. */
template <int n>
inline void subtract_mod(umint* r, const umint* a, const umint* b, const umint* m) noexcept {
    umint t[n];
    const umint mask = umint{0} - umint{subtract_limbs<n>(t, a, b)};
    std::uint8_t carry = 0;
#pragma GCC unroll 16
    for (int i = 0; i < n; ++i) {
        umint addend = m[i] & mask;
        keep_scalar(addend);
        carry = math_addcarry(carry, t[i], addend, r[i]);
    }
}

/**
 * x = x / 2^j mod m: with q = -x/m mod 2^j, x + q m is divisible by 2^j. As q < 2^j, the quotient is below m if x is
 * below m, and below 2^(64 n) for any x. k = -m^(-1) mod 2^64; 0 <= j < 64.
 */
template <int n>
inline void halve(umint* x, int j, const umint* m, umint k) noexcept {
    const umint q = (x[0] * k) & ((umint{1} << j) - 1);
    umint t[n + 1];
    t[n] = add_product_row<n>(t, x, m, q);
    // A shift by 64 - j that is also right for j = 0.
#pragma GCC unroll 16
    for (int i = 0; i < n; ++i) x[i] = (t[i] >> j) | ((t[i + 1] << 1) << (63 - j));
}

/** r = a 2^shift modulo 2^(64 n). Precondition: 0 <= shift < 64 n. r may be a. */
template <int n>
inline void shift_left(umint* r, const umint* a, int shift) noexcept {
    const int whole = shift / 64, part = shift % 64;
    for (int i = n - 1; i >= 0; --i) {
        const umint high = i >= whole ? a[i - whole] : 0;
        const umint low = i > whole ? a[i - whole - 1] : 0;
        r[i] = (high << part) | ((low >> 1) >> (63 - part));
    }
}

/**
 * x = 2^shift x mod m for a residue x. Preconditions: the top bit of m is set, 0 < shift <= 64. Cost: one hardware
 * division. The quotient of the two highest limbs by the highest of m is at most 2 above the quotient sought (D. E.
 * Knuth, The Art of Computer Programming, vol. 2, 4.3.1, theorem B).
 */
template <int n>
inline void shift_residue(umint* x, int shift, const umint* m) noexcept {
    umint t[n + 1];
    t[0] = (x[0] << 1) << (shift - 1);
    for (int i = 1; i < n; ++i) t[i] = ((x[i] << 1) << (shift - 1)) | (x[i - 1] >> (64 - shift));
    t[n] = x[n - 1] >> (64 - shift);
    umint quotient = ~umint{0}, remainder;
    if (t[n] < m[n - 1]) math_divmod(t[n - 1], t[n], m[n - 1], quotient, remainder);
    umint borrow = 0;
    for (int i = 0; i < n; ++i) {
        const umint2 p = static_cast<umint2>(m[i]) * quotient + borrow;
        borrow = static_cast<umint>(p >> 64) + math_subborrow(0, t[i], static_cast<umint>(p), t[i]);
    }
    t[n] -= borrow;
    while (t[n] != 0) t[n] += add_limbs<n>(t, t, m);
    for (int i = 0; i < n; ++i) x[i] = t[i];
}

template <int n>
inline bool equal(const umint* a, const umint* b) noexcept {
    umint difference = 0;
    for (int i = 0; i < n; ++i) difference |= a[i] ^ b[i];
    return difference == 0;
}

/** Bit length; 0 for 0. */
template <int n>
inline int bit_length(const umint* a) noexcept {
    for (int i = n - 1; i >= 0; --i)
        if (a[i] != 0) return 64 * i + static_cast<int>(math_num_bits(a[i]));
    return 0;
}

inline umint bit_at(const umint* a, int i) noexcept {
    return (a[i / 64] >> (i % 64)) & 1;
}

/** r = floor(a / 2^shift). Precondition: 0 <= shift < 64 n. r may be a. */
template <int n>
inline void shift_right(umint* r, const umint* a, int shift) noexcept {
    const int whole = shift / 64, part = shift % 64;
    for (int i = 0; i < n; ++i) {
        const umint low = i + whole < n ? a[i + whole] : 0;
        // The path that the analyzer finds has i + whole >= n and i + whole + 1 < n.
        // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign)
        const umint high = i + whole + 1 < n ? a[i + whole + 1] : 0;
        r[i] = part == 0 ? low : (low >> part) | (high << (64 - part));
    }
}

/**
 * r = 2^e mod m for an odd m > 1 and an e that is at least its bit length. With m' = 2^s m, whose top bit is set:
 * 2^s (2^e mod m) = 2^(e + s) mod m', and 2^(64 n) mod m' = 2^(64 n) - m'. Cost: a division by the highest limb for
 * each 64 bits by which 2^e is longer than m.
 */
template <int n>
inline void power_of_2_residue(umint* r, int e, const umint* m) noexcept {
    const umint zero[n] = {};
    const int length = bit_length<n>(m), s = 64 * n - length;
    umint shifted[n];
    shift_left<n>(shifted, m, s);
    subtract_limbs<n>(r, zero, shifted);
    for (int left = e - length; left > 0; left -= 64) shift_residue<n>(r, left < 64 ? left : 64, shifted);
    shift_right<n>(r, r, s);
}

}  // namespace kesh::kernel
