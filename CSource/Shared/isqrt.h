/**
 * @file   isqrt.h
 * @brief  Integer square root with remainder of the 64-bit limb and of every uintx_t<N>.
 *
 * The wide form takes the root of the upper half, gets the lower half of the root from one division, and corrects
 * once. (P. Zimmermann, Karatsuba square root, INRIA research report 3805, 1999.)
 */
#pragma once

#include <cmath>

#include "Shared/intx/intx_operator.h"
#include "Shared/intx/limb_division.h"

namespace kesh {

namespace detail {

/** floor(sqrt(a)) to within 1: by the hardware, or bit by bit in a constant expression. */
constexpr umint isqrt_estimate(umint a) noexcept {
    if (!std::is_constant_evaluated()) return static_cast<umint>(std::sqrt(static_cast<double>(a)));
    umint root = 0;
    for (umint bit = umint{1} << 31; bit != 0; bit >>= 1) {
        if ((root | bit) * (root | bit) <= a) root |= bit;
    }
    return root;
}

}  // namespace detail

/** s = floor(sqrt(a)), r = a - s^2. */
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

namespace reference {

/**
 * ss = floor(sqrt(aa)), rr = aa - ss^2, for every aa whose most significant limb, after aa is shifted left by an even
 * count until its top two bits are not both 0, is below 2^64 - 1. For larger aa the estimate of the innermost level is
 * 2^64 and is passed up unchanged: at N = 128 an aa of 2^128 - 2^64 or more gives ss = 2^64, rr = aa (the square wraps
 * to 0 and is accepted), at the wider widths ss and rr are unspecified. There is deliberately no check for this;
 * math_isqrt_exact is right for every value. Cost: one half-width root, one division and one low-half product per
 * level. ss and rr may alias aa.
 */
template <wide_word T>
constexpr void math_isqrt(const T& aa, T& ss, T& rr) noexcept {
    using half = typename T::half_type;
    constexpr mint quarter_bits = T::bits / 4;
    const auto root_of_half = [](const half& x, half& root, half& rest) {
        if constexpr (T::bits == 128)
            kesh::math_isqrt(x, root, rest);
        else
            reference::math_isqrt(x, root, rest);
    };
    const T a(aa);
    if (math_is_zero(a.hi())) {
        half s(detail::unset), r(detail::unset);
        root_of_half(a.lo(), s, r);
        ss = T(s);
        rr = T(r);
        return;
    }
    // An even shift, so that it can be undone on the root.
    const mint c = kesh::math_count_leading_zeros(a) & ~mint{1};
    const T normalised = a << c;

    half s1(detail::unset), r1(detail::unset);
    root_of_half(normalised.hi(), s1, r1);
    half low_high_quarter(0);
    kesh::math_right_shift(normalised.lo(), quarter_bits, low_high_quarter);
    const T numerator = (T(r1) << quarter_bits) + T(low_high_quarter);
    T q(detail::unset), dropped(detail::unset);
    kesh::math_divmod_imp(numerator, T(0), T(s1) << 1, q, dropped);
    T s = (T(s1) << quarter_bits) + q;
    s >>= c / 2;

    T square(detail::unset);
    kesh::math_mul(s, s, square);
    if (square > a) {
        // The estimate is at most one too large; (s - 1)^2 = s^2 - 2 s + 1.
        square = square - (s << 1) + T(1);
        --s;
    }
    ss = s;
    rr = a - square;
}

}  // namespace reference

namespace detail {

/**
 * s[0] = floor(sqrt(u)) of the two limbs u, whose top two bits are not both 0; u[0] = the low limb of the remainder,
 * its bit 64 is returned. The hardware's root of the top 52 bits is right to 51 bits, and one step of Newton's method
 * in floating point brings it within 1.
 */
inline umint root_of_limbs_2(umint* s, umint* u) noexcept {
    const umint2 a = (static_cast<umint2>(u[1]) << MINT_BITS) | u[0];
    const double top = std::sqrt(static_cast<double>(static_cast<mint>(u[1] >> 12)));  // 2^-38 sqrt(a), below 2^26
    // Minus 2^11, the largest rounding error of `top`: so `first` is not above the root, and at most 2^14 below it.
    const umint first = (static_cast<umint>(static_cast<mint>(top * 0x1p37)) - 1024) << 1;
    const umint2 rest = a - static_cast<umint2>(first) * first;
    const double step = static_cast<double>(static_cast<mint>(rest >> 20)) / (top * 0x1p19);
    umint root = first + static_cast<umint>(static_cast<mint>(step));
    if (root < first) root = ~umint{0};
    umint2 remainder = a - static_cast<umint2>(root) * root;
    if (remainder + (umint2{1} << 66) < (umint2{1} << 66)) {
        remainder += 2 * static_cast<umint2>(root) - 1;
        --root;
    }
    if (remainder > 2 * static_cast<umint2>(root)) {
        remainder -= 2 * static_cast<umint2>(root) + 1;
        ++root;
    }
    s[0] = root;
    u[0] = static_cast<umint>(remainder);
    return static_cast<umint>(remainder >> MINT_BITS);
}

/**
 * s[0 .. n-1] = floor(sqrt(u)) of the 2 n limbs u, whose top two bits are not both 0; u[0 .. n-1] = the low limbs of
 * the remainder, its bit 64 n is returned. Exact for every u: the quotient keeps the bit above its limbs.
 */
template <std::size_t n>
inline umint root_of_limbs(umint* s, umint* u) noexcept {
    if constexpr (n == 1) {
        return root_of_limbs_2(s, u);
    } else {
        constexpr std::size_t h = n / 2;
        umint* const s1 = s + h;
        // The remainder r1 of the upper half is at most 2 s1; without s1 it fits its limbs.
        umint q = root_of_limbs<h>(s1, u + n);
        // Both conditions hold about half of the time, so they are masks.
        umint masked[h];
        for (std::size_t i = 0; i < h; ++i) {
            masked[i] = s1[i] & (umint{0} - q);
            keep_scalar(masked[i]);
        }
        subtract_limbs<h>(u + n, u + n, masked);
        if constexpr (h == 1) {
            const umint once_more = u[n] >= s1[0] ? 1 : 0;
            umint mask = umint{0} - once_more;
            keep_scalar(mask);
            u[n] -= s1[0] & mask;
            q += once_more;
            divide_two_by_one(u[h], u[n], s1[0], s[0], u[h]);
        } else {
            for (std::size_t i = h; i < h + n; ++i) u[i] = ~u[i];
            q += divide_limbs(s, h, u + h, n, s1, h);
            for (std::size_t i = h; i < n; ++i) u[i] = ~u[i];
        }
        // The quotient by 2 s1 from that by s1; a dropped bit is worth s1 of the remainder.
        const umint odd = s[0] & 1;
        for (std::size_t i = 0; i + 1 < h; ++i) s[i] = (s[i] >> 1) | (s[i + 1] << (MINT_BITS - 1));
        s[h - 1] = (s[h - 1] >> 1) | (q << (MINT_BITS - 1));
        q >>= 1;
        umint addend[h];
        for (std::size_t i = 0; i < h; ++i) {
            addend[i] = s1[i] & (umint{0} - odd);
            keep_scalar(addend[i]);
        }
        mint carry = add_limbs<h>(u + h, u + h, addend);
        umint square[n];
        full_square<h>(square, square + h, s);
        carry -= static_cast<mint>(q) + subtract_limbs<n>(u, u, square);
        if (carry < 0) {
            // One too large: the remainder grows by 2 s - 1. A quotient of 2^(64 h) has q = 1 and the limbs 0.
            umint above = q;
            for (std::size_t i = 0; i < h; ++i) above = math_addcarry(0, s1[i], above, s1[i]);
            umint twice = 0;
            std::uint8_t c = 0;
            for (std::size_t i = 0; i < n; ++i) {
                c = math_addcarry(c, u[i], (s[i] << 1) | twice, u[i]);
                twice = s[i] >> (MINT_BITS - 1);
            }
            carry += c + static_cast<mint>(twice + 2 * above);
            std::uint8_t b = 1;
            for (std::size_t i = 0; i < n; ++i) b = math_subborrow(b, u[i], 0, u[i]);
            carry -= b;
            b = 1;
            for (std::size_t i = 0; i < n; ++i) b = math_subborrow(b, s[i], 0, s[i]);
        }
        return static_cast<umint>(carry);
    }
}

}  // namespace detail

/** ss = floor(sqrt(aa)), rr = aa - ss^2, exactly, for every value. ss and rr may alias aa. Cost: as math_isqrt. */
template <engine_word T>
inline void math_isqrt_exact(const T& aa, T& ss, T& rr) noexcept {
    if constexpr (!wide_word<T>) {
        math_isqrt(aa, ss, rr);
    } else {
        if (math_is_zero(aa.hi())) {
            typename T::half_type s(detail::unset), r(detail::unset);
            math_isqrt_exact(aa.lo(), s, r);
            ss = T(s);
            rr = T(r);
            return;
        }
        constexpr std::size_t n = T::limbs, h = n / 2;
        const T a(aa);
        // An even shift, so that it can be undone on the root.
        const mint c = math_count_leading_zeros(a) & ~mint{1};
        if (c < 0 || c >= T::bits / 2) __builtin_unreachable();  // the high half is not 0
        umint u[n], s[h];
        detail::shift_left_in_registers<n>(u, a.limb, c);
        u[h] = detail::root_of_limbs<h>(s, u);
        if (c == 0) {
            for (std::size_t i = 0; i < n; ++i) rr.limb[i] = i <= h ? u[i] : 0;
        } else {
            detail::shift_right_in_registers<h>(s, s, c / 2);
            umint square[n];
            detail::full_square<h>(square, square + h, s);
            detail::subtract_limbs<n>(rr.limb, a.limb, square);
        }
        for (std::size_t i = 0; i < n; ++i) ss.limb[i] = i < h ? s[i] : 0;
        KESH_ENSURE(math_compare(rr, T(ss << 1)) <= 0);
    }
}

/**
 * ss = floor(sqrt(aa)), rr = aa - ss^2: the bits of the reference form, also just below powers of 4, where both return
 * an estimate that is not the root. Cost: one half-width root, one division by half the width and one half-width square
 * for each level. ss and rr may alias aa.
 */
template <wide_word T>
constexpr void math_isqrt(const T& aa, T& ss, T& rr) noexcept {
    if (!std::is_constant_evaluated()) {
        const std::size_t length = detail::significant_limbs(aa.limb, T::limbs);
        // The reference form returns an estimate if the first 64 bits of aa, after an even shift, are all ones.
        const mint shift = length == 0 ? 0 : math_count_leading_zeros(aa.limb[length - 1]) & ~mint{1};
        const bool estimate_kept = length > 1 && (aa.limb[length - 1] << shift |
                                                  (aa.limb[length - 2] >> 1 >> (MINT_BITS - 1 - shift))) == ~umint{0};
        if (!estimate_kept) {
            math_isqrt_exact(aa, ss, rr);
            return;
        }
    }
    reference::math_isqrt(aa, ss, rr);
}

}  // namespace kesh
