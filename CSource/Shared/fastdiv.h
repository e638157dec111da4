/// @file   fastdiv.h
/// @brief  Division of wide values by a fixed one-limb divisor with a precomputed round-up reciprocal.
///
/// magic = ceil(2^(N+s) / m) with 2^s <= m < 2^(s+1), and n / m is taken as floor(n * magic / 2^(N+s)).
/// (T. Granlund, P. L. Montgomery, Division by invariant integers using multiplication, PLDI 1994.)
#pragma once

#include "Shared/intx/intx_operator.h"

namespace kesh {

/// s = floor(log2 m), magic = ceil(2^(N+s) / m). Precondition: m odd and > 1 (for a power of two magic would be 2^N).
template <wide_word T>
constexpr void math_magic_shift(const unsigned long& m, mint& s, T& magic) noexcept {
    assert((m & (m - 1)) != 0);
    s = math_num_bits(m) - 1;
    T remainder;
    math_divmod_imp(T(m - 1), T(umint{1} << s), T(m), magic, remainder);
}

template <class T, class U>
struct fastdiv_data;

/// A one-limb divisor prepared for values of width N. Precondition: m odd and > 1.
/// n / d is exact for every n below 2^(N-1) and for every multiple of m below 2^N: with e = magic * m - 2^(N+s) < m <
/// 2^(s+1) the error n e / (m 2^(N+s)) stays below 1/m when n < 2^(N-1), and below 1 always.
template <wide_word T>
struct fastdiv_data<T, unsigned long> {
    T magic;          ///< ceil(2^(N+s) / m)
    unsigned long m;  ///< the divisor
    mint s;           ///< floor(log2 m)

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

/// floor(n / m) by one full product and a shift; see fastdiv_data for its range.
template <wide_word T>
constexpr T operator/(const T& n, const fastdiv_data<T, unsigned long>& d) noexcept {
    T lo, hi;
    math_mul(n, d.magic, lo, hi);
    math_right_shift_equal(hi, d.s);
    return hi;
}

/// n * m modulo 2^N, to form the remainder n - (n / d) * m.
template <wide_word T>
constexpr T operator*(const T& n, const fastdiv_data<T, unsigned long>& d) noexcept {
    return n * d.m;
}

}  // namespace kesh
