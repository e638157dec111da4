/// @file   limb_division.h
/// @brief  Division of limb arrays by a normalised divisor, digit by digit with a prepared reciprocal.
///
/// The reciprocal replaces the hardware's division by two products for each digit. (N. Moller, T. Granlund, Improved
/// division by invariant integers, IEEE Trans. Computers 60 (2011), algorithms 4 and 6.) The digits are exact to the
/// top two limbs of the divisor, so that a correction is as rare as a limb of all ones.
#pragma once

#include <cstddef>

#include "Shared/intx/intx_gcc.h"

namespace kesh::detail {

/// Limbs of a up to its most significant non-zero one; 0 for a = 0.
constexpr std::size_t significant_limbs(const umint* a, std::size_t count) noexcept {
    while (count > 0 && a[count - 1] == 0) --count;
    return count;
}

/// r[0 .. n-1] = a << s, returns the bits shifted out. r may be a. Preconditions: n >= 1, 0 <= s < 64.
constexpr umint shift_limbs_left(umint* r, const umint* a, std::size_t n, mint s) noexcept {
    // The second shift takes two steps, because 64 - s is out of range for s = 0.
    const umint out = a[n - 1] >> 1 >> (MINT_BITS - 1 - s);
    for (std::size_t i = n - 1; i > 0; --i) r[i] = (a[i] << s) | (a[i - 1] >> 1 >> (MINT_BITS - 1 - s));
    r[0] = a[0] << s;
    return out;
}

/// r[0 .. n-1] = a >> s. r may be a. Preconditions: n >= 1, 0 <= s < 64.
constexpr void shift_limbs_right(umint* r, const umint* a, std::size_t n, mint s) noexcept {
    for (std::size_t i = 0; i + 1 < n; ++i) r[i] = (a[i] >> s) | (a[i + 1] << 1 << (MINT_BITS - 1 - s));
    r[n - 1] = a[n - 1] >> s;
}

/// floor((2^128 - 1) / d) - 2^64. Precondition: the top bit of d is set.
constexpr umint reciprocal_of_limb(umint d) noexcept {
    umint v = 0, rest = 0;
    math_divmod(~umint{0}, ~d, d, v, rest);
    return v;
}

/// q = floor((high 2^64 + low) / d), returns the remainder. v = reciprocal_of_limb(d). Precondition: high < d.
/// One correction of the estimate is taken half of the time, so it is no branch: compilers make one of it in C++. Cost:
/// 9 to 10 cycles from remainder to remainder.
constexpr umint divide_two_limbs(umint high, umint low, umint d, umint v, umint& q) noexcept {
    umint digit = 0, rest = 0;
#if defined(__x86_64__)
    if (!std::is_constant_evaluated()) {
        umint estimate = high;
        __asm__(
            "mulq %[v]\n\t"
            "addq %[low], %%rax\n\t"
            "adcq %[high], %%rdx"
            : "+&a"(estimate), "=&d"(digit)
            : [v] "r"(v), [low] "r"(low), [high] "r"(high)
            : "cc");
        rest = (low - d) - digit * d;
        const umint corrected = rest + d;
        ++digit;
        __asm__(
            "cmpq %[rest], %[estimate]\n\t"
            "cmovbq %[corrected], %[rest]\n\t"
            "sbbq $0, %[digit]"
            : [rest] "+&r"(rest), [digit] "+&r"(digit)
            : [estimate] "r"(estimate), [corrected] "r"(corrected)
            : "cc");
    } else
#endif
    {
        const umint2 estimate = static_cast<umint2>(v) * high + ((static_cast<umint2>(high) << MINT_BITS) | low);
        digit = static_cast<umint>(estimate >> MINT_BITS) + 1;
        rest = low - digit * d;
        if (rest > static_cast<umint>(estimate)) {
            --digit;
            rest += d;
        }
    }
    if (rest >= d) [[unlikely]] {
        ++digit;
        rest -= d;
    }
    q = digit;
    return rest;
}

/// q[0 .. n-1] = (above 2^(64 n) + a) / d, returns the remainder. shift = the leading zero bits of d, reciprocal that
/// of d << shift. q may be a. Precondition: above < d.
template <std::size_t n>
constexpr umint divide_by_limb(umint* q, const umint* a, umint d, mint shift, umint reciprocal,
                               umint above = 0) noexcept {
    const umint divisor = d << shift;
    umint rest = (above << shift) | (a[n - 1] >> 1 >> (MINT_BITS - 1 - shift));
    for (std::size_t i = n; i-- > 0;) {
        const umint below = i > 0 ? a[i - 1] >> 1 >> (MINT_BITS - 1 - shift) : 0;
        rest = divide_two_limbs(rest, (a[i] << shift) | below, divisor, reciprocal, q[i]);
    }
    return rest >> shift;
}

/// Whether a is a limb other than 0 and zeros above it.
template <std::size_t n>
constexpr bool is_one_limb(const umint* a) noexcept {
    umint above = 0;
    for (std::size_t i = 1; i < n; ++i) above |= a[i];
    return above == 0 && a[0] != 0;
}

/// A divisor of two limbs or more, by its top two, d1 and d0, with d1's top bit set: v = floor((2^192 - 1) / (d1 2^64 +
/// d0)) - 2^64.
struct reciprocal {
    umint d1, d0, v;

    constexpr reciprocal(umint high, umint low) noexcept : d1(high), d0(low), v(reciprocal_of_limb(high)) {
        umint p = d1 * v + d0;
        if (p < d0) {
            --v;
            if (p >= d1) {
                --v;
                p -= d1;
            }
            p -= d1;
        }
        umint t0 = 0, t1 = 0;
        math_mul(v, d0, t0, t1);
        p += t1;
        if (p < t1) {
            --v;
            if (p > d1 || (p == d1 && t0 >= d0)) --v;
        }
    }

    /// The digit floor((high, u0) / (d1, d0)); high becomes the remainder. Precondition: high < (d1, d0).
    constexpr umint digit(umint2& high, umint u0) const noexcept {
        const umint2 divisor = (static_cast<umint2>(d1) << MINT_BITS) | d0;
        const umint u1 = static_cast<umint>(high);
        const umint2 estimate = static_cast<umint2>(v) * static_cast<umint>(high >> MINT_BITS) + high;
        umint q = static_cast<umint>(estimate >> MINT_BITS);
        umint2 rest = (static_cast<umint2>(u1 - q * d1) << MINT_BITS) | u0;
        rest -= static_cast<umint2>(d0) * q;
        rest -= divisor;
        // Taken half of the time, see divide_two_limbs.
#if defined(__x86_64__)
        if (!std::is_constant_evaluated()) {
            const umint2 corrected = rest + divisor;
            umint r0 = static_cast<umint>(rest), r1 = static_cast<umint>(rest >> MINT_BITS);
            __asm__(
                "cmpq %[estimate], %[r1]\n\t"
                "cmovaeq %[c0], %[r0]\n\t"
                "cmovaeq %[c1], %[r1]\n\t"
                "adcq $0, %[q]"
                : [r0] "+&r"(r0), [r1] "+&r"(r1), [q] "+&r"(q)
                : [estimate] "r"(static_cast<umint>(estimate)), [c0] "r"(static_cast<umint>(corrected)),
                  [c1] "r"(static_cast<umint>(corrected >> MINT_BITS))
                : "cc");
            rest = (static_cast<umint2>(r1) << MINT_BITS) | r0;
        } else
#endif
            if (static_cast<umint>(rest >> MINT_BITS) >= static_cast<umint>(estimate)) {
            rest += divisor;
        } else {
            ++q;
        }
        if (rest >= divisor) [[unlikely]] {
            ++q;
            rest -= divisor;
        }
        high = rest;
        return q;
    }
};

/// u[0 .. n-1] -= digit * v[0 .. n-1]; returns the limb to subtract above.
constexpr umint subtract_multiple(umint* u, const umint* v, std::size_t n, umint digit) noexcept {
    umint carry = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const umint2 product = static_cast<umint2>(digit) * v[i] + carry;
        const umint low = static_cast<umint>(product), before = u[i];
        u[i] = before - low;
        carry = static_cast<umint>(product >> MINT_BITS) + (before < low ? 1 : 0);
    }
    return carry;
}

/// u[0 .. n-1] += v[0 .. n-1]; returns the carry.
constexpr std::uint8_t add_to(umint* u, const umint* v, std::size_t n) noexcept {
    std::uint8_t carry = 0;
    for (std::size_t i = 0; i < n; ++i) carry = math_addcarry(carry, u[i], v[i], u[i]);
    return carry;
}

/// u[0 .. n-1] -= v[0 .. n-1]; returns the borrow.
constexpr std::uint8_t subtract_from(umint* u, const umint* v, std::size_t n) noexcept {
    std::uint8_t borrow = 0;
    for (std::size_t i = 0; i < n; ++i) borrow = math_subborrow(borrow, u[i], v[i], u[i]);
    return borrow;
}

/// -1, 0 or 1 as a[0 .. n-1] is below, equal to or above b[0 .. n-1].
constexpr int compare_limbs(const umint* a, const umint* b, std::size_t n) noexcept {
    while (n-- > 0) {
        if (a[n] != b[n]) return a[n] < b[n] ? -1 : 1;
    }
    return 0;
}

/// The digits floor(u / v) of u[0 .. m-1] by the normalised v[0 .. n-1]: q[0 .. m-n-1], and the one above them, 0 or 1,
/// as the result. u[0 .. n-1] becomes the remainder, the limbs above it are lost. q may be null: the remainder only.
/// Preconditions: m >= n >= 1, the top bit of v is set. Cost: n + 1 limb products a digit.
constexpr umint divide_limbs(umint* q, umint* u, std::size_t m, const umint* v, std::size_t n) noexcept {
    umint* const top = u + (m - n);
    const umint overflow = compare_limbs(top, v, n) >= 0 ? 1 : 0;
    if (overflow != 0) subtract_from(top, v, n);
    if (m == n) return overflow;
    if (n == 1) {
        const umint inverse = reciprocal_of_limb(v[0]);
        umint rest = u[m - 1];
        for (std::size_t j = m - 1; j-- > 0;) {
            umint digit = 0;
            rest = divide_two_limbs(rest, u[j], v[0], inverse, digit);
            if (q != nullptr) q[j] = digit;
        }
        u[0] = rest;
        return overflow;
    }

    const reciprocal inverse(v[n - 1], v[n - 2]);
    const umint2 divisor = (static_cast<umint2>(inverse.d1) << MINT_BITS) | inverse.d0;
    // The top two limbs of the remainder stay in `high`, the n - 2 below them in place.
    umint2 high = (static_cast<umint2>(u[m - 1]) << MINT_BITS) | u[m - 2];
    for (std::size_t j = m - n; j-- > 0;) {
        umint* const row = u + j;
        umint digit;
        if (high == divisor) [[unlikely]] {
            // The digit does not fit its estimate: it is all ones.
            digit = ~umint{0};
            row[n - 1] = inverse.d0;
            subtract_multiple(row, v, n, digit);
            high = (static_cast<umint2>(row[n - 1]) << MINT_BITS) | row[n - 2];
        } else {
            digit = inverse.digit(high, row[n - 2]);
            const umint borrow = subtract_multiple(row, v, n - 2, digit);
            if (high < borrow) [[unlikely]] {
                --digit;
                high += divisor - borrow + add_to(row, v, n - 2);
            } else {
                high -= borrow;
            }
        }
        if (q != nullptr) q[j] = digit;
    }
    u[n - 2] = static_cast<umint>(high);
    u[n - 1] = static_cast<umint>(high >> MINT_BITS);
    return overflow;
}

}  // namespace kesh::detail
