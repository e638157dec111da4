/**
 * @file   fastdiv.h
 * @brief  Division by a fixed one-limb divisor with a precomputed reciprocal: of a whole wide value by one product, or
 *         limb by limb.
 *
 * fastdiv_data: magic = ceil(2^(N+s) / m) with 2^s <= m < 2^(s+1), and n / m is computed as floor(n * magic / 2^(N+s)).
 * (T. Granlund, P. L. Montgomery, Division by invariant integers using multiplication, PLDI 1994.)
 *
 * fastdiv2x1: the two-by-one division with the reciprocal of the normalised divisor, magic = floor((2^128 - 1) / d) -
 * 2^64. (N. Moller, T. Granlund, Improved division by invariant integers, IEEE Trans. Computers 60 (2011).)
 */
#pragma once

#include "Shared/intx/intx_operator.h"

namespace kesh {

/**
 * s = floor(log2 m), magic = ceil(2^(N+s) / m). Precondition: m odd and > 1 (for a power of two magic would be 2^N).
 */
template <wide_word T>
constexpr void math_magic_shift(const unsigned long& m, mint& s, T& magic) noexcept {
    KESH_REQUIRE((m & 1) == 1 && m > 1);
    s = math_num_bits(m) - 1;
    T remainder(detail::unset);
    math_divmod_imp(T(m - 1), T(umint{1} << s), T(m), magic, remainder);
}

template <class T, class U>
struct fastdiv_data;

/**
 * A one-limb divisor prepared for values of width N. Precondition: m odd and > 1.
 * n / d is exact for every n below 2^(N-1) and for every multiple of m below 2^N: with e = magic * m - 2^(N+s) < m <
 * 2^(s+1) the error n e / (m 2^(N+s)) stays below 1/m when n < 2^(N-1), and below 1 always.
 */
template <wide_word T>
struct fastdiv_data<T, unsigned long> {
    T magic;          ///< ceil(2^(N+s) / m)
    unsigned long m;  ///< the divisor
    mint s;           ///< floor(log2 m)

    // cppcheck-suppress uninitMemberVar ; init() follows
    fastdiv_data() = default;
    constexpr explicit fastdiv_data(const unsigned long& _m) noexcept {
        init(_m);
    }

    constexpr void init(const unsigned long& _m) noexcept {
        m = _m;
        math_magic_shift(m, s, magic);
    }

    [[nodiscard]] constexpr unsigned long getM() const noexcept {
        return m;
    }
};

namespace reference {

/** n / d = floor(n magic / 2^(N+s)) by one full product and a shift. */
template <wide_word T>
constexpr T divide(const T& n, const fastdiv_data<T, unsigned long>& d) noexcept {
    T lo(detail::unset), hi(detail::unset);
    kesh::math_mul(n, d.magic, lo, hi);
    math_right_shift_equal(hi, d.s);
    return hi;
}

}  // namespace reference

/**
 * n / m, with the same bits as reference::divide; fastdiv_data says for which n it is exact. From 256 bits up it
 * divides limb by limb, with the reciprocal of the limb that is in the top of magic, instead of making a product of the
 * whole width: magic is 2^(N-65) times the reciprocal, rounded up, and 2^(N-65) exceeds m, so that the rounding does
 * not reach the reciprocal. The product's quotient differs from the exact one, by 1, only for a remainder of m - 1:
 * with e = magic m - 2^(N+s) it exceeds n / m by n e / (m 2^(N+s)) < 2 / m. In that case the product is used.
 */
template <wide_word T>
constexpr T operator/(const T& n, const fastdiv_data<T, unsigned long>& d) noexcept {
    if constexpr (T::limbs > 2) {
        constexpr std::size_t top = T::limbs - 1;
        const umint reciprocal = (d.magic.limb[top] << 1) | (d.magic.limb[top - 1] >> (MINT_BITS - 1));
        T quotient(detail::unset);
        const umint rest =
            detail::divide_by_limb<T::limbs>(quotient.limb, n.limb, d.m, MINT_BITS - 1 - d.s, reciprocal);
        if (rest != d.m - 1) return quotient;
    }
    return reference::divide(n, d);
}

/** n * m modulo 2^N, to form the remainder n - (n / d) * m. */
template <wide_word T>
constexpr T operator*(const T& n, const fastdiv_data<T, unsigned long>& d) noexcept {
    return n * d.m;
}

/**
 * d = m shifted left until its top bit is set, s = the shift, magic = floor((2^128 - 1) / d) - 2^64.
 * Precondition: m != 0. The top of the dividend, 2^64 - 1 - d, is below d, so the quotient fits.
 */
constexpr void math_magic_shift(const unsigned long& m, std::uint16_t& s, unsigned long& d,
                                unsigned long& magic) noexcept {
    KESH_REQUIRE(m != 0);
    const mint shift = math_count_leading_zeros(m);
    s = static_cast<std::uint16_t>(shift);
    d = m << shift;
    unsigned long remainder = 0;
    math_divmod(~umint{0}, ~d, d, magic, remainder);
}

template <class T, class U>
struct fastdiv2x1;

/**
 * A one-limb divisor prepared for the division of two limbs, and so of any number of limbs. Any m != 0. It also has the
 * members of a Montgomery context, with R = 1: a residue is its own Montgomery form, below m.
 */
template <>
struct fastdiv2x1<unsigned long, unsigned long> {
    unsigned long magic;  ///< floor((2^128 - 1) / d) - 2^64
    unsigned long d;      ///< m << s, top bit set
    unsigned long m;      ///< the divisor
    std::uint16_t s;      ///< leading zero bits of m
    std::uint16_t size;   ///< reserved

    // cppcheck-suppress uninitMemberVar ; init() follows
    fastdiv2x1() = default;
    constexpr explicit fastdiv2x1(unsigned long _m) noexcept : size(0) {
        init(_m);
    }

    constexpr void init(unsigned long _m) noexcept {
        m = _m;
        math_magic_shift(m, s, d, magic);
    }

    /**
     * (nhi * 2^64 + n0) modulo m; quo = the low 64 bits of the quotient.
     * Cost: two products and at most two corrections, twice that when nhi >= m.
     */
    constexpr unsigned long mod(unsigned long n0, unsigned long nhi, unsigned long& quo) const noexcept {
        if (nhi >= m) {
            unsigned long dropped = 0;
            nhi = mod(nhi, 0, dropped);
        }
        const unsigned long u0 = n0 << s;
        const unsigned long u1 = s == 0 ? nhi : (nhi << s) | (n0 >> (MINT_BITS - s));

        // q1:q0 = magic * u1 + (u1 + 1):u0; bits above 128 are dropped on purpose; r corrects for them.
        unsigned long q0 = 0, q1 = 0;
        math_mul(magic, u1, q0, q1);
        const std::uint8_t carry = math_add_equal_carry(0, q0, u0);
        q1 += u1 + 1 + carry;

        unsigned long r = u0 - q1 * d;
        if (r > q0) {
            --q1;
            r += d;
        }
        if (r >= d) {
            ++q1;
            r -= d;
        }
        quo = q1;
        KESH_ENSURE(r >> s < m);
        return r >> s;
    }
    [[nodiscard]] constexpr unsigned long mod(unsigned long n0, unsigned long nhi) const noexcept {
        unsigned long dropped = 0;
        return mod(n0, nhi, dropped);
    }

    /** quo = n / m, modv = n modulo m, limb by limb from the top. */
    template <wide_word T>
    constexpr void mod_quo(const T& n, T& modv, T& quo) const noexcept {
        unsigned long remainder = 0;
        for (std::size_t i = T::limbs; i-- > 0;) remainder = mod(n.limb[i], remainder, quo.limb[i]);
        modv = T(remainder);
    }

    /** a modulo m and a * b modulo m, for any a and b. */
    [[nodiscard]] constexpr unsigned long getmod(unsigned long a) const noexcept {
        return mod(a, 0);
    }
    [[nodiscard]] constexpr unsigned long mulmod(unsigned long a, unsigned long b) const noexcept {
        unsigned long lo = 0, hi = 0;
        math_mul(a, b, lo, hi);
        return mod(lo, hi);
    }

    [[nodiscard]] constexpr unsigned long getM() const noexcept {
        return m;
    }
    [[nodiscard]] constexpr unsigned long one() const noexcept {
        return getmod(1);
    }
    [[nodiscard]] constexpr unsigned long getr2() const noexcept {
        return one();
    }
    constexpr void copy(unsigned long a, unsigned long& r) const noexcept {
        r = a;
    }
    [[nodiscard]] constexpr unsigned long toMontMod(unsigned long a) const noexcept {
        return getmod(a);
    }
    [[nodiscard]] constexpr unsigned long fromMontMod(unsigned long a) const noexcept {
        return a;
    }

    /** The operations below take residues and return one. */
    [[nodiscard]] constexpr unsigned long mul(unsigned long a, unsigned long b) const noexcept {
        return mulmod(a, b);
    }
    [[nodiscard]] constexpr unsigned long sub(unsigned long a, unsigned long b) const noexcept {
        KESH_REQUIRE(a < m && b < m);
        return a >= b ? a - b : a - b + m;
    }
    /** a / 2; m odd. An odd a becomes even by adding m, and the sum of the halves does not overflow. */
    [[nodiscard]] constexpr unsigned long div2(unsigned long a) const noexcept {
        KESH_REQUIRE((m & 1) == 1 && a < m);
        return (a >> 1) + ((a & 1) != 0 ? (m >> 1) + 1 : 0);
    }
    /** a / b; 0 when b and m have a common factor. m odd. */
    [[nodiscard]] constexpr unsigned long div(unsigned long a, unsigned long b) const noexcept {
        KESH_REQUIRE((m & 1) == 1);
        return mulmod(a, math_invmod(getmod(b), m));
    }
};

template <wide_word T>
constexpr T operator/(const T& n, const fastdiv2x1<unsigned long, unsigned long>& p) noexcept {
    T remainder(detail::unset), quotient(detail::unset);
    p.mod_quo(n, remainder, quotient);
    return quotient;
}

/** q * p.m modulo 2^N. */
template <wide_word T>
constexpr T operator*(const T& q, const fastdiv2x1<unsigned long, unsigned long>& p) noexcept {
    return q * p.m;
}

}  // namespace kesh
