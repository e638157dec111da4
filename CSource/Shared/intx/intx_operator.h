/// @file   intx_operator.h
/// @brief  Operators, conversions and text of the fixed-width integers: the header to include to use them.
///
/// Arithmetic is modulo 2^N and never throws. A machine-integer operand is first widened as the constructors do, so a
/// negative one stands for its sign-extended value: x == -1 holds only for x = 2^N - 1. The one exception is the factor on
/// the right of a product, which is a limb: x * -1 is x * (2^64 - 1).
#pragma once

#include <algorithm>
#include <bit>
#include <compare>
#include <cstdio>
#include <string>
#include <string_view>

#include "Shared/intx/intx_common.h"

namespace kesh {

// --------------------------------------------------------------------------------------------------------------------
// Comparison
// --------------------------------------------------------------------------------------------------------------------

template <mint N>
constexpr bool operator==(const uintx_t<N>& a, const uintx_t<N>& b) noexcept {
    return math_compare(a, b) == 0;
}
template <mint N, std::integral I>
constexpr bool operator==(const uintx_t<N>& a, I b) noexcept {
    return a == uintx_t<N>(b);
}

template <mint N>
constexpr std::strong_ordering operator<=>(const uintx_t<N>& a, const uintx_t<N>& b) noexcept {
    return math_compare(a, b) <=> 0;
}
template <mint N, std::integral I>
constexpr std::strong_ordering operator<=>(const uintx_t<N>& a, I b) noexcept {
    return a <=> uintx_t<N>(b);
}

/// True when the value is zero.
template <mint N>
constexpr bool operator!(const uintx_t<N>& a) noexcept {
    return math_is_zero(a);
}

template <mint N>
constexpr bool operator==(const intx_t<N>& a, const intx_t<N>& b) noexcept {
    return uintx_t<N>(a) == uintx_t<N>(b);
}

// --------------------------------------------------------------------------------------------------------------------
// Bitwise operators and shifts
// --------------------------------------------------------------------------------------------------------------------

template <wide_word T>
constexpr T& operator&=(T& a, const T& b) noexcept {
    for (std::size_t i = 0; i < T::limbs; ++i) a.limb[i] &= b.limb[i];
    return a;
}
template <wide_word T>
constexpr T& operator|=(T& a, const T& b) noexcept {
    math_or_equal(a, b);
    return a;
}
template <wide_word T>
constexpr T operator&(T a, const T& b) noexcept {
    return a &= b;
}
template <wide_word T>
constexpr T operator|(T a, const T& b) noexcept {
    return a |= b;
}

/// n >= N gives 0. Precondition: n >= 0.
template <wide_word T>
constexpr T& operator<<=(T& a, mint n) noexcept {
    math_left_shift_equal(a, n);
    return a;
}
template <wide_word T>
constexpr T operator<<(T a, mint n) noexcept {
    return a <<= n;
}

/// A count out of range (n >= N or n < 0) leaves the value as it is; see math_right_shift.
template <wide_word T>
constexpr T& operator>>=(T& a, mint n) noexcept {
    math_right_shift_equal(a, n);
    return a;
}
template <wide_word T>
constexpr T operator>>(T a, mint n) noexcept {
    return a >>= n;
}

// --------------------------------------------------------------------------------------------------------------------
// Arithmetic
// --------------------------------------------------------------------------------------------------------------------

template <wide_word T>
constexpr T& operator+=(T& a, const T& b) noexcept {
    math_add_equal_carry(0, a, b);
    return a;
}
template <wide_word T>
constexpr T& operator-=(T& a, const T& b) noexcept {
    math_sub_equal_borrow(0, a, b);
    return a;
}
template <wide_word T>
constexpr T operator*(const T& a, const T& b) noexcept {
    T product;
    math_mul(a, b, product);
    return product;
}
template <wide_word T>
constexpr T& operator*=(T& a, const T& b) noexcept {
    return a = a * b;
}
/// Precondition: b != 0.
template <wide_word T>
constexpr T& operator/=(T& a, const T& b) noexcept {
    T r;
    math_divmod(a, b, a, r);
    return a;
}
/// Precondition: b != 0.
template <wide_word T>
constexpr T& operator%=(T& a, const T& b) noexcept {
    T q;
    math_divmod(a, b, q, a);
    return a;
}

template <wide_word T>
constexpr T operator+(T a, const T& b) noexcept {
    return a += b;
}
template <wide_word T>
constexpr T operator-(T a, const T& b) noexcept {
    return a -= b;
}
template <wide_word T>
constexpr T operator/(T a, const T& b) noexcept {
    return a /= b;
}
template <wide_word T>
constexpr T operator%(T a, const T& b) noexcept {
    return a %= b;
}

template <wide_word T, std::integral I>
constexpr T& operator+=(T& a, I b) noexcept {
    return a += T(b);
}
template <wide_word T, std::integral I>
constexpr T& operator-=(T& a, I b) noexcept {
    return a -= T(b);
}
template <wide_word T>
constexpr T& operator*=(T& a, umint b) noexcept {
    unsigned char carry = 0;
    math_mul_ui(0, 0, a, b, carry, a);
    return a;
}
template <wide_word T, std::integral I>
constexpr T operator+(T a, I b) noexcept {
    return a += T(b);
}
template <wide_word T, std::integral I>
constexpr T operator-(T a, I b) noexcept {
    return a -= T(b);
}
template <wide_word T>
constexpr T operator*(T a, umint b) noexcept {
    return a *= b;
}
template <wide_word T>
constexpr T operator*(int a, T b) noexcept {
    return b *= T(a);
}
/// Precondition: b != 0; a negative b stands for its sign-extended value.
template <wide_word T, std::integral I>
constexpr T& operator/=(T& a, I b) noexcept {
    return a /= T(b);
}
/// Precondition: b != 0; a negative b stands for its sign-extended value.
template <wide_word T, std::integral I>
constexpr T operator/(T a, I b) noexcept {
    return a /= T(b);
}

template <mint N>
requires supported_width<N>
constexpr uintx_t<N>& uintx_t<N>::operator++() noexcept {
    return *this += uintx_t(1);
}
template <mint N>
requires supported_width<N>
constexpr uintx_t<N>& uintx_t<N>::operator--() noexcept {
    return *this -= uintx_t(1);
}
template <mint N>
requires supported_width<N>
constexpr uintx_t<N> uintx_t<N>::operator++(int) noexcept {
    const uintx_t before(*this);
    ++*this;
    return before;
}
template <mint N>
requires supported_width<N>
constexpr uintx_t<N> uintx_t<N>::operator--(int) noexcept {
    const uintx_t before(*this);
    --*this;
    return before;
}

namespace detail {

/// -a modulo 2^N.
template <wide_word T>
constexpr T negated(const T& a) noexcept {
    return T(0) - a;
}

/// |a| as an unsigned value; the most negative a gives 2^(N-1).
template <mint N>
constexpr uintx_t<N> magnitude(const intx_t<N>& a) noexcept {
    return a.sign() ? negated(uintx_t<N>(a)) : uintx_t<N>(a);
}

}  // namespace detail

template <mint N>
requires supported_width<N>
constexpr void intx_t<N>::divmod(const intx_t& a, const intx_t& b, intx_t& q, intx_t& r) noexcept {
    const bool remainder_negative = a.sign();
    const bool quotient_negative = a.sign() != b.sign();
    uintx_t<N> quotient, remainder;
    math_divmod(detail::magnitude(a), detail::magnitude(b), quotient, remainder);
    q = quotient_negative ? detail::negated(quotient) : quotient;
    r = remainder_negative ? detail::negated(remainder) : remainder;
}
template <mint N>
requires supported_width<N>
constexpr intx_t<N>& intx_t<N>::operator/=(const intx_t& b) noexcept {
    intx_t r;
    divmod(*this, b, *this, r);
    return *this;
}
template <mint N>
requires supported_width<N>
constexpr intx_t<N>& intx_t<N>::operator%=(const intx_t& b) noexcept {
    intx_t q;
    divmod(*this, b, q, *this);
    return *this;
}

// --------------------------------------------------------------------------------------------------------------------
// Conversions
// --------------------------------------------------------------------------------------------------------------------

template <mint N>
requires supported_width<N>
constexpr uintx_t<N>::operator bool() const noexcept {
    return !math_is_zero(*this);
}
template <mint N>
requires supported_width<N>
constexpr intx_t<N>::operator bool() const noexcept {
    return uintx_t<N>(*this) != uintx_t<N>(0);
}

template <mint N>
requires supported_width<N>
constexpr uintx_t<N>::operator double() const noexcept {
    const mint length = math_num_bits(*this);
    if (length <= MINT_BITS) return static_cast<double>(limb[0]);
    // The top 64 bits, with every bit below them folded into the lowest: 11 bits more than a double holds, so the
    // hardware conversion of this limb rounds the whole value.
    const mint dropped = length - MINT_BITS;
    uintx_t top(0);
    math_right_shift(*this, dropped, top);
    const umint sticky = math_count_trailing_zeros(*this) < dropped ? 1 : 0;
    const double scale = std::bit_cast<double>(static_cast<umint>(1023 + dropped) << 52);  // 2^dropped
    return static_cast<double>(top.limb[0] | sticky) * scale;
}
template <mint N>
requires supported_width<N>
constexpr intx_t<N>::operator double() const noexcept {
    const double size = static_cast<double>(detail::magnitude(*this));
    return sign() ? -size : size;
}

// --------------------------------------------------------------------------------------------------------------------
// Text
// --------------------------------------------------------------------------------------------------------------------

/// Reads the whole of `text`: decimal digits, or 0x (or 0X) and hexadecimal digits of either case. Returns false, and
/// leaves `value` as it was, when the text is malformed (empty, no digit after 0x, any other character, a sign, a
/// space) or when its value is 2^N or more. Leading zeros are allowed. Cost: one limb product of the width per digit.
template <mint N>
[[nodiscard]] constexpr bool from_string(std::string_view text, uintx_t<N>& value) noexcept {
    umint base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    if (text.empty()) return false;
    uintx_t<N> sum(0);
    for (const char c : text) {
        umint digit = base;
        if (c >= '0' && c <= '9') digit = static_cast<umint>(c - '0');
        if (c >= 'a' && c <= 'f') digit = static_cast<umint>(c - 'a') + 10;
        if (c >= 'A' && c <= 'F') digit = static_cast<umint>(c - 'A') + 10;
        if (digit >= base) return false;
        unsigned char carry = 0;
        if (math_mul_ui(0, digit, sum, base, carry, sum) != 0) return false;
    }
    value = sum;
    return true;
}

/// The same with an optional leading '-'; the value must lie in [-2^(N-1), 2^(N-1)). Hexadecimal text is a magnitude,
/// not a bit pattern.
template <mint N>
[[nodiscard]] constexpr bool from_string(std::string_view text, intx_t<N>& value) noexcept {
    const bool negative = !text.empty() && text.front() == '-';
    if (negative) text.remove_prefix(1);
    uintx_t<N> size;
    if (!from_string(text, size)) return false;
    const uintx_t<N> limit = (uintx_t<N>(1) << (N - 1)) - (negative ? 0 : 1);
    if (size > limit) return false;
    value = negative ? detail::negated(size) : size;
    return true;
}

template <mint N>
requires supported_width<N> uintx_t<N>::uintx_t(const std::string& text)
noexcept : uintx_t(text.c_str()) {}
template <mint N>
requires supported_width<N> uintx_t<N>::uintx_t(const char* text)
noexcept {
    if (!from_string(text, *this)) *this = uintx_t(0);
}
template <mint N>
requires supported_width<N> intx_t<N>::intx_t(const std::string& text)
noexcept : intx_t(text.c_str()) {}
template <mint N>
requires supported_width<N> intx_t<N>::intx_t(const char* text)
noexcept {
    if (!from_string(text, *this)) *this = intx_t(0);
}

/// `value` as text: base 10, or base 16 with the prefix 0x and lower-case digits. Allocates the returned string.
/// Precondition: base is 10 or 16.
inline std::string to_string(const umint& value, int base = 10) {
    assert(base == 10 || base == 16);
    char text[24];
    std::snprintf(text, sizeof text, base == 16 ? "0x%lx" : "%lu", value);
    return text;
}

/// Cost in base 10: quadratic in the width, one limb division per limb and 19 digits.
template <mint N>
[[nodiscard]] std::string to_string(uintx_t<N> value, int base = 10) {
    assert(base == 10 || base == 16);
    if (math_num_bits(value) <= MINT_BITS) return to_string(value.limb[0], base);
    // Digits are cut off in chunks of the largest power of the base that one limb holds.
    const umint chunk_base = base == 16 ? umint{1} << 60 : 10'000'000'000'000'000'000U;
    const std::size_t chunk_digits = base == 16 ? 15 : 19;
    std::string reversed;
    while (!math_is_zero(value)) {
        umint chunk = 0;
        for (std::size_t i = uintx_t<N>::limbs; i-- > 0;) {
            math_divmod(value.limb[i], chunk, chunk_base, value.limb[i], chunk);
        }
        for (std::size_t i = 0; i < chunk_digits; ++i) {
            reversed += "0123456789abcdef"[chunk % static_cast<umint>(base)];
            chunk /= static_cast<umint>(base);
        }
    }
    reversed.erase(reversed.find_last_not_of('0') + 1);
    if (base == 16) reversed += "x0";
    std::reverse(reversed.begin(), reversed.end());
    return reversed;
}

/// The magnitude's text, after '-' for a negative value.
template <mint N>
[[nodiscard]] std::string to_string(const intx_t<N>& value, int base = 10) {
    std::string text(value.sign() ? "-" : "");
    text += to_string(detail::magnitude(value), base);
    return text;
}

}  // namespace kesh
