/**
 * @file   intx_common.h
 * @brief  The generic algorithms, written once for every uintx_t<N> and, where it helps, for the 64-bit limb: carries,
 *         shifts, bit counts, products, division with remainder, inverses.
 *
 * The wide forms recurse on the two halves of a value and end in the limb primitives of intx_gcc.h. Results go to
 * trailing reference parameters; a two-word value is passed as (low, high). Nothing here allocates or throws.
 */
#pragma once

#include "Shared/intx/limb_division.h"
#include "Shared/intx/product.h"
#include "Shared/intx/vector_shift.h"

namespace kesh {

// --------------------------------------------------------------------------------------------------------------------
// Comparison
// --------------------------------------------------------------------------------------------------------------------

/** -1, 0 or 1 as a is below, equal to or above b; decides at the most significant limb that differs. */
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

/** a |= b. */
template <wide_word T>
constexpr void math_or_equal(T& a, const T& b) noexcept {
    for (std::size_t i = 0; i < T::limbs; ++i) a.limb[i] |= b.limb[i];
}

namespace detail {

/** Two limbs as the compiler's own integer, whose shifts have no branch and whose products no accumulator, and back. */
template <wide_word T>
    requires(T::limbs == 2)
constexpr umint2 joined(const T& a) noexcept {
    if constexpr (std::endian::native == std::endian::little) {
        if (!std::is_constant_evaluated()) {
            umint2 value;
            __builtin_memcpy(&value, a.limb, sizeof value);
            return value;
        }
    }
    return two_limbs(a.limb[1], a.limb[0]);
}
template <wide_word T>
    requires(T::limbs == 2)
constexpr void split(umint2 value, T& a) noexcept {
    if constexpr (std::endian::native == std::endian::little) {
        if (!std::is_constant_evaluated()) {
            __builtin_memcpy(a.limb, &value, sizeof value);
            return;
        }
    }
    a.limb[0] = low_limb(value);
    a.limb[1] = high_limb(value);
}

}  // namespace detail

// --------------------------------------------------------------------------------------------------------------------
// Addition and subtraction
// --------------------------------------------------------------------------------------------------------------------

/** r = a + b + c modulo 2^N; returns the carry out. c is 0 or 1; r may be the same object as a or b. */
template <wide_word T>
constexpr std::uint8_t math_addcarry(std::uint8_t c, const T& a, const T& b, T& r) noexcept {
    return detail::add_limbs<T::limbs>(r.limb, a.limb, b.limb, c);
}

/** a += b + c; returns the carry out. */
template <wide_word T>
constexpr std::uint8_t math_add_equal_carry(std::uint8_t c, T& a, const T& b) noexcept {
    return math_addcarry(c, a, b, a);
}

/** r = a - b - c modulo 2^N; returns the borrow out. c is 0 or 1; r may be the same object as a or b. */
template <wide_word T>
constexpr std::uint8_t math_subborrow(std::uint8_t c, const T& a, const T& b, T& r) noexcept {
    return detail::subtract_limbs<T::limbs>(r.limb, a.limb, b.limb, c);
}

/** a -= b + c; returns the borrow out. */
template <wide_word T>
constexpr std::uint8_t math_sub_equal_borrow(std::uint8_t c, T& a, const T& b) noexcept {
    return math_subborrow(c, a, b, a);
}

// --------------------------------------------------------------------------------------------------------------------
// Shifts and bit counts
// --------------------------------------------------------------------------------------------------------------------

namespace reference {

/** c = a << n by recursion on halves; also used for counts that are constants. */
template <wide_word T>
constexpr void math_left_shift(const T& a, mint n, T& c) noexcept;
/** The same for c = a >> n. */
template <wide_word T>
constexpr void math_right_shift(const T& a, mint n, T& c) noexcept;

/** The same for a half, which may be a limb. */
template <engine_word H>
constexpr void left_shift_half(const H& a, mint n, H& c) noexcept {
    if constexpr (wide_word<H>)
        reference::math_left_shift(a, n, c);
    else
        kesh::math_left_shift(a, n, c);
}
template <engine_word H>
constexpr void right_shift_half(const H& a, mint n, H& c) noexcept {
    if constexpr (wide_word<H>)
        reference::math_right_shift(a, n, c);
    else
        kesh::math_right_shift(a, n, c);
}

template <wide_word T>
constexpr void math_left_shift(const T& a, mint n, T& c) noexcept {
    using half = typename T::half_type;
    constexpr mint K = width_v<half>;
    if (n == 0) {
        c = a;
        return;
    }
    half lo(0), hi(0);
    if (n < K) {
        half spill(0);
        left_shift_half(a.hi(), n, hi);
        right_shift_half(a.lo(), K - n, spill);
        math_or_equal(hi, spill);
        left_shift_half(a.lo(), n, lo);
    } else if (n < T::bits) {
        left_shift_half(a.lo(), n - K, hi);
    }
    c = T(lo, hi);
}

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
        right_shift_half(a.lo(), n, lo);
        left_shift_half(a.hi(), K - n, spill);
        math_or_equal(lo, spill);
        right_shift_half(a.hi(), n, hi);
    } else {
        right_shift_half(a.hi(), n - K, lo);
    }
    c = T(lo, hi);
}

}  // namespace reference

/**
 * c = a << n; n >= N gives 0. Precondition: n >= 0. c may be the same object as a. The bits of
 * the reference form; the time does not depend on n.
 */
template <wide_word T>
constexpr void math_left_shift(const T& a, mint n, T& c) noexcept {
    KESH_REQUIRE(n >= 0);
    if (std::is_constant_evaluated() || __builtin_constant_p(n) || n >= T::bits) {
        reference::math_left_shift(a, n, c);
    } else if constexpr (T::limbs == 2) {
        detail::split(detail::joined(a) << n, c);
    } else {
#if defined(__x86_64__)
        detail::left_shift_limbs<T::limbs>(c.limb, a.limb, n);
#else
        reference::math_left_shift(a, n, c);
#endif
    }
}

/**
 * c = a >> n, logical. A count that is N or more when read as unsigned (so also a negative one) writes nothing: c
 * keeps its value. This differs from the left shift on purpose; no caller shifts by N or more. c may be the same
 * object as a. The bits of the reference form; the time does not depend on n.
 */
template <wide_word T>
constexpr void math_right_shift(const T& a, mint n, T& c) noexcept {
    if (static_cast<umint>(n) >= static_cast<umint>(T::bits)) return;
    if (std::is_constant_evaluated() || __builtin_constant_p(n)) {
        reference::math_right_shift(a, n, c);
    } else if constexpr (T::limbs == 2) {
        detail::split(detail::joined(a) >> n, c);
    } else {
#if defined(__x86_64__)
        detail::right_shift_limbs<T::limbs>(c.limb, a.limb, n);
#else
        reference::math_right_shift(a, n, c);
#endif
    }
}

/** a <<= n and a >>= n, with the same rules for counts out of range. */
template <wide_word T>
constexpr void math_left_shift_equal(T& a, mint n) noexcept {
    math_left_shift(a, n, a);
}
template <wide_word T>
constexpr void math_right_shift_equal(T& a, mint n) noexcept {
    math_right_shift(a, n, a);
}

/** rhi:rlo = the 2N-bit value hi:lo shifted left by n. Precondition: 0 <= n < N. Outputs may alias inputs. */
template <engine_word T>
constexpr void math_left_shift(const T& lo, const T& hi, mint n, T& rlo, T& rhi) noexcept {
    KESH_REQUIRE(0 <= n && n < width_v<T>);
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

/** rhi:rlo = the 2N-bit value hi:lo shifted right by n. Precondition: 0 <= n < N. Outputs may alias inputs. */
template <engine_word T>
constexpr void math_right_shift(const T& lo, const T& hi, mint n, T& rlo, T& rhi) noexcept {
    KESH_REQUIRE(0 <= n && n < width_v<T>);
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

/** Leading zero bits, counted from the most significant limb; N for a = 0. */
template <wide_word T>
constexpr mint math_count_leading_zeros(const T& a) noexcept {
    for (std::size_t i = 0; i < T::limbs; ++i) {
        const umint limb = a.limb[T::limbs - 1 - i];
        if (limb != 0) return MINT_BITS * static_cast<mint>(i) + math_count_leading_zeros(limb);
    }
    return T::bits;
}

/** Trailing zero bits, counted from limb 0; N for a = 0. */
template <wide_word T>
constexpr mint math_count_trailing_zeros(const T& a) noexcept {
    for (std::size_t i = 0; i < T::limbs; ++i) {
        if (a.limb[i] != 0) return MINT_BITS * static_cast<mint>(i) + math_count_trailing_zeros(a.limb[i]);
    }
    return T::bits;
}

/** Bit length; 0 for a = 0. */
template <wide_word T>
constexpr mint math_num_bits(const T& a) noexcept {
    return T::bits - math_count_leading_zeros(a);
}

// --------------------------------------------------------------------------------------------------------------------
// Products
// --------------------------------------------------------------------------------------------------------------------

namespace reference {

/**
 * hi * 2^N + lo = a * b by plain four-way recursion on halves.
 * Outputs may alias inputs. Cost: (N/64)^2 limb products.
 */
template <wide_word T>
constexpr void math_mul(const T& a, const T& b, T& lo, T& hi) noexcept {
    using half = typename T::half_type;
    const half alo = a.lo(), ahi = a.hi(), blo = b.lo(), bhi = b.hi();
    half c0(detail::unset), c1(detail::unset), d0(detail::unset), d1(detail::unset), h0(detail::unset),
        h1(detail::unset), l0(detail::unset), l1(detail::unset);
    const auto product = [](const half& x, const half& y, half& xylo, half& xyhi) {
        if constexpr (T::bits == 128)
            kesh::math_mul(x, y, xylo, xyhi);
        else
            reference::math_mul(x, y, xylo, xyhi);
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

/**
 * lo = a * b modulo 2^N by recursion on halves. Operands whose high halves
 * are both zero take the full product one level down, at every level. lo may alias a or b.
 */
template <wide_word T>
constexpr void math_mul(const T& a, const T& b, T& lo) noexcept {
    using half = typename T::half_type;
    const half alo = a.lo(), ahi = a.hi(), blo = b.lo(), bhi = b.hi();
    half l0(detail::unset), l1(detail::unset);
    if constexpr (T::bits == 128) {
        kesh::math_mul(alo, blo, l0, l1);
        if ((ahi | bhi) != 0) l1 += ahi * blo + alo * bhi;
    } else {
        reference::math_mul(alo, blo, l0, l1);
        if (!math_is_zero(ahi) || !math_is_zero(bhi)) {
            half cross(detail::unset);
            reference::math_mul(alo, bhi, cross);
            math_add_equal_carry(0, l1, cross);
            reference::math_mul(ahi, blo, cross);
            math_add_equal_carry(0, l1, cross);
        }
    }
    lo = T(l0, l1);
}

}  // namespace reference

namespace detail {

#if defined(__x86_64__)
/**
 * hi:lo = a^2, of sixteen limbs each: a0^2 + 2 a0 a1 2^512 + a1^2 2^1024, three products where a product takes four.
 * lo and hi must not overlap a.
 */
inline void square_by_halves(umint* lo, umint* hi, const umint* a) noexcept {
    umint cross[16];
    square8(lo, lo + 8, a);
    square8(hi, hi + 8, a + 8);
    multiply8(cross, cross + 8, a, a + 8);
    const umint top = shift_limbs_left(cross, cross, 16, 1);
    std::uint8_t carry = add_limbs<8>(lo + 8, lo + 8, cross);
    carry = add_limbs<8>(hi, hi, cross + 8, carry);
    const umint above[8] = {top};
    add_limbs<8>(hi + 8, hi + 8, above, carry);
}
#endif

/** hi:lo = a^2, of n limbs each. lo and hi must not overlap a. */
template <std::size_t n>
inline void full_square(umint* lo, umint* hi, const umint* a) noexcept {
    if constexpr (n == 1) {
        math_mul(*a, *a, *lo, *hi);
    } else {
#if defined(__x86_64__)
        if constexpr (n == 4 || n == 8 || n == 16) {
            if (level() >= Level::adx) {
                if constexpr (n == 4) square4(lo, hi, a);
                if constexpr (n == 8) square8(lo, hi, a);
                if constexpr (n == 16) square_by_halves(lo, hi, a);
                return;
            }
        }
#endif
        full_product<n>(lo, hi, a, a);
    }
}

}  // namespace detail

/**
 * hi * 2^N + lo = a * b exactly; the bits of the reference form, computed by straight-line code at run time, from 256
 * bits up by that for squares when both operands are one object. lo and hi must be other objects than a and b:
 * the limbs of the result are stored while the operands are still read.
 */
template <wide_word T>
constexpr void math_mul(const T& a, const T& b, T& lo, T& hi) noexcept {
    KESH_REQUIRE(&lo != &a && &lo != &b && &hi != &a && &hi != &b && &lo != &hi);
    if (std::is_constant_evaluated())
        reference::math_mul(a, b, lo, hi);
    else if (T::limbs >= 4 && &a == &b)
        detail::full_square<T::limbs>(lo.limb, hi.limb, a.limb);
    else
        detail::full_product<T::limbs>(lo.limb, hi.limb, a.limb, b.limb);
}

/**
 * lo = a * b modulo 2^N; the bits of the reference form. Operands whose high halves are both zero take the full
 * product of the low halves, as they do there. lo must be another object than a and b.
 */
template <wide_word T>
constexpr void math_mul(const T& a, const T& b, T& lo) noexcept {
    KESH_REQUIRE(&lo != &a && &lo != &b);
    if (std::is_constant_evaluated()) {
        reference::math_mul(a, b, lo);
        return;
    }
    if constexpr (T::limbs == 2) {
        detail::split(detail::joined(a) * detail::joined(b), lo);
    } else {
        constexpr std::size_t h = T::limbs / 2;
        umint high = 0;
        for (std::size_t i = h; i < T::limbs; ++i) high |= a.limb[i] | b.limb[i];
        if (high == 0)
            detail::full_product<h>(lo.limb, lo.limb + h, a.limb, b.limb);
        else
            detail::low_product<T::limbs>(lo.limb, a.limb, b.limb);
    }
}

/**
 * a * b + c0 + cc * 2^64 = r + ret * 2^N + co * 2^(N+64), where ret is the returned limb: the pair (c0, cc) goes in at
 * the bottom and the pair (ret, co) comes out at the top in the same format, so that calls chain from low to high. cc
 * is 0 or 1; on a wide value co is always 0. r may alias a. Each limb is the low half of its product and the high half
 * of the one below, so that one chain of carries runs through all of them, or with BMI2 one through each four.
 */
template <wide_word T>
constexpr umint math_mul_ui(unsigned char cc, umint c0, const T& a, umint b, unsigned char& co, T& r) noexcept {
    KESH_REQUIRE(cc <= 1);
    co = 0;
#if defined(__x86_64__)
    if constexpr (T::limbs >= 4) {
        if (!std::is_constant_evaluated() && cc == 0 && level() >= Level::adx) {
            umint top = c0;
#pragma GCC unroll 4
            for (std::size_t at = 0; at < T::limbs; at += 4)
                top = detail::product_by_limb4(r.limb + at, a.limb + at, b, top);
            return top;
        }
    }
#endif
    std::uint8_t carry = 0;
    umint below = c0, next = cc;  // the high half of a product is at most 2^64 - 2, so that cc fits on top of it
    constexpr std::size_t block = T::limbs < 4 ? T::limbs : 4;
#pragma GCC unroll 4
    for (std::size_t at = 0; at < T::limbs; at += block) {
        // Four products before their sums: a product changes the carry flag.
        umint lo[block] = {}, hi[block] = {};
#pragma GCC unroll 4
        for (std::size_t i = 0; i < block; ++i) math_mul(a.limb[at + i], b, lo[i], hi[i]);
        carry = math_addcarry(carry, lo[0], below, r.limb[at]);
        hi[0] += next;
        next = 0;
#pragma GCC unroll 4
        for (std::size_t i = 1; i < block; ++i) carry = math_addcarry(carry, lo[i], hi[i - 1], r.limb[at + i]);
        below = hi[block - 1];
    }
    return below + carry;
}

/** hi:lo = floor((ahi * 2^N + alo) * b / 2^N), the top 2N bits of the 3N-bit product. Outputs may alias inputs. */
template <wide_word T>
constexpr void math_mul_21(const T& alo, const T& ahi, const T& b, T& lo, T& hi) noexcept {
    T dropped(detail::unset), middle(detail::unset), low(detail::unset), high(detail::unset);
    math_mul(alo, b, dropped, middle);
    math_mul(ahi, b, low, high);
    const std::uint8_t c = math_addcarry(0, middle, low, lo);
    math_addcarry(c, high, T(0), hi);
}

// --------------------------------------------------------------------------------------------------------------------
// Division with remainder
// --------------------------------------------------------------------------------------------------------------------

namespace reference {

/** The numbers of steps of one division by the reciprocal series, for tests and measurements. */
struct DivisionSteps {
    enum class Path { power_of_two, small_numerator, series };
    Path taken = Path::series;
    bool high_word_reduced = false;
    int iterations = 0;   ///< of the series that produced the quotient
    int corrections = 0;  ///< upward corrections of its estimate
};

/**
 * No quotient estimate needs more corrections. With y = x / 2^N < 1/2 the computed x stays at most 3/2 below the exact
 * square, so every iteration, and the tail that is cut off when x reaches 0, lowers the estimate by at most 3/2: fewer
 * than log2 N + 4 in all. The bound leaves room and makes the loop end for a zero divisor as well.
 */
inline constexpr int correction_bound = 32;

/**
 * Quotient and remainder of hi:lo by d for hi < d, d not a power of two, by the reciprocal series
 *     n / (2^N - x) = (n / 2^N) (1 + y)(1 + y^2)(1 + y^4)...,  y = x / 2^N,  n:x = numerator and 2^N - divisor,
 *     normalised.
 */
template <engine_word T>
constexpr void divide_by_series(const T& lo, const T& hi, const T& d, T& q, T& r, DivisionSteps* steps) noexcept {
    const T zero(0);
    const mint s = kesh::math_count_leading_zeros(d) % width_v<T>;  // 0 for a zero divisor, for which there is no check
    T nlo(detail::unset), nhi(detail::unset), x(detail::unset);
    kesh::math_left_shift(lo, hi, s, nlo, nhi);
    kesh::math_left_shift(d, s, x);
    kesh::math_subborrow(0, zero, x, x);

    do {
        T plo(detail::unset), phi(detail::unset), dropped(detail::unset), squared(detail::unset);
        math_mul_21(nlo, nhi, x, plo, phi);
        const std::uint8_t c = math_add_equal_carry(0, nlo, plo);
        math_add_equal_carry(c, nhi, phi);
        kesh::math_mul(x, x, dropped, squared);
        x = squared;
        if (steps != nullptr) ++steps->iterations;
    } while (!math_is_zero(x));

    // The truncations only decrease n, so the estimate is never too large and all corrections increase it.
    T plo(detail::unset), phi(detail::unset), rlo(detail::unset), rhi(detail::unset);
    T estimate(nhi);
    kesh::math_mul(estimate, d, plo, phi);
    const std::uint8_t borrow = kesh::math_subborrow(0, lo, plo, rlo);
    kesh::math_subborrow(borrow, hi, phi, rhi);
    for (int k = 0; k < correction_bound && (!math_is_zero(rhi) || math_compare(rlo, d) >= 0); ++k) {
        math_add_equal_carry(0, estimate, T(1));
        const std::uint8_t b = math_sub_equal_borrow(0, rlo, d);
        math_sub_equal_borrow(b, rhi, zero);
        if (steps != nullptr) ++steps->corrections;
    }
    q = estimate;
    r = rlo;
}

/**
 * math_divmod_imp by that series; `steps`, if given, receives the numbers of steps. Cost: per iteration, at most log2 N
 * of them, three full products; no limb division.
 */
template <engine_word T>
constexpr void math_divmod_imp(const T& lo, const T& hi, const T& d, T& q, T& r,
                               DivisionSteps* steps = nullptr) noexcept {
    const T zero(0);
    const mint s = kesh::math_count_trailing_zeros(d);
    if (s + 1 + kesh::math_count_leading_zeros(d) == width_v<T>) {
        if (steps != nullptr) steps->taken = DivisionSteps::Path::power_of_two;
        T quotient(lo), multiple(lo);
        if (s != 0) {
            T spill(0);
            kesh::math_right_shift(lo, s, quotient);
            kesh::math_left_shift(hi, width_v<T> - s, spill);
            math_or_equal(quotient, spill);
            kesh::math_left_shift(quotient, s, multiple);
        }
        kesh::math_subborrow(0, lo, multiple, r);
        q = quotient;
        return;
    }
    if (math_is_zero(hi) && math_compare(lo, d) < 0) {
        if (steps != nullptr) steps->taken = DivisionSteps::Path::small_numerator;
        r = lo;
        q = zero;
        return;
    }
    T high(hi);
    if (math_compare(hi, d) >= 0) {
        // Here hi >= d and d is not a power of two, so neither path above applies to hi alone.
        T dropped(detail::unset);
        divide_by_series(hi, zero, d, dropped, high, nullptr);
        if (steps != nullptr) steps->high_word_reduced = true;
    }
    divide_by_series(lo, high, d, q, r, steps);
}

}  // namespace reference

namespace detail {

/**
 * r = value, limb by limb: g++ would build T(value) beside r and copy it by vector loads of limbs that were stored a
 * moment before, which wait until these have reached the cache. The zero is hidden from it: to clear 1024
 * bits it takes a string instruction, and the two of a division took 40 of its 405 cycles.
 */
template <wide_word T>
constexpr void set_to_limb(T& r, umint value) noexcept {
    r.limb[0] = value;
    umint zero = 0;
    keep_scalar(zero);
    for (std::size_t i = 1; i < T::limbs; ++i) r.limb[i] = zero;
}

/**
 * Quotient modulo 2^N and remainder by a d that is not one limb, of hi:lo, or of lo where hi is null; digit by digit
 * (Knuth, The Art of Computer Programming 2, 4.3.1, algorithm D). A zero divisor gives q = 0, r = lo. Cost: n limb
 * products for each limb of the quotient, n the significant limbs of d, and one hardware division.
 */
template <wide_word T>
constexpr void divide_by_limbs(const T& lo, const T* hi, const T& d, T& q, T& r) noexcept {
    constexpr std::size_t limbs = T::limbs;
    const std::size_t n = significant_limbs(d.limb, limbs);
    std::size_t length = hi == nullptr ? 0 : significant_limbs(hi->limb, limbs);
    length = length == 0 ? significant_limbs(lo.limb, limbs) : length + limbs;
    if (n == 0 || length < n) {
        r = lo;
        set_to_limb(q, 0);
        return;
    }
    // Normalised: the divisor's top bit is set, and the numerator is shifted with it, into one more limb if necessary.
    umint v[limbs], w[2 * limbs + 1];
    const mint s = math_count_leading_zeros(d.limb[n - 1]);
    shift_limbs_in<limbs, false>(v, d.limb, s, 0);
    umint above = shift_limbs_in<limbs, true>(w, lo.limb, s, 0);
    if (length > limbs) above = shift_limbs_in<limbs, true>(w + limbs, hi->limb, s, lo.limb[limbs - 1]);
    w[length > limbs ? 2 * limbs : limbs] = ~above;
    if (w[length] != ~umint{0}) ++length;
    set_to_limb(q, 0);
    const umint top = divide_limbs(q.limb, limbs, w, length, v, n);
    if (length - n < limbs) q.limb[length - n] = top;
    set_to_limb(r, 0);
    shift_from_complement(r.limb, w, n, s);
}

}  // namespace detail

/**
 * For the 2N-bit numerator hi * 2^N + lo: r = the remainder modulo d, q = the quotient modulo 2^N (its low N bits when
 * hi >= d). A zero divisor is not detected: the call returns with unspecified q and r. q and r may alias the inputs
 * but not each other. The limb uses the reciprocal series; wide values use the limb-by-limb form, which returns the
 * same bits faster.
 */
template <engine_word T>
constexpr void math_divmod_imp(const T& lo, const T& hi, const T& d, T& q, T& r) noexcept {
    if constexpr (wide_word<T>) {
        if constexpr (T::limbs == 2) {
            if (d.limb[1] != 0) {
                const detail::QuotientOfFour found =
                    detail::divide_four_by_two(hi.limb[1], hi.limb[0], lo.limb[1], lo.limb[0], d.limb[1], d.limb[0]);
                detail::store_two_limbs(q.limb, found.q0, found.q1);
                detail::store_two_limbs(r.limb, found.r0, found.r1);
                return;
            }
        }
        if (!detail::is_one_limb<T::limbs>(d.limb)) {
            detail::divide_by_limbs(lo, &hi, d, q, r);
            return;
        }
        const umint divisor = d.limb[0];
        const mint s = math_count_leading_zeros(divisor);
        const umint reciprocal = detail::reciprocal_of_limb(divisor << s);
        T dropped(detail::unset);
        const umint above = detail::divide_by_limb<T::limbs>(dropped.limb, hi.limb, divisor, s, reciprocal);
        detail::set_to_limb(r, detail::divide_by_limb<T::limbs>(q.limb, lo.limb, divisor, s, reciprocal, above));
    } else {
        reference::math_divmod_imp(lo, hi, d, q, r);
    }
}

/** Two-word numerator hi * 2^N + lo; see math_divmod_imp. */
template <engine_word T>
constexpr void math_divmod(const T& lo, const T& hi, const T& d, T& q, T& r) noexcept {
    math_divmod_imp(lo, hi, d, q, r);
}

/** One-word numerator: n = q * d + r, 0 <= r < d. The bits of the two-word form with hi = 0. */
template <engine_word T>
constexpr void math_divmod(const T& n, const T& d, T& q, T& r) noexcept {
    if constexpr (wide_word<T>) {
        if (detail::is_one_limb<T::limbs>(d.limb)) {
            detail::set_to_limb(r, detail::divide_by_limb<T::limbs>(q.limb, n.limb, d.limb[0]));
            return;
        }
        if constexpr (T::limbs == 4) {
            if ((d.limb[2] | d.limb[3]) == 0 && d.limb[1] != 0) {
                const detail::QuotientOfFour found =
                    detail::divide_four_by_two(n.limb[3], n.limb[2], n.limb[1], n.limb[0], d.limb[1], d.limb[0]);
                detail::store_two_limbs(q.limb, found.q0, found.q1);
                detail::store_two_limbs(q.limb + 2, found.q2, 0);
                detail::store_two_limbs(r.limb, found.r0, found.r1);
                detail::store_two_limbs(r.limb + 2, 0, 0);
                return;
            }
        }
        detail::divide_by_limbs<T>(n, nullptr, d, q, r);
    } else {
        math_divmod_imp(n, T(0), d, q, r);
    }
}

// --------------------------------------------------------------------------------------------------------------------
// Inverses
// --------------------------------------------------------------------------------------------------------------------

/**
 * -a^(-1) modulo 2^N for odd a (an even a yields a meaningless value): one more Newton-Hensel step per doubling of the
 * width. Cost: two low-half products at each width from 128 to N.
 */
template <wide_word T>
constexpr T math_mod_inv_2(const T& a) noexcept {
    const T y(math_mod_inv_2(a.lo()));
    T t(detail::unset), r(detail::unset);
    math_mul(a, y, t);
    math_add_equal_carry(0, t, T(2));
    math_mul(y, t, r);
    return r;
}

namespace detail {

/** z = q * y modulo 2^N for a q that nearly always fits one limb, as the quotients of Euclid's algorithm do. */
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

namespace detail {

__extension__ typedef __int128 signed2;

/**
 * (a, b) = (pa A - pb B, qb B - qa A) on `limbs` limbs, where (A, B) are a and b in this order or exchanged.
 * Preconditions: the factors are below 2^32, so that no sum leaves 128 bits; neither difference is negative.
 */
inline void combine_differences(umint* a, umint* b, const umint* A, const umint* B, umint pa, umint pb, umint qa,
                                umint qb, std::size_t limbs) noexcept {
    signed2 first = 0, second = 0;
    for (std::size_t i = 0; i < limbs; ++i) {
        const umint x = A[i], y = B[i];
        first += static_cast<signed2>(static_cast<umint2>(pa) * x) - static_cast<signed2>(static_cast<umint2>(pb) * y);
        second += static_cast<signed2>(static_cast<umint2>(qb) * y) - static_cast<signed2>(static_cast<umint2>(qa) * x);
        a[i] = static_cast<umint>(first);
        b[i] = static_cast<umint>(second);
        first >>= MINT_BITS;
        second >>= MINT_BITS;
    }
}

/**
 * (x, y) = (x0 x + y0 y, x1 x + y1 y) on `limbs` limbs; returns the new number of limbs, at most one more.
 * Precondition: the factors are below 2^32.
 */
inline std::size_t combine_sums(umint* x, umint* y, umint x0, umint y0, umint x1, umint y1,
                                std::size_t limbs) noexcept {
    umint2 first = 0, second = 0;
    for (std::size_t i = 0; i < limbs; ++i) {
        const umint u = x[i], v = y[i];
        first += static_cast<umint2>(x0) * u + static_cast<umint2>(y0) * v;
        second += static_cast<umint2>(x1) * u + static_cast<umint2>(y1) * v;
        x[i] = static_cast<umint>(first);
        y[i] = static_cast<umint>(second);
        first >>= MINT_BITS;
        second >>= MINT_BITS;
    }
    if ((first | second) == 0) return limbs;
    x[limbs] = static_cast<umint>(first);
    y[limbs] = static_cast<umint>(second);
    return limbs + 1;
}

/** r = p a + q b on `limbs` limbs, returns the limb above. r may be a or b. */
inline umint combine_sum(umint* r, umint p, const umint* a, umint q, const umint* b, std::size_t limbs) noexcept {
    umint carry_p = 0, carry_q = 0;
    for (std::size_t i = 0; i < limbs; ++i) {
        const umint2 first = static_cast<umint2>(p) * a[i] + carry_p;
        const umint2 second = static_cast<umint2>(q) * b[i] + carry_q + static_cast<umint>(first);
        carry_p = static_cast<umint>(first >> MINT_BITS);
        carry_q = static_cast<umint>(second >> MINT_BITS);
        r[i] = static_cast<umint>(second);
    }
    return carry_p + carry_q;
}

/**
 * The combined effect of several steps of Euclid's algorithm on a pair: after an even number of steps (a, b) is (x0
 * a - y0 b, y1 b - x1 a), after an odd number (y0 b - x0 a, x1 a - y1 b).
 */
struct EuclidSteps {
    umint x0 = 1, y0 = 0, x1 = 0, y1 = 1;
    bool odd = false;

    void step(umint q) noexcept {
        const umint x2 = x0 + q * x1, y2 = y0 + q * y1;
        x0 = x1;
        y0 = y1;
        x1 = x2;
        y1 = y2;
        odd = !odd;
    }
};

/**
 * The steps that have the same quotients for the top limbs a and b as for the whole numbers: they continue as long as
 * the next remainder exceeds the cofactors by Jebelean's condition. (T. Jebelean, A double-digit Lehmer-Euclid
 * algorithm, J. Symbolic Computation 19 (1995).) The cofactors stay below 2^32.
 */
inline EuclidSteps common_steps(umint a, umint b) noexcept {
    EuclidSteps s;
    while (b != 0) {
        const umint q = a / b, r = a % b;
        const umint y2 = s.y0 + q * s.y1;
        if (r < y2 || b - r < y2 + s.y1) break;
        s.step(q);
        a = b;
        b = r;
    }
    return s;
}

/**
 * Inverse of u modulo v, or 0, by Euclid's algorithm in Lehmer's form: the quotients of many steps from the top limbs
 * alone, then one pass over the numbers for all of them. (Knuth, The Art of Computer Programming 2, 4.5.2, algorithm
 * L.) Cost: about N / 29 passes of four limb products for each significant limb, and 0.6 N divisions of a limb by a
 * limb.
 */
template <wide_word T>
inline T inverse_by_lehmer(const T& u, const T& v) noexcept {
    if (math_compare(v, T(1)) == 0) return T(0);
    T a(v), b(u), x(0), y(1), dropped;  // a = +- x u, b = -+ y u modulo v
    if (math_compare(u, v) >= 0) math_divmod(u, v, dropped, b);
    bool y_positive = true;
    std::size_t cofactor_limbs = 1;
    std::size_t limbs = significant_limbs(a.limb, T::limbs);
    while (limbs > 1) {
        const mint s = math_count_leading_zeros(a.limb[limbs - 1]);
        const auto top = [limbs, s](const T& c) {
            return (c.limb[limbs - 1] << s) | (c.limb[limbs - 2] >> 1 >> (MINT_BITS - 1 - s));
        };
        const EuclidSteps steps = common_steps(top(a), top(b));
        if (steps.y0 != 0) {
            cofactor_limbs = combine_sums(x.limb, y.limb, steps.x0, steps.y0, steps.x1, steps.y1, cofactor_limbs);
            if (steps.odd) {
                combine_differences(a.limb, b.limb, b.limb, a.limb, steps.y0, steps.x0, steps.y1, steps.x1, limbs);
                y_positive = !y_positive;
            } else {
                combine_differences(a.limb, b.limb, a.limb, b.limb, steps.x0, steps.y0, steps.x1, steps.y1, limbs);
            }
        } else {
            // The top limbs do not determine the quotient of the next step.
            if (math_is_zero(b)) return T(0);
            T q(detail::unset), t(detail::unset), z(detail::unset);
            math_divmod(a, b, q, t);
            multiply_small(q, y, z);
            math_add_equal_carry(0, z, x);
            a = b;
            b = t;
            x = y;
            y = z;
            y_positive = !y_positive;
            cofactor_limbs = significant_limbs(y.limb, T::limbs);
        }
        while (limbs > 0 && a.limb[limbs - 1] == 0) --limbs;
    }
    // Both fit a limb, so the other steps need no condition.
    EuclidSteps steps;
    umint low = a.limb[0], next = b.limb[0];
    while (next != 0) {
        const umint q = low / next, r = low % next;
        steps.step(q);
        low = next;
        next = r;
    }
    if (low != 1) return T(0);
    T inverse(0);
    const umint over = combine_sum(inverse.limb, steps.x0, x.limb, steps.y0, y.limb, cofactor_limbs);
    if (over != 0) inverse.limb[cofactor_limbs] = over;
    // y u = b modulo v for a positive y, and x u = a has the other sign.
    if (y_positive != steps.odd) math_subborrow(0, v, inverse, inverse);
    return inverse;
}

}  // namespace detail

namespace reference {

/**
 * math_invmod by the extended Euclidean algorithm with only the non-negative cofactor and a sign toggle; cofactors
 * never exceed v, so nothing wraps. (Knuth, The Art of Computer Programming 2, 4.5.2, algorithm X.) Cost: at most
 * 1.45 N divisions with small quotients.
 */
template <engine_word T>
constexpr T math_invmod(T u, T v) noexcept {
    KESH_REQUIRE(!math_is_zero(v));
    if (math_compare(v, T(1)) == 0) return T(0);
    T x(1), y(0), a(u), b(v);
    int iter = 1;
    while (!math_is_zero(b)) {
        T q(detail::unset), t(detail::unset), z(detail::unset);
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
    if (iter < 0) kesh::math_subborrow(0, v, x, x);
    return x;
}

}  // namespace reference

/**
 * Inverse of u modulo v in [1, v); 0 when gcd(u, v) != 1 and when v = 1. u may be larger than v. Precondition: v != 0.
 * The bits of the reference form, by Lehmer's steps on the significant limbs for wide values.
 */
template <engine_word T>
constexpr T math_invmod(T u, T v) noexcept {
    KESH_REQUIRE(!math_is_zero(v));
    if constexpr (wide_word<T>) {
        if (!std::is_constant_evaluated()) {
            const T inverse = detail::inverse_by_lehmer(u, v);
            KESH_ENSURE(math_compare(inverse, v) < 0);
            return inverse;
        }
    }
    return reference::math_invmod(u, v);
}

}  // namespace kesh
