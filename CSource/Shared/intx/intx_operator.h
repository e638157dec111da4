/**
 * @file   intx_operator.h
 * @brief  Operators, conversions and text of the fixed-width integers: the header to include to use them.
 *
 * Arithmetic is modulo 2^N and never throws. A machine integer on either side is first widened as by the constructors,
 * so a negative one is sign-extended: x == -1 holds only for x = 2^N - 1. The one exception is the factor on the right
 * of a product, which is a limb: x * -1 is x * (2^64 - 1). Floating-point operands do not compile.
 */
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
template <mint N>
constexpr std::strong_ordering operator<=>(const uintx_t<N>& a, const uintx_t<N>& b) noexcept {
    return math_compare(a, b) <=> 0;
}

template <mint N>
constexpr bool operator==(const intx_t<N>& a, const intx_t<N>& b) noexcept {
    return uintx_t<N>(a) == uintx_t<N>(b);
}
/** By sign, then as the unsigned values, which are in order within one sign. */
template <mint N>
constexpr std::strong_ordering operator<=>(const intx_t<N>& a, const intx_t<N>& b) noexcept {
    if (a.sign() != b.sign()) return b.sign() <=> a.sign();
    return uintx_t<N>(a) <=> uintx_t<N>(b);
}

template <class T>
concept fixed_width_word = wide_word<T> || signed_word<T>;

template <fixed_width_word T, machine_integer I>
constexpr bool operator==(const T& a, I b) noexcept {
    return a == T(b);
}
template <fixed_width_word T, machine_integer I>
constexpr std::strong_ordering operator<=>(const T& a, I b) noexcept {
    return a <=> T(b);
}

/** True when the value is zero. */
template <mint N>
constexpr bool operator!(const uintx_t<N>& a) noexcept {
    return math_is_zero(a);
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
constexpr T& operator^=(T& a, const T& b) noexcept {
    for (std::size_t i = 0; i < T::limbs; ++i) a.limb[i] ^= b.limb[i];
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
template <wide_word T>
constexpr T operator^(T a, const T& b) noexcept {
    return a ^= b;
}
template <wide_word T>
constexpr T operator~(T a) noexcept {
    for (umint& limb : a.limb) limb = ~limb;
    return a;
}

// Results below that are declared without an initialiser: clang++ evaluates T(detail::unset) as a constant expression,
// in which it is 0, and stores the zeros.

/** n >= N gives 0. Precondition: n >= 0. */
template <wide_word T>
constexpr T& operator<<=(T& a, mint n) noexcept {
    math_left_shift_equal(a, n);
    return a;
}
template <wide_word T>
constexpr T operator<<(const T& a, mint n) noexcept {
    T shifted;
    if (std::is_constant_evaluated()) shifted = T(0);
    math_left_shift(a, n, shifted);
    return shifted;
}

/** A count out of range (n >= N or n < 0) leaves the value as it is; see math_right_shift. */
template <wide_word T>
constexpr T& operator>>=(T& a, mint n) noexcept {
    math_right_shift_equal(a, n);
    return a;
}
template <wide_word T>
constexpr T operator>>(const T& a, mint n) noexcept {
    if constexpr (T::limbs == 2) {
        // In registers throughout, where a copy costs nothing.
        T shifted(a);
        return shifted >>= n;
    }
    T shifted;
    if (std::is_constant_evaluated()) shifted = T(0);
    if (static_cast<umint>(n) < static_cast<umint>(T::bits))
        math_right_shift(a, n, shifted);
    else
        shifted = a;
    return shifted;
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
    T product(detail::unset);
    math_mul(a, b, product);
    return product;
}
template <wide_word T>
constexpr T& operator*=(T& a, const T& b) noexcept {
    return a = a * b;
}
/** Precondition: b != 0. */
template <wide_word T>
constexpr T& operator/=(T& a, const T& b) noexcept {
    T r(detail::unset);
    math_divmod(a, b, a, r);
    return a;
}
/** Precondition: b != 0. */
template <wide_word T>
constexpr T& operator%=(T& a, const T& b) noexcept {
    T q(detail::unset);
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

/** -a modulo 2^N. */
template <wide_word T>
constexpr T operator-(const T& a) noexcept {
    return T(0) - a;
}

// Signed words: the unsigned operations on the same bits, but for division.

template <signed_word T>
constexpr T operator+(const T& a, const T& b) noexcept {
    return uintx_t<T::bits>(a) + uintx_t<T::bits>(b);
}
template <signed_word T>
constexpr T operator-(const T& a, const T& b) noexcept {
    return uintx_t<T::bits>(a) - uintx_t<T::bits>(b);
}
template <signed_word T>
constexpr T operator*(const T& a, const T& b) noexcept {
    return uintx_t<T::bits>(a) * uintx_t<T::bits>(b);
}
template <signed_word T>
constexpr T operator-(const T& a) noexcept {
    return -uintx_t<T::bits>(a);
}
/** Truncates; see intx_t::divmod. Precondition: b != 0. */
template <signed_word T>
constexpr T operator/(T a, const T& b) noexcept {
    return a /= b;
}
template <signed_word T>
constexpr T operator%(T a, const T& b) noexcept {
    return a %= b;
}
template <signed_word T>
constexpr T& operator+=(T& a, const T& b) noexcept {
    return a = a + b;
}
template <signed_word T>
constexpr T& operator-=(T& a, const T& b) noexcept {
    return a = a - b;
}
template <signed_word T>
constexpr T& operator*=(T& a, const T& b) noexcept {
    return a = a * b;
}

// With machine integers. In a division by one the precondition b != 0 holds as well.

template <fixed_width_word T, machine_integer I>
constexpr T& operator+=(T& a, I b) noexcept {
    return a += T(b);
}
template <fixed_width_word T, machine_integer I>
constexpr T& operator-=(T& a, I b) noexcept {
    return a -= T(b);
}
template <signed_word T, machine_integer I>
constexpr T& operator*=(T& a, I b) noexcept {
    return a *= T(b);
}
/** The factor is a limb: a negative b stands for 2^64 + b. */
template <wide_word T, machine_integer I>
constexpr T& operator*=(T& a, I b) noexcept {
    if constexpr (T::limbs == 2) {
        detail::split(detail::joined(a) * static_cast<umint>(b), a);
    } else {
        unsigned char carry = 0;
        math_mul_ui(0, 0, a, static_cast<umint>(b), carry, a);
    }
    return a;
}
template <fixed_width_word T, machine_integer I>
constexpr T& operator/=(T& a, I b) noexcept {
    return a /= T(b);
}
template <fixed_width_word T, machine_integer I>
constexpr T& operator%=(T& a, I b) noexcept {
    return a %= T(b);
}
template <wide_word T, machine_integer I>
constexpr T& operator&=(T& a, I b) noexcept {
    return a &= T(b);
}
template <wide_word T, machine_integer I>
constexpr T& operator|=(T& a, I b) noexcept {
    return a |= T(b);
}
template <wide_word T, machine_integer I>
constexpr T& operator^=(T& a, I b) noexcept {
    return a ^= T(b);
}

template <fixed_width_word T, machine_integer I>
constexpr T operator+(T a, I b) noexcept {
    return a += b;
}
template <fixed_width_word T, machine_integer I>
constexpr T operator-(T a, I b) noexcept {
    return a -= b;
}
template <fixed_width_word T, machine_integer I>
constexpr T operator*(const T& a, I b) noexcept {
    if constexpr (wide_word<T>) {
        if constexpr (T::limbs > 2) {
            T product;
            if (std::is_constant_evaluated()) product = T(0);
            unsigned char carry = 0;
            math_mul_ui(0, 0, a, static_cast<umint>(b), carry, product);
            return product;
        }
    }
    T product(a);
    return product *= b;
}
template <fixed_width_word T, machine_integer I>
constexpr T operator/(T a, I b) noexcept {
    return a /= b;
}
template <fixed_width_word T, machine_integer I>
constexpr T operator%(T a, I b) noexcept {
    return a %= b;
}
template <wide_word T, machine_integer I>
constexpr T operator&(T a, I b) noexcept {
    return a &= b;
}
template <wide_word T, machine_integer I>
constexpr T operator|(T a, I b) noexcept {
    return a |= b;
}
template <wide_word T, machine_integer I>
constexpr T operator^(T a, I b) noexcept {
    return a ^= b;
}

template <fixed_width_word T, machine_integer I>
constexpr T operator+(I a, const T& b) noexcept {
    return b + a;
}
template <fixed_width_word T, machine_integer I>
constexpr T operator-(I a, const T& b) noexcept {
    return T(a) - b;
}
/** The factor on the left is widened by its sign: -1 * x is 2^N - x. */
template <fixed_width_word T, machine_integer I>
constexpr T operator*(I a, const T& b) noexcept {
    if constexpr (std::is_signed_v<I>) {
        if (a < 0) return -(b * (umint{0} - static_cast<umint>(a)));
    }
    return b * static_cast<umint>(a);
}
template <fixed_width_word T, machine_integer I>
constexpr T operator/(I a, const T& b) noexcept {
    return T(a) / b;
}
template <fixed_width_word T, machine_integer I>
constexpr T operator%(I a, const T& b) noexcept {
    return T(a) % b;
}
template <wide_word T, machine_integer I>
constexpr T operator&(I a, const T& b) noexcept {
    return b & a;
}
template <wide_word T, machine_integer I>
constexpr T operator|(I a, const T& b) noexcept {
    return b | a;
}
template <wide_word T, machine_integer I>
constexpr T operator^(I a, const T& b) noexcept {
    return b ^ a;
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

/** |a| as an unsigned value; the most negative a gives 2^(N-1). */
template <mint N>
constexpr uintx_t<N> magnitude(const intx_t<N>& a) noexcept {
    return a.sign() ? -uintx_t<N>(a) : uintx_t<N>(a);
}

}  // namespace detail

template <mint N>
    requires supported_width<N>
constexpr void intx_t<N>::divmod(const intx_t& a, const intx_t& b, intx_t& q, intx_t& r) noexcept {
    const bool remainder_negative = a.sign();
    const bool quotient_negative = a.sign() != b.sign();
    uintx_t<N> quotient(detail::unset), remainder(detail::unset);
    math_divmod(detail::magnitude(a), detail::magnitude(b), quotient, remainder);
    q = quotient_negative ? -quotient : quotient;
    r = remainder_negative ? -remainder : remainder;
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

namespace detail {

/**
 * Eight decimal digits, most significant first, as a number; false when a character is no digit. The digits are taken
 * from the bytes of one word and joined in pairs, then fours, then all eight.
 */
constexpr bool read_eight_digits(const char* text, umint& value) noexcept {
    umint v = 0;
    for (int i = 0; i < 8; ++i) v |= static_cast<umint>(static_cast<unsigned char>(text[i])) << (8 * i);
    // A digit has 3 in its upper half, and still has it after 6 is added. What carries into the next byte has failed
    // the first condition.
    constexpr umint upper_halves = 0xF0F0F0F0F0F0F0F0, threes = 0x3030303030303030;
    if ((v & upper_halves) != threes || ((v + 0x0606060606060606) & upper_halves) != threes) return false;
    v = (v & 0x0F0F0F0F0F0F0F0F) * (1 + (10 << 8)) >> 8 & 0x00FF00FF00FF00FF;
    v = v * (1 + (100 << 16)) >> 16 & 0x0000FFFF0000FFFF;
    value = v * (1 + (umint{10000} << 32)) >> 32;
    return true;
}

/** `count` digits of the base, 10 or 16, as a number below 2^64; false when a character is no digit. */
constexpr bool read_chunk(const char* text, std::size_t count, umint base, umint& value) noexcept {
    umint sum = 0;
    std::size_t i = 0;
    if (base == 10) {
        for (; i + 8 <= count; i += 8) {
            umint eight = 0;
            if (!read_eight_digits(text + i, eight)) return false;
            sum = sum * 100'000'000 + eight;
        }
    }
    for (; i < count; ++i) {
        const char c = text[i];
        umint digit = base;
        if (c >= '0' && c <= '9') digit = static_cast<umint>(c - '0');
        if (c >= 'a' && c <= 'f') digit = static_cast<umint>(c - 'a') + 10;
        if (c >= 'A' && c <= 'F') digit = static_cast<umint>(c - 'A') + 10;
        if (digit >= base) return false;
        sum = sum * base + digit;
    }
    value = sum;
    return true;
}

/**
 * The digits of a base, 10 or 16, that text is cut into: so many that one limb holds them, the base to their number,
 * and that shifted until its top bit is set, with its reciprocal.
 */
struct TextChunks {
    umint base, scale;
    std::size_t digits;
    mint shift;
    umint divisor, reciprocal;

    constexpr explicit TextChunks(umint b) noexcept
        : base(b),
          scale(b == 16 ? umint{1} << 60 : 10'000'000'000'000'000'000U),
          digits(b == 16 ? 15 : 19),
          shift(math_count_leading_zeros(scale)),
          divisor(scale << shift),
          reciprocal(reciprocal_of_limb(divisor)) {}
};
inline constexpr TextChunks decimal_chunks(10), hexadecimal_chunks(16);

}  // namespace detail

/**
 * Reads the whole of `text`: decimal digits, or 0x (or 0X) and hexadecimal digits of either case. Returns false, and
 * leaves `value` as it was, when the text is malformed (empty, no digit after 0x, any other character, a sign, a
 * space) or when its value is 2^N or more. Leading zeros are allowed. Cost: a product of the limbs read so far by one
 * limb for 19 digits.
 */
template <mint N>
[[nodiscard]] constexpr bool from_string(std::string_view text, uintx_t<N>& value) noexcept {
    const bool hexadecimal = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    if (hexadecimal) text.remove_prefix(2);
    if (text.empty()) return false;
    const detail::TextChunks& chunks = hexadecimal ? detail::hexadecimal_chunks : detail::decimal_chunks;
    uintx_t<N> sum(0);
    std::size_t used = 0;  // limbs
    std::size_t length = (text.size() - 1) % chunks.digits + 1;
    for (std::size_t at = 0; at < text.size(); at += length, length = chunks.digits) {
        umint carry = 0;
        if (!detail::read_chunk(text.data() + at, length, chunks.base, carry)) return false;
        for (std::size_t i = 0; i < used; ++i) {
            const umint2 product = static_cast<umint2>(sum.limb[i]) * chunks.scale + carry;
            sum.limb[i] = static_cast<umint>(product);
            carry = static_cast<umint>(product >> MINT_BITS);
        }
        if (carry != 0) {
            if (used == uintx_t<N>::limbs) return false;
            sum.limb[used++] = carry;
        }
    }
    value = sum;
    return true;
}

/**
 * The same with an optional leading '-'; the value must lie in [-2^(N-1), 2^(N-1)). Hexadecimal text is a magnitude,
 * not a bit pattern.
 */
template <mint N>
[[nodiscard]] constexpr bool from_string(std::string_view text, intx_t<N>& value) noexcept {
    const bool negative = !text.empty() && text.front() == '-';
    if (negative) text.remove_prefix(1);
    uintx_t<N> size(detail::unset);
    if (!from_string(text, size)) return false;
    const uintx_t<N> limit = (uintx_t<N>(1) << (N - 1)) - (negative ? 0 : 1);
    if (size > limit) return false;
    value = negative ? -size : size;
    return true;
}

template <mint N>
    requires supported_width<N>
uintx_t<N>::uintx_t(const std::string& text) noexcept : uintx_t(text.c_str()) {}
template <mint N>
    requires supported_width<N>
uintx_t<N>::uintx_t(const char* text) noexcept {
    if (!from_string(text, *this)) *this = uintx_t(0);
}
template <mint N>
    requires supported_width<N>
intx_t<N>::intx_t(const std::string& text) noexcept : intx_t(text.c_str()) {}
template <mint N>
    requires supported_width<N>
intx_t<N>::intx_t(const char* text) noexcept {
    if (!from_string(text, *this)) *this = intx_t(0);
}

/**
 * `value` as text: base 10, or base 16 with the prefix 0x and lower-case digits. Allocates the returned string.
 * Precondition: base is 10 or 16.
 */
inline std::string to_string(const umint& value, int base = 10) {
    KESH_REQUIRE(base == 10 || base == 16);
    char text[24];
    std::snprintf(text, sizeof text, base == 16 ? "0x%lx" : "%lu", value);
    return text;
}

namespace detail {

/**
 * Eight decimal digits of a value below 10^8, most significant first, with leading zeros: in fours, in pairs, one by
 * one, side by side in one word. The quotients by 100 and by 10 are products by rounded reciprocals, exact below 10^4
 * and 10^2.
 */
inline void write_eight_digits(char* text, umint value) noexcept {
    umint v = value / 10000 | value % 10000 << 32;
    const umint hundreds = v * 10486 >> 20 & 0x0000007F0000007F;
    v = hundreds | (v - 100 * hundreds) << 16;
    const umint tens = v * 103 >> 10 & 0x000F000F000F000F;
    v = (tens | (v - 10 * tens) << 8) + 0x3030303030303030;
    for (int i = 0; i < 8; ++i) text[i] = static_cast<char>(v >> (8 * i));
}

/** The digits of one chunk, with leading zeros. */
inline void write_chunk(char* text, const TextChunks& chunks, umint chunk) noexcept {
    if (chunks.base == 10) {
        write_eight_digits(text + 11, chunk % 100'000'000);
        chunk /= 100'000'000;
        write_eight_digits(text + 3, chunk % 100'000'000);
        chunk /= 100'000'000;
        text[2] = static_cast<char>('0' + chunk % 10);
        text[1] = static_cast<char>('0' + chunk / 10 % 10);
        text[0] = static_cast<char>('0' + chunk / 100);
    } else {
        for (std::size_t left = chunks.digits; left > 0; --left) {
            text[left - 1] = "0123456789abcdef"[chunk % 16];
            chunk /= 16;
        }
    }
}

}  // namespace detail

/**
 * `value` in decimal digits, or in hexadecimal ones after 0x. Precondition: base is 10 or 16. Cost: quadratic in the
 * width, two limb products per limb and 19 digits.
 */
template <mint N>
[[nodiscard]] std::string to_string(uintx_t<N> value, int base = 10) {
    KESH_REQUIRE(base == 10 || base == 16);
    std::size_t limbs = detail::significant_limbs(value.limb, uintx_t<N>::limbs);
    if (limbs <= 1) return to_string(value.limb[0], base);
    const detail::TextChunks& chunks = base == 16 ? detail::hexadecimal_chunks : detail::decimal_chunks;
    const mint shift = chunks.shift;
    char text[N / 3 + 32];  // more than the N log10 2 + 19 digits
    char* first = text + sizeof text;
    const auto write = [&](umint chunk) {
        first -= chunks.digits;
        detail::write_chunk(first, chunks, chunk);
    };
    while (limbs > 1) {
        // The value is shifted as many bits as the scale, limb by limb, and so are the remainders.
        umint chunk = value.limb[limbs - 1] >> 1 >> (MINT_BITS - 1 - shift);
        for (std::size_t i = limbs; i-- > 0;) {
            const umint below = i > 0 ? value.limb[i - 1] >> 1 >> (MINT_BITS - 1 - shift) : 0;
            chunk = detail::divide_two_limbs(chunk, value.limb[i] << shift | below, chunks.divisor, chunks.reciprocal,
                                             value.limb[i]);
        }
        write(chunk >> shift);
        while (limbs > 0 && value.limb[limbs - 1] == 0) --limbs;
    }
    umint top = value.limb[0];
    if (top >= chunks.scale) {
        write(top % chunks.scale);
        top /= chunks.scale;
    }
    if (top < 10)
        *--first = static_cast<char>('0' + top);
    else
        write(top);
    while (*first == '0') ++first;
    std::string digits(base == 16 ? "0x" : "");
    return digits.append(first, text + sizeof text);
}

/** The magnitude's text, after '-' for a negative value. */
template <mint N>
[[nodiscard]] std::string to_string(const intx_t<N>& value, int base = 10) {
    std::string text(value.sign() ? "-" : "");
    text += to_string(detail::magnitude(value), base);
    return text;
}

}  // namespace kesh
