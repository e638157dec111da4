/**
 * @file   mont.h
 * @brief  Montgomery arithmetic with R = 2^N for an odd modulus, on the 64-bit limb and on every uintx_t<N>.
 *
 * A residue a is represented by a * R mod m, always fully reduced into [0, m), so that equal residues compare equal.
 * One multiplication costs two full products and one low-half product; there is no division after init(). (P. L.
 * Montgomery, Modular multiplication without trial division, Math. Comp. 44 (1985).)
 */
#pragma once

#include <cstdio>
#include <string>

#include "Shared/intx/intx_operator.h"

namespace kesh {

namespace detail {

/** Whether mprime can be -m^(-1) mod 2^N, by its lowest limb; implies that m is odd. For contracts. */
template <engine_word T>
constexpr bool belongs_to(const T& mprime, const T& m) noexcept {
    return static_cast<umint>(mprime) * static_cast<umint>(m) == ~umint{0};
}

/** Whether a b < m 2^N. For contracts. */
template <engine_word T>
constexpr bool reducible(const T& a, const T& b, const T& m) noexcept {
    T lo(unset), hi(unset);
    math_mul(a, b, lo, hi);
    return math_compare(hi, m) < 0;
}

/** r = (top 2^N + sum) mod m for a value below 2 m. */
template <engine_word T>
constexpr void reduce_sum(const T& sum, std::uint8_t top, const T& m, T& r) noexcept {
    if constexpr (wide_word<T>)
        reduce_once<T::limbs>(r.limb, sum.limb, top, m.limb);
    else
        reduce_once<1>(&r, &sum, top, &m);
}

}  // namespace detail

/**
 * r1 = (thi * 2^N + tlo) * R^(-1) mod m. Preconditions: m odd, mprime = -m^(-1) mod 2^N, thi < m (so the input is below
 * m * 2^N).
 */
template <engine_word T>
constexpr void math_mont_reduce(const T& tlo, const T& thi, const T& m, const T& mprime, T& r1) noexcept {
    KESH_REQUIRE(thi < m && detail::belongs_to(mprime, m));
    T u(detail::unset), plo(detail::unset), phi(detail::unset), sum(detail::unset);
    math_mul(tlo, mprime, u);
    math_mul(u, m, plo, phi);
    // The low word of the sum is 0 by the choice of u; only its carry matters.
    std::uint8_t c = math_addcarry(0, tlo, plo, plo);
    c = math_addcarry(c, thi, phi, sum);
    detail::reduce_sum(sum, c, m, r1);
    KESH_ENSURE(r1 < m);
}

namespace reference {

/** math_mont_mul by a product and then a reduction. */
template <engine_word T>
constexpr void math_mont_mul(const T& abar, const T& bbar, const T& m, const T& mprime, T& r) noexcept {
    T tlo(detail::unset), thi(detail::unset);
    kesh::math_mul(abar, bbar, tlo, thi);
    math_mont_reduce(tlo, thi, m, mprime, r);
}

}  // namespace reference

/**
 * r = abar * bbar * R^(-1) mod m, below m. Preconditions: m odd, abar * bbar < m * 2^N (it suffices that one factor is
 * below m). At run time the wide forms reduce limb by limb and return the bits of the reference form: the one residue
 * below m.
 */
template <engine_word T>
constexpr void math_mont_mul(const T& abar, const T& bbar, const T& m, const T& mprime, T& r) noexcept {
    KESH_REQUIRE(detail::reducible(abar, bbar, m) && detail::belongs_to(mprime, m));
    if constexpr (wide_word<T>) {
        if (!std::is_constant_evaluated()) {
            detail::montgomery_product<T::limbs>(r.limb, abar.limb, bbar.limb, m.limb, mprime.limb);
            KESH_ENSURE(r < m);
            return;
        }
    }
    reference::math_mont_mul(abar, bbar, m, mprime, r);
}

template <engine_word T>
struct mp_mont_data;

namespace reference {

/** M.pow(a, e) by squaring, from the lowest bit of e. */
template <engine_word T>
[[nodiscard]] constexpr T pow(const mp_mont_data<T>& M, const T& a, T e) noexcept {
    KESH_REQUIRE(a < M.m);
    T x = M.r1, square = a;
    while (e != T(0)) {
        if ((e & T(1)) == T(1)) M.mul(x, square, x);
        math_right_shift_equal(e, 1);
        if (e != T(0)) M.mul(square, square, square);
    }
    return x;
}

}  // namespace reference

/**
 * Montgomery context of one odd modulus m > 1: a plain value, built once and passed by const reference. Arguments
 * named a and b are residues in Montgomery form, below m, unless a comment says otherwise. Not checked in release
 * builds: m odd, > 1.
 */
template <engine_word T>
struct mp_mont_data {
    T m;       ///< the modulus
    T r1;      ///< R mod m, the Montgomery form of 1
    T r2;      ///< R^2 mod m, the factor that converts into Montgomery form
    T mprime;  ///< -m^(-1) mod 2^N

    constexpr void getM(T& r) const noexcept {
        r = m;
    }
    [[nodiscard]] constexpr T getM() const noexcept {
        return m;
    }

    /** No modulus yet: the fields are uninitialised until init(). */
    mp_mont_data() = default;
    constexpr explicit mp_mont_data(const T& _m) noexcept {
        init(_m);
    }

    /** Sets the four fields for the modulus _m. Cost: one inverse modulo 2^N and two divisions. */
    constexpr void init(const T& _m) noexcept {
        KESH_REQUIRE((T(1) & _m) == T(1) && _m != T(1));
        m = _m;
        mprime = math_mod_inv_2(m);
        const T zero(0);
        T quotient(detail::unset), negated(detail::unset);
        math_subborrow(0, zero, m, negated);
        math_divmod(negated, m, quotient, r1);
        math_divmod(zero, r1, m, quotient, r2);
        KESH_ENSURE(r1 < m && r2 < m && detail::belongs_to(mprime, m));
    }

    /** The Montgomery form of 1. */
    constexpr void one(T& r) const noexcept {
        r = r1;
    }
    [[nodiscard]] constexpr T one() const noexcept {
        return r1;
    }

    [[nodiscard]] constexpr T getr2() const noexcept {
        return r2;
    }

    constexpr void copy(const T& a, T& r) const noexcept {
        r = a;
    }

    /** a * R mod m for any a below 2^N: r2 < m keeps the product below m * 2^N, so a need not be reduced first. */
    constexpr void toMontMod(const T& a, T& r) const noexcept {
        math_mont_mul(a, r2, m, mprime, r);
    }
    [[nodiscard]] constexpr T toMontMod(const T& a) const noexcept {
        T r(detail::unset);
        toMontMod(a, r);
        return r;
    }

    /** The residue that a represents. */
    constexpr void fromMontMod(const T& a, T& r) const noexcept {
        math_mont_reduce(a, T(0), m, mprime, r);
    }
    [[nodiscard]] constexpr T fromMontMod(const T& a) const noexcept {
        T r(detail::unset);
        fromMontMod(a, r);
        return r;
    }

    constexpr void mul(const T& a, const T& b, T& r) const noexcept {
        math_mont_mul(a, b, m, mprime, r);
    }
    [[nodiscard]] constexpr T mul(const T& a, const T& b) const noexcept {
        T r(detail::unset);
        mul(a, b, r);
        return r;
    }

    constexpr void add(const T& a, const T& b, T& r) const noexcept {
        KESH_REQUIRE(a < m && b < m);
        T sum(detail::unset);
        const std::uint8_t c = math_addcarry(0, a, b, sum);
        detail::reduce_sum(sum, c, m, r);
        KESH_ENSURE(r < m);
    }
    [[nodiscard]] constexpr T add(const T& a, const T& b) const noexcept {
        T r(detail::unset);
        add(a, b, r);
        return r;
    }

    constexpr void sub(const T& a, const T& b, T& r) const noexcept {
        KESH_REQUIRE(a < m && b < m);
        const bool wraps = a < b;
        T difference(detail::unset);
        math_subborrow(0, a, b, difference);
        if (wraps) math_add_equal_carry(0, difference, m);
        r = difference;
        KESH_ENSURE(r < m);
    }
    [[nodiscard]] constexpr T sub(const T& a, const T& b) const noexcept {
        T r(detail::unset);
        sub(a, b, r);
        return r;
    }

    /** a / 2 modulo m: an odd a becomes even by adding the odd m; the sum's carry is the top bit of the half. */
    constexpr void div2(const T& a, T& r) const noexcept {
        KESH_REQUIRE(a < m);
        T sum(a);
        std::uint8_t c = 0;
        if ((a & T(1)) == T(1)) c = math_add_equal_carry(0, sum, m);
        math_right_shift_equal(sum, 1);
        if (c != 0) {
            T top(detail::unset);
            // cppcheck-suppress compareBoolExpressionWithInt ; no comparison: it closes the template arguments
            math_left_shift(T(1), width_v<T> - 1, top);
            sum |= top;
        }
        r = sum;
        KESH_ENSURE(r < m);
    }
    [[nodiscard]] constexpr T div2(const T& a) const noexcept {
        T r(detail::unset);
        div2(a, r);
        return r;
    }

    /**
     * r = a / b modulo m, where b is an ordinary integer (not in Montgomery form); 0 when gcd(b, m) != 1.
     * Cost: one extended Euclid and two Montgomery products.
     */
    constexpr void div(const T& a, T b, T& r) const noexcept {
        mul(a, toMontMod(math_invmod(b, m)), r);
    }

    /**
     * a^e in Montgomery form, e an ordinary integer, a^0 is one(). It reads the exponent from the top in windows of
     * bits that begin and end with a 1, and multiplies by an odd power of a from a table for each window. (A. J.
     * Menezes, P. C. van Oorschot, S. A. Vanstone, Handbook of Applied Cryptography, 14.85.) The time depends on e.
     * Cost: one squaring per bit, and one product for every 3 to 7 bits, with windows of 2 to 6 bits for exponents of
     * 24 to 1024 bits.
     */
    [[nodiscard]] constexpr T pow(const T& a, const T& e) const noexcept {
        KESH_REQUIRE(a < m);
        const mint length = math_num_bits(e);
        if (length < 10) return reference::pow(*this, a, e);
        const mint window = length < 24 ? 2 : length < 80 ? 3 : length < 240 ? 4 : length < 672 ? 5 : 6;
        const auto bit = [&e](mint i) {
            if constexpr (wide_word<T>)
                return (e.limb[i / MINT_BITS] >> (i % MINT_BITS)) & 1;
            else
                return (e >> i) & 1;
        };
        T odd_power[32] = {a};  // a, a^3, a^5, ...
        const T a_squared = mul(a, a);
        for (mint i = 1; i < mint{1} << (window - 1); ++i) mul(odd_power[i - 1], a_squared, odd_power[i]);

        T x = r1;
        bool begun = false;
        for (mint i = length - 1; i >= 0;) {
            if (bit(i) == 0) {
                mul(x, x, x);
                --i;
                continue;
            }
            // The longest window from bit i down that ends with a 1.
            mint last = i - window + 1 < 0 ? 0 : i - window + 1;
            while (bit(last) == 0) ++last;
            umint value = 0;
            for (mint k = i; k >= last; --k) {
                value = value << 1 | bit(k);
                if (begun) mul(x, x, x);
            }
            if (begun)
                mul(x, odd_power[value >> 1], x);
            else
                x = odd_power[value >> 1];
            begun = true;
            i = last - 1;
        }
        return x;
    }

    /** Prints the fields to stderr, one a line, in hexadecimal. */
    void dbg_print() const {
        std::fprintf(stderr, "m      = %s\nr1     = %s\nr2     = %s\nmprime = %s\n", to_string(m, 16).c_str(),
                     to_string(r1, 16).c_str(), to_string(r2, 16).c_str(), to_string(mprime, 16).c_str());
    }
};

}  // namespace kesh
