/// @file   isqrt.h
/// @brief  Integer square root with remainder of the 64-bit limb and of every uintx_t<N>.
///
/// The wide form takes the root of the upper half, gets the lower half of the root from one division, and corrects
/// once. (P. Zimmermann, Karatsuba square root, INRIA research report 3805, 1999.)
#pragma once

#include <cmath>

#include "Shared/intx/intx_operator.h"

namespace kesh {

namespace detail {

/// floor(sqrt(a)) to within 1: the hardware's root, or bit by bit where a constant expression is evaluated.
constexpr umint isqrt_estimate(umint a) noexcept {
    if (!std::is_constant_evaluated()) return static_cast<umint>(std::sqrt(static_cast<double>(a)));
    umint root = 0;
    for (umint bit = umint{1} << 31; bit != 0; bit >>= 1) {
        if ((root | bit) * (root | bit) <= a) root |= bit;
    }
    return root;
}

}  // namespace detail

/// s = floor(sqrt(a)), r = a - s^2.
constexpr void math_isqrt(std::uint64_t a, std::uint64_t& s, std::uint64_t& r) noexcept {
    constexpr umint largest_root = 0xFFFFFFFF;
    if (a >= largest_root * largest_root) {
        // Above this bound the check of (s + 1)^2 below would not fit in 64 bits.
        s = largest_root;
        r = a - largest_root * largest_root;
        return;
    }
    umint root = detail::isqrt_estimate(a);
    if (root * root > a) --root;
    if ((root + 1) * (root + 1) <= a) ++root;
    s = root;
    r = a - root * root;
}

/// ss = floor(sqrt(aa)), rr = aa - ss^2, for every aa whose most significant limb, after aa is shifted left by an even
/// count until its top two bits are not both 0, is below 2^64 - 1. Above that the estimate of the innermost level is
/// 2^64 and passes up as it is: at N = 128 an aa of 2^128 - 2^64 or more gives ss = 2^64, rr = aa (the square wraps to
/// 0 and is accepted), at the wider widths ss and rr are unspecified. There is deliberately no guard: it would
/// cost every call a comparison at each level, and the squares that the square test misses without it do not reach a
/// verdict: the primality test asks for squares only after base 2, which a square does not pass unless every prime of its
/// root is a Wieferich prime.
/// Cost: one half-width root, one division and one low-half product per level. ss and rr may alias aa.
template <wide_word T>
constexpr void math_isqrt(const T& aa, T& ss, T& rr) noexcept {
    using half = typename T::half_type;
    constexpr mint quarter_bits = T::bits / 4;
    const T a(aa);
    if (math_is_zero(a.hi())) {
        half s, r;
        math_isqrt(a.lo(), s, r);
        ss = T(s);
        rr = T(r);
        return;
    }
    // An even shift, so that it can be undone on the root.
    const mint c = math_count_leading_zeros(a) & ~mint{1};
    const T normalised = a << c;

    half s1, r1;
    math_isqrt(normalised.hi(), s1, r1);
    half low_high_quarter(0);
    math_right_shift(normalised.lo(), quarter_bits, low_high_quarter);
    const T numerator = (T(r1) << quarter_bits) + T(low_high_quarter);
    T q, dropped;
    math_divmod_imp(numerator, T(0), T(s1) << 1, q, dropped);
    T s = (T(s1) << quarter_bits) + q;
    s >>= c / 2;

    T square;
    math_mul(s, s, square);
    if (square > a) {
        // The estimate is at most one too large; (s - 1)^2 = s^2 - 2 s + 1.
        square = square - (s << 1) + T(1);
        --s;
    }
    ss = s;
    rr = a - square;
}

}  // namespace kesh
