/**
 * @file   jacobi.h
 * @brief  Jacobi symbol and perfect-square test of every uintx_t<N>, for the parameter search of the Lucas test.
 *
 * The symbol (a/n) is computed along the Euclidean algorithm on (a, n): factors of 2 are removed by the rule for (2/n),
 * the two numbers are exchanged by quadratic reciprocity, and the width is halved as soon as both fit. (H. Cohen, A
 * Course in Computational Algebraic Number Theory, 1.4.2.)
 */
#pragma once

#include <limits>

#include "Shared/fastdiv.h"
#include "Shared/isqrt.h"

namespace kesh {

namespace detail {

/**
 * (2/n)^t for odd n, as a sign. (2/n) is -1 for n = 3, 5 modulo 8, where bit 3 of n^2 - 1 is set; only low bits enter.
 */
constexpr int two_rule(umint n, mint t) noexcept {
    return (((n * n - 1) * static_cast<umint>(t)) & 8) != 0 ? -1 : 1;
}

/** (a/n) (n/a) for odd a and n: -1 when both are 3 modulo 4. */
constexpr int reciprocity(umint a, umint n) noexcept {
    return (((a - 1) * (n - 1)) & 4) != 0 ? -1 : 1;
}

}  // namespace detail

/**
 * The Jacobi symbol (a/n): -1, 0 or 1. Precondition: n odd. (0/n) is 0 for every n, also for 1. Cost: one division per
 * step of the Euclidean algorithm.
 */
constexpr int Jacobi(umint a, umint n) noexcept {
    KESH_REQUIRE((n & 1) == 1);
    if (a == 0) return 0;
    if (n == 1) return 1;
    a %= n;
    int j = 1;
    while (a != 0) {
        const mint t = math_count_trailing_zeros(a);
        const umint odd = a >> t;
        j *= detail::two_rule(n, t) * detail::reciprocity(n, odd);
        if (odd == 1) return j;
        a = n % odd;
        n = odd;
    }
    return 0;
}

template <engine_word T>
constexpr int Jacobi(const T& a, const T& n) noexcept;

namespace detail {

/** The Euclidean algorithm at the full width, until both numbers fit into half of it. Precondition: a != 0. */
template <wide_word T>
constexpr int jacobi_at_full_width(const T& a, const T& n) noexcept {
    int j = 1;
    T x(a), y(n);
    // Invariant: the result is j * (x/y), y odd.
    while (y != T(1)) {
        T dropped(detail::unset), r(detail::unset);
        math_divmod_imp(x, T(0), y, dropped, r);
        x = y;
        y = r;
        if (math_is_zero(y)) return 0;
        const mint t = math_count_trailing_zeros(y);
        math_right_shift_equal(y, t);
        j *= two_rule(x.limb[0], t) * reciprocity(x.limb[0], y.limb[0]);
        if (math_is_zero(x.hi()) && math_is_zero(y.hi())) return j * Jacobi<typename T::half_type>(x.lo(), y.lo());
    }
    return j;
}

}  // namespace detail

/**
 * The Jacobi symbol (a/n): -1, 0 or 1. Precondition: n odd; a may be any value. (0/n) is 0 for every n, also for 1.
 * Cost: the full width is used only until both numbers fit into half of it.
 */
template <engine_word T>
constexpr int Jacobi(const T& a, const T& n) noexcept {
    KESH_REQUIRE((static_cast<umint>(n) & 1) == 1);
    if constexpr (wide_word<T>) {
        if (!math_is_zero(a.hi())) return detail::jacobi_at_full_width(a, n);
        if (math_is_zero(a.lo())) return 0;
        if (!math_is_zero(n.hi())) return detail::jacobi_at_full_width(a, n);
        return Jacobi<typename T::half_type>(a.lo(), n.lo());
    } else {
        return Jacobi(umint{a}, umint{n});
    }
}

/** (x/n) for a signed x, through (-1/n) = -1 exactly for n = 3 modulo 4. Precondition: n odd, x > -2^63. */
template <class Signed, engine_word T>
    requires std::same_as<Signed, long>
constexpr int Jacobi(const Signed& x, const T& n) noexcept {
    KESH_REQUIRE(x > std::numeric_limits<long>::min());
    if (x >= 0) return Jacobi<T>(T(static_cast<umint>(x)), n);
    const int j = Jacobi<T>(T(static_cast<umint>(-x)), n);
    return (static_cast<umint>(n) & 3) == 3 ? -j : j;
}

/**
 * (x/n) from the remainder of n modulo |x| alone, by reciprocity: for a wide n and a small x. Cost: that remainder.
 * n_low is the low limb of n. Preconditions: x and n odd, 1 < |x| < 2^63.
 */
constexpr int jacobi_of_small(long x, umint n_modulo_x, umint n_low) noexcept {
    const umint magnitude = static_cast<umint>(x < 0 ? -x : x);
    KESH_REQUIRE((magnitude & n_low & 1) == 1 && magnitude > 1 && n_modulo_x < magnitude);
    const int j = Jacobi(n_modulo_x, magnitude) * detail::reciprocity(magnitude, n_low);
    return x < 0 && (n_low & 3) == 3 ? -j : j;
}

namespace detail {

/** 63 * 25 * 11 * 17 * 19 * 23 * 31: one remainder modulo this is enough for the seven residue filters below. */
inline constexpr unsigned long square_filter_modulus = 3989930175;

/** True exactly for the 105 residues modulo 128 that are not squares. */
constexpr bool is_nonsquare_mod_128(umint x) noexcept {
    return ((x * 0x8BC40D7D) & (x * 0xA1E2F5D1) & 0x14020A) != 0;
}

// Each of the following is true exactly for the quadratic non-residues modulo the number in its name, 0 <= y < that.
// The multipliers spread y so that a bit of the mask remains after both products only for the non-residues; the tests
// prove this by trying all residues.
constexpr bool is_nonsquare_mod_63(umint y) noexcept {
    return ((y * 0x3D491DF7) & (y * 0xC824A9F9) & 0x10F14008) != 0;
}
constexpr bool is_nonsquare_mod_25(umint y) noexcept {
    return ((y * 0x1929FC1B) & (y * 0x4C9EA3B2) & 0x51001005) != 0;
}
constexpr bool is_nonsquare_mod_31(umint y) noexcept {
    const umint z = y * 0xD10D829A;
    return ((z + 0x672A5354) & z & 0x21025115) != 0;
}
constexpr bool is_nonsquare_mod_23(umint y) noexcept {
    return ((y * 0x7BD28629) & (y * 0xE7180889) & 0xF8300) != 0;
}
constexpr bool is_nonsquare_mod_19(umint y) noexcept {
    return ((y * 0x1B8BEAD3) & (y * 0x4D75A124) & 0x4280082B) != 0;
}
constexpr bool is_nonsquare_mod_17(umint y) noexcept {
    return ((y * 0x6736F323) & (y * 0x09B1D499) & 0xC0000300) != 0;
}
constexpr bool is_nonsquare_mod_11(umint y) noexcept {
    return ((y * 0xABF1A3A7) & (y * 0x2612BF93) & 0x45854000) != 0;
}

/** True if n cannot be a square, for r = n modulo square_filter_modulus; the most selective filter comes first. */
constexpr bool is_nonsquare_residue(umint r) noexcept {
    return is_nonsquare_mod_63(r % 63) || is_nonsquare_mod_25(r % 25) || is_nonsquare_mod_31(r % 31) ||
           is_nonsquare_mod_23(r % 23) || is_nonsquare_mod_19(r % 19) || is_nonsquare_mod_17(r % 17) ||
           is_nonsquare_mod_11(r % 11);
}

}  // namespace detail

/**
 * True exactly when n is a perfect square. s receives the root of the largest square up to n if n passes the residue
 * filters, and is not written if a filter rejects n. Cost: for all but one in a thousand random non-squares one product
 * by a reciprocal, which the first call at each width prepares (safe on several threads); otherwise one wide square
 * root.
 */
template <wide_word T>
bool isSquare(const T& n, T& s) noexcept {
    if (detail::is_nonsquare_mod_128(n.limb[0] & 127)) return false;
    static const fastdiv_data<T, unsigned long> mod(detail::square_filter_modulus);
    const T q = n / mod;
    if (detail::is_nonsquare_residue(n.limb[0] - q.limb[0] * detail::square_filter_modulus)) return false;
    T rest(detail::unset);
    math_isqrt_exact(n, s, rest);
    return math_is_zero(rest);
}

}  // namespace kesh
