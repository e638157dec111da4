/// @file   intx_common.h
/// @brief  The generic algorithms, written once for every uintx_t<N> and, where it helps, for the 64-bit limb: carries,
/// shifts,
///         bit counts, products, division with remainder, inverses.
///
/// The wide forms recurse on the two halves of a value and end in the limb primitives of intx_gcc.h. Results go to
/// trailing reference parameters; a two-word value is passed as (low, high). Nothing here allocates or throws.
#pragma once

#include <cassert>
#include <utility>

#include "Shared/intx/limb_division.h"
#include "Shared/kernel/product.h"

namespace kesh {

// --------------------------------------------------------------------------------------------------------------------
// Comparison
// --------------------------------------------------------------------------------------------------------------------

/// -1, 0 or 1 as a is below, equal to or above b; decides at the most significant limb that differs.
template <wide_word T>
constexpr int math_compare(const T& a, const T& b) noexcept {
    for (std::size_t i = T::limbs; i-- > 0;) {
        if (a.limb[i] != b.limb[i]) return a.limb[i] < b.limb[i] ? -1 : 1;
    }
    return 0;
}

template <wide_word T>
constexpr bool math_is_zero(const T& a) noexcept {
    umint any = 0;
    for (std::size_t i = 0; i < T::limbs; ++i) any |= a.limb[i];
    return any == 0;
}

/// a |= b.
template <wide_word T>
constexpr void math_or_equal(T& a, const T& b) noexcept {
    for (std::size_t i = 0; i < T::limbs; ++i) a.limb[i] |= b.limb[i];
}

// --------------------------------------------------------------------------------------------------------------------
// Addition and subtraction
// --------------------------------------------------------------------------------------------------------------------

/// r = a + b + c modulo 2^N; returns the carry out. c is 0 or 1; r may be the same object as a or b.
template <wide_word T>
constexpr std::uint8_t math_addcarry(std::uint8_t c, const T& a, const T& b, T& r) noexcept {
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        ((c = math_addcarry(c, a.limb[I], b.limb[I], r.limb[I])), ...);
    }
    (std::make_index_sequence<T::limbs>());
    return c;
}

/// a += b + c; returns the carry out.
template <wide_word T>
constexpr std::uint8_t math_add_equal_carry(std::uint8_t c, T& a, const T& b) noexcept {
    return math_addcarry(c, a, b, a);
}

/// r = a - b - c modulo 2^N; returns the borrow out. c is 0 or 1; r may be the same object as a or b.
template <wide_word T>
constexpr std::uint8_t math_subborrow(std::uint8_t c, const T& a, const T& b, T& r) noexcept {
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        ((c = math_subborrow(c, a.limb[I], b.limb[I], r.limb[I])), ...);
    }
    (std::make_index_sequence<T::limbs>());
    return c;
}

/// a -= b + c; returns the borrow out.
template <wide_word T>
constexpr std::uint8_t math_sub_equal_borrow(std::uint8_t c, T& a, const T& b) noexcept {
    return math_subborrow(c, a, b, a);
}

// --------------------------------------------------------------------------------------------------------------------
// Shifts and bit counts
// --------------------------------------------------------------------------------------------------------------------

/// c = a << n; n >= N gives 0. Precondition: n >= 0. c may be the same object as a.
template <wide_word T>
constexpr void math_left_shift(const T& a, mint n, T& c) noexcept {
    assert(n >= 0);
    using half = typename T::half_type;
    constexpr mint K = width_v<half>;
    if (n == 0) {
        c = a;
        return;
    }
    half lo(0), hi(0);
    if (n < K) {
        half spill(0);
        math_left_shift(a.hi(), n, hi);
        math_right_shift(a.lo(), K - n, spill);
        math_or_equal(hi, spill);
        math_left_shift(a.lo(), n, lo);
    } else if (n < T::bits) {
        math_left_shift(a.lo(), n - K, hi);
    }
    c = T(lo, hi);
}

/// c = a >> n, logical. A count that is N or more when read as unsigned (so also a negative one) writes nothing: c
/// keeps its value. This differs from the left shift on purpose; no caller shifts by N or more. c may be the same
/// object as a.
template <wide_word T>
constexpr void math_right_shift(const T& a, mint n, T& c) noexcept {
    using half = typename T::half_type;
    constexpr mint K = width_v<half>;
    if (static_cast<umint>(n) >= static_cast<umint>(T::bits)) return;
    if (n == 0) {
        c = a;
        return;
    }
    half lo(0), hi(0);
    if (n < K) {
        half spill(0);
        math_right_shift(a.lo(), n, lo);
        math_left_shift(a.hi(), K - n, spill);
        math_or_equal(lo, spill);
        math_right_shift(a.hi(), n, hi);
    } else {
        math_right_shift(a.hi(), n - K, lo);
    }
    c = T(lo, hi);
}

/// a <<= n and a >>= n, with the same rules for counts out of range.
template <wide_word T>
constexpr void math_left_shift_equal(T& a, mint n) noexcept {
    math_left_shift(a, n, a);
}
template <wide_word T>
constexpr void math_right_shift_equal(T& a, mint n) noexcept {
    math_right_shift(a, n, a);
}

/// rhi:rlo = the 2N-bit value hi:lo shifted left by n. Precondition: 0 <= n < N. Outputs may alias inputs.
template <engine_word T>
constexpr void math_left_shift(const T& lo, const T& hi, mint n, T& rlo, T& rhi) noexcept {
    T low(lo), high(hi);
    if (n != 0) {
        T spill(0);
        math_left_shift_equal(high, n);
        math_right_shift(lo, width_v<T> - n, spill);
        math_or_equal(high, spill);
        math_left_shift_equal(low, n);
    }
    rlo = low;
    rhi = high;
}

/// rhi:rlo = the 2N-bit value hi:lo shifted right by n. Precondition: 0 <= n < N. Outputs may alias inputs.
template <engine_word T>
constexpr void math_right_shift(const T& lo, const T& hi, mint n, T& rlo, T& rhi) noexcept {
    T low(lo), high(hi);
    if (n != 0) {
        T spill(0);
        math_right_shift_equal(low, n);
        math_left_shift(hi, width_v<T> - n, spill);
        math_or_equal(low, spill);
        math_right_shift_equal(high, n);
    }
    rlo = low;
    rhi = high;
}

/// Leading zero bits, counted from the most significant limb; N for a = 0.
template <wide_word T>
constexpr mint math_count_leading_zeros(const T& a) noexcept {
    for (std::size_t i = 0; i < T::limbs; ++i) {
        const umint limb = a.limb[T::limbs - 1 - i];
        if (limb != 0) return MINT_BITS * static_cast<mint>(i) + math_count_leading_zeros(limb);
    }
    return T::bits;
}

/// Trailing zero bits, counted from limb 0; N for a = 0.
template <wide_word T>
constexpr mint math_count_trailing_zeros(const T& a) noexcept {
    for (std::size_t i = 0; i < T::limbs; ++i) {
        if (a.limb[i] != 0) return MINT_BITS * static_cast<mint>(i) + math_count_trailing_zeros(a.limb[i]);
    }
    return T::bits;
}

/// Bit length; 0 for a = 0.
template <wide_word T>
constexpr mint math_num_bits(const T& a) noexcept {
    return T::bits - math_count_leading_zeros(a);
}

// --------------------------------------------------------------------------------------------------------------------
// Products
// --------------------------------------------------------------------------------------------------------------------

/// hi * 2^N + lo = a * b by plain four-way recursion on halves: the reference form of the full product.
/// Outputs may alias inputs. Cost: (N/64)^2 limb products.
template <wide_word T>
constexpr void math_mul_recursive(const T& a, const T& b, T& lo, T& hi) noexcept {
    using half = typename T::half_type;
    const half alo = a.lo(), ahi = a.hi(), blo = b.lo(), bhi = b.hi();
    half c0, c1, d0, d1, h0, h1, l0, l1;
    const auto product = [](const half& x, const half& y, half& xylo, half& xyhi) {
        if constexpr (T::bits == 128)
            math_mul(x, y, xylo, xyhi);
        else
            math_mul_recursive(x, y, xylo, xyhi);
    };
    product(alo, bhi, c0, c1);
    product(ahi, blo, d0, d1);
    product(ahi, bhi, h0, h1);
    product(alo, blo, l0, l1);

    // The cross sum c + d has one bit more than its two halves; all three are added at position N/2.
    std::uint8_t c = math_add_equal_carry(0, c0, d0);
    const std::uint8_t cross_carry = math_add_equal_carry(c, c1, d1);
    c = math_add_equal_carry(0, l1, c0);
    c = math_add_equal_carry(c, h0, c1);
    math_add_equal_carry(c, h1, half(cross_carry));

    lo = T(l0, l1);
    hi = T(h0, h1);
}

/// lo = a * b modulo 2^N by recursion on halves: the reference form of the low-half product. Operands whose high halves
/// are both zero take the full product one level down, at every level. lo may alias a or b.
template <wide_word T>
constexpr void math_mul_low_recursive(const T& a, const T& b, T& lo) noexcept {
    using half = typename T::half_type;
    const half alo = a.lo(), ahi = a.hi(), blo = b.lo(), bhi = b.hi();
    half l0, l1;
    if constexpr (T::bits == 128) {
        math_mul(alo, blo, l0, l1);
        if ((ahi | bhi) != 0) l1 += ahi * blo + alo * bhi;
    } else {
        math_mul_recursive(alo, blo, l0, l1);
        if (!math_is_zero(ahi) || !math_is_zero(bhi)) {
            half cross;
            math_mul_low_recursive(alo, bhi, cross);
            math_add_equal_carry(0, l1, cross);
            math_mul_low_recursive(ahi, blo, cross);
            math_add_equal_carry(0, l1, cross);
        }
    }
    lo = T(l0, l1);
}

/// hi * 2^N + lo = a * b exactly; the bits of math_mul_recursive, computed by straight-line kernels at run time.
/// lo and hi must be other objects than a and b: the limbs of the result are stored while the operands are still read.
template <wide_word T>
constexpr void math_mul(const T& a, const T& b, T& lo, T& hi) noexcept {
    assert(&lo != &a && &lo != &b && &hi != &a && &hi != &b);
    if (std::is_constant_evaluated())
        math_mul_recursive(a, b, lo, hi);
    else
        kernel::full_product<T::limbs>(lo.limb, hi.limb, a.limb, b.limb);
}

/// lo = a * b modulo 2^N; the bits of math_mul_low_recursive. lo must be another object than a and b.
template <wide_word T>
constexpr void math_mul(const T& a, const T& b, T& lo) noexcept {
    assert(&lo != &a && &lo != &b);
    if (std::is_constant_evaluated())
        math_mul_low_recursive(a, b, lo);
    else
        kernel::low_product<T::limbs>(lo.limb, a.limb, b.limb);
}

namespace detail {

/// hi:lo = a^2, of n limbs each. lo and hi must not overlap a.
template <std::size_t n>
inline void full_square(umint* lo, umint* hi, const umint* a) noexcept {
    if constexpr (n == 1)
        math_mul(*a, *a, *lo, *hi);
    else
        kernel::full_product<n>(lo, hi, a, a);
}

}  // namespace detail

/// a * b + c0 + cc * 2^64 = r + ret * 2^N + co * 2^(N+64), where ret is the returned limb: the pair (c0, cc) goes in at
/// the bottom and the pair (ret, co) comes out at the top in the same format, so that calls chain from low to high. cc
/// is 0 or 1; on a wide value co is always 0. r may alias a.
template <wide_word T>
constexpr umint math_mul_ui(unsigned char cc, umint c0, const T& a, umint b, unsigned char& co, T& r) noexcept {
    co = cc;
    for (std::size_t i = 0; i < T::limbs; ++i) c0 = math_mul_ui(co, c0, a.limb[i], b, co, r.limb[i]);
    return c0;
}

/// hi:lo = floor((ahi * 2^N + alo) * b / 2^N), the top 2N bits of the 3N-bit product. Outputs may alias inputs.
template <wide_word T>
constexpr void math_mul_21(const T& alo, const T& ahi, const T& b, T& lo, T& hi) noexcept {
    T dropped, middle, low, high;
    math_mul(alo, b, dropped, middle);
    math_mul(ahi, b, low, high);
    const std::uint8_t c = math_addcarry(0, middle, low, lo);
    math_addcarry(c, high, T(0), hi);
}

// --------------------------------------------------------------------------------------------------------------------
// Division with remainder
// --------------------------------------------------------------------------------------------------------------------

/// What one division by the reciprocal series did; tests and measurements look at it.
struct division_steps {
    enum class path { power_of_two, small_numerator, series };
    path taken = path::series;
    bool high_word_reduced = false;
    int iterations = 0;   ///< of the series that produced the quotient
    int corrections = 0;  ///< upward corrections of its estimate
};

namespace detail {

/// No quotient estimate needs more corrections. With y = x / 2^N < 1/2 the computed x stays at most 3/2 below the exact
/// square, so every iteration, and the tail that is cut off when x reaches 0, lowers the estimate by at most 3/2: fewer
/// than log2 N + 4 in all. The bound leaves room and makes the loop end for a zero divisor as well.
inline constexpr int correction_bound = 32;

/// Quotient and remainder of hi:lo by d for hi < d, d not a power of two, by the reciprocal series
///     n / (2^N - x) = (n / 2^N) (1 + y)(1 + y^2)(1 + y^4)...,  y = x / 2^N,  n:x = numerator and 2^N - divisor,
///     normalised.
template <engine_word T>
constexpr void divide_by_series(const T& lo, const T& hi, const T& d, T& q, T& r, division_steps* steps) noexcept {
    const T zero(0);
    const mint s = math_count_leading_zeros(d);
    T nlo, nhi, x;
    math_left_shift(lo, hi, s, nlo, nhi);
    math_left_shift(d, s, x);
    math_subborrow(0, zero, x, x);

    do {
        T plo, phi, dropped, squared;
        math_mul_21(nlo, nhi, x, plo, phi);
        const std::uint8_t c = math_add_equal_carry(0, nlo, plo);
        math_add_equal_carry(c, nhi, phi);
        math_mul(x, x, dropped, squared);
        x = squared;
        if (steps != nullptr) ++steps->iterations;
    } while (!math_is_zero(x));

    // The truncations only lower n, so the estimate is never too large and all corrections go upward.
    T plo, phi, rlo, rhi;
    T estimate(nhi);
    math_mul(estimate, d, plo, phi);
    const std::uint8_t borrow = math_subborrow(0, lo, plo, rlo);
    math_subborrow(borrow, hi, phi, rhi);
    for (int k = 0; k < correction_bound && (!math_is_zero(rhi) || math_compare(rlo, d) >= 0); ++k) {
        math_add_equal_carry(0, estimate, T(1));
        const std::uint8_t b = math_sub_equal_borrow(0, rlo, d);
        math_sub_equal_borrow(b, rhi, zero);
        if (steps != nullptr) ++steps->corrections;
    }
    q = estimate;
    r = rlo;
}

}  // namespace detail

/// The reference form of math_divmod_imp; `steps`, when given, receives what the division did.
/// Cost: per iteration, at most log2 N of them, three full products; no limb division.
template <engine_word T>
constexpr void math_divmod_series(const T& lo, const T& hi, const T& d, T& q, T& r,
                                  division_steps* steps = nullptr) noexcept {
    const T zero(0);
    const mint s = math_count_trailing_zeros(d);
    if (s + 1 + math_count_leading_zeros(d) == width_v<T>) {
        if (steps != nullptr) steps->taken = division_steps::path::power_of_two;
        T quotient(lo), multiple(lo);
        if (s != 0) {
            T spill(0);
            math_right_shift(lo, s, quotient);
            math_left_shift(hi, width_v<T> - s, spill);
            math_or_equal(quotient, spill);
            math_left_shift(quotient, s, multiple);
        }
        math_subborrow(0, lo, multiple, r);
        q = quotient;
        return;
    }
    if (math_is_zero(hi) && math_compare(lo, d) < 0) {
        if (steps != nullptr) steps->taken = division_steps::path::small_numerator;
        r = lo;
        q = zero;
        return;
    }
    T high(hi);
    if (math_compare(hi, d) >= 0) {
        // Here hi >= d and d is no power of two, so neither path above applies to hi alone.
        T dropped;
        detail::divide_by_series(hi, zero, d, dropped, high, nullptr);
        if (steps != nullptr) steps->high_word_reduced = true;
    }
    detail::divide_by_series(lo, high, d, q, r, steps);
}

/// The same quotient and remainder as math_divmod_series, limb by limb (Knuth, The Art of Computer Programming
/// 2, 4.3.1, algorithm D). A zero divisor returns q = 0, r = lo. Cost: n limb products for each limb of the quotient, n
/// the significant limbs of d, and one hardware division.
template <wide_word T>
constexpr void math_divmod_schoolbook(const T& lo, const T& hi, const T& d, T& q, T& r) noexcept {
    constexpr std::size_t limbs = T::limbs;
    umint u[2 * limbs + 1], v[limbs], digits[2 * limbs + 1];
    for (std::size_t i = 0; i < limbs; ++i) u[i] = lo.limb[i];
    for (std::size_t i = 0; i < limbs; ++i) u[limbs + i] = hi.limb[i];
    const std::size_t n = detail::significant_limbs(d.limb, limbs);
    std::size_t length = detail::significant_limbs(u, 2 * limbs);
    T quotient(0), remainder(0);
    if (n == 0 || length < n) {
        remainder = lo;
    } else {
        // Normalised: the divisor's top bit set, the numerator shifted with it, into one limb more if need be.
        const mint s = math_count_leading_zeros(d.limb[n - 1]);
        detail::shift_limbs_left(v, d.limb, n, s);
        u[length] = detail::shift_limbs_left(u, u, length, s);
        if (u[length] != 0) ++length;
        digits[length - n] = detail::divide_limbs(digits, u, length, v, n);
        for (std::size_t i = 0; i < limbs && i <= length - n; ++i) quotient.limb[i] = digits[i];
        detail::shift_limbs_right(remainder.limb, u, n, s);
    }
    q = quotient;
    r = remainder;
}

/// For the 2N-bit numerator hi * 2^N + lo: r = the remainder modulo d, q = the quotient modulo 2^N (its low N bits when
/// hi >= d). A zero divisor is not detected: the call returns with unspecified q and r. q and r may alias the inputs
/// but not each other. The limb takes the reciprocal series, the wide values the limb-by-limb form, which returns the
/// same bits sooner.
template <engine_word T>
constexpr void math_divmod_imp(const T& lo, const T& hi, const T& d, T& q, T& r) noexcept {
    if constexpr (wide_word<T>)
        math_divmod_schoolbook(lo, hi, d, q, r);
    else
        math_divmod_series(lo, hi, d, q, r);
}

/// Two-word numerator hi * 2^N + lo; see math_divmod_imp.
template <engine_word T>
constexpr void math_divmod(const T& lo, const T& hi, const T& d, T& q, T& r) noexcept {
    math_divmod_imp(lo, hi, d, q, r);
}

/// One-word numerator: n = q * d + r, 0 <= r < d.
template <engine_word T>
constexpr void math_divmod(const T& n, const T& d, T& q, T& r) noexcept {
    math_divmod_imp(n, T(0), d, q, r);
}

// --------------------------------------------------------------------------------------------------------------------
// Inverses
// --------------------------------------------------------------------------------------------------------------------

/// -a^(-1) modulo 2^64 for odd a (an even a yields a meaningless value).
/// Newton-Hensel: y = a + 2 is right modulo 4, because a (a + 2) = (a + 1)^2 - 1, and every step y (a y + 2) doubles
/// the bits.
constexpr umint math_mod_inv_2(const umint& a) noexcept {
    umint y = a + 2;
    y *= a * y + 2;
    y *= a * y + 2;
    y *= a * y + 2;
    y *= a * y + 2;
    y *= a * y + 2;
    return y;
}

/// -a^(-1) modulo 2^N for odd a (an even a yields a meaningless value): one more Newton-Hensel step per doubling of the
/// width. Cost: two low-half products at each width from 128 to N.
template <wide_word T>
constexpr T math_mod_inv_2(const T& a) noexcept {
    const T y(math_mod_inv_2(a.lo()));
    T t, r;
    math_mul(a, y, t);
    math_add_equal_carry(0, t, T(2));
    math_mul(y, t, r);
    return r;
}

namespace detail {

/// z = q * y modulo 2^N for a q that nearly always fits one limb, as the quotients of Euclid's algorithm do.
template <engine_word T>
constexpr void multiply_small(const T& q, const T& y, T& z) noexcept {
    if constexpr (wide_word<T>) {
        if (significant_limbs(q.limb, T::limbs) <= 1) {
            unsigned char carry = 0;
            math_mul_ui(0, 0, y, q.limb[0], carry, z);
            return;
        }
    }
    math_mul(q, y, z);
}

}  // namespace detail

/// Inverse of u modulo v in [1, v); 0 when gcd(u, v) != 1 and when v = 1. u may be larger than v. Precondition: v != 0.
/// Extended Euclid that carries only the non-negative cofactor and a sign toggle; cofactors never exceed v, so nothing
/// wraps. (Knuth, The Art of Computer Programming 2, 4.5.2, algorithm X.) Cost: at most 1.45 N divisions with small
/// quotients.
template <engine_word T>
constexpr T math_invmod(T u, T v) noexcept {
    if (math_compare(v, T(1)) == 0) return T(0);
    T x(1), y(0), a(u), b(v);
    int iter = 1;
    while (!math_is_zero(b)) {
        T q, t, z;
        math_divmod(a, b, q, t);
        detail::multiply_small(q, y, z);
        math_add_equal_carry(0, z, x);
        x = y;
        y = z;
        a = b;
        b = t;
        iter = -iter;
    }
    if (math_compare(a, T(1)) != 0) return T(0);
    if (iter < 0) math_subborrow(0, v, x, x);
    return x;
}

}  // namespace kesh
