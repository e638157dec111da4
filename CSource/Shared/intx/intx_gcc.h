/**
 * @file   intx_gcc.h
 * @brief  Limb primitives: add and subtract with carry, shifts, bit counts, 64x64 -> 128 products and 128/64 division.
 *
 * At run time a builtin or intrinsic is used if the compiler has one. The forms in `kesh::reference` compute the same
 * bits in plain C++ and are used in constant expressions; the tests compare both.
 *
 * The rule for the whole engine: if callers get a faster form of an operation, the form that follows its definition has
 * the same name in namespace `reference`.
 */
#pragma once

#include <bit>

#include "Shared/intx/intx_types.h"

#if defined(__x86_64__)
#if !defined(__clang__) && __has_include(<x86gprintrin.h>)
#include <x86gprintrin.h>  // the part of immintrin.h without vectors, which take half a second of each compilation
#else
#include <immintrin.h>
#endif
#endif

namespace kesh {

/** Double limb for 64x64 -> 128 products. */
__extension__ typedef unsigned __int128 umint2;

namespace reference {

constexpr std::uint8_t math_addcarry(std::uint8_t c, umint a, umint b, umint& r) noexcept {
    const umint partial = a + b;
    const umint sum = partial + c;
    r = sum;
    return static_cast<std::uint8_t>((partial < a) | (sum < partial));
}

constexpr std::uint8_t math_subborrow(std::uint8_t c, umint a, umint b, umint& r) noexcept {
    const umint partial = a - c;
    const umint difference = partial - b;
    r = difference;
    return static_cast<std::uint8_t>((a < c) | (partial < b));
}

/** The schoolbook product of 32-bit parts; no partial sum exceeds 64 bits. */
constexpr void math_mul(umint a, umint b, umint& lo, umint& hi) noexcept {
    const umint mask = 0xFFFFFFFF;
    const umint a0 = a & mask, a1 = a >> 32, b0 = b & mask, b1 = b >> 32;
    const umint p00 = a0 * b0, p01 = a0 * b1, p10 = a1 * b0, p11 = a1 * b1;
    const umint middle = p01 + (p00 >> 32) + (p10 & mask);
    lo = (middle << 32) | (p00 & mask);
    hi = p11 + (p10 >> 32) + (middle >> 32);
}

constexpr mint math_count_leading_zeros(umint a) noexcept {
    mint n = 0;
    for (umint probe = umint{1} << 63; probe != 0 && (a & probe) == 0; probe >>= 1) ++n;
    return n;
}

constexpr mint math_count_trailing_zeros(umint a) noexcept {
    mint n = 0;
    for (umint probe = 1; probe != 0 && (a & probe) == 0; probe <<= 1) ++n;
    return n;
}

/**
 * The negated inverse -a^(-1) modulo 2^64 of an odd a. Newton-Hensel: y = a + 2 is right modulo 4, because
 * a (a + 2) = (a + 1)^2 - 1, and every step y (a y + 2) doubles the bits.
 */
constexpr umint math_mod_inv_2(umint a) noexcept {
    umint y = a + 2;
    y *= a * y + 2;
    y *= a * y + 2;
    y *= a * y + 2;
    y *= a * y + 2;
    y *= a * y + 2;
    return y;
}

}  // namespace reference

namespace detail {

/**
 * The memory sanitizer does not see writes of assembly through a pointer and takes the memory for uninitialised. Under
 * it the forms without such assembly are used.
 */
#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
inline constexpr bool memory_sanitizer = true;
#else
inline constexpr bool memory_sanitizer = false;
#endif
#else
inline constexpr bool memory_sanitizer = false;
#endif

/**
 * Keeps a limb in a general register. Otherwise the compiler may use vectors, and the code would load limbs as one
 * vector that were stored one by one just before. The processor cannot forward such stores to the load; it waits until
 * they reach the cache.
 */
constexpr void keep_scalar(umint& limb) noexcept {
    if (!std::is_constant_evaluated()) __asm__("" : "+r"(limb));
}

}  // namespace detail

/** -1, 0 or 1 as a is below, equal to or above b. */
constexpr int math_compare(const umint& a, const umint& b) noexcept {
    return a < b ? -1 : a > b ? 1 : 0;
}

constexpr bool math_is_zero(const umint& a) noexcept {
    return a == 0;
}

/** a |= b. */
constexpr void math_or_equal(umint& a, const umint& b) noexcept {
    a |= b;
}

/** r = a + b + c modulo 2^64; returns the carry out. c is 0 or 1; r may alias a or b. */
constexpr std::uint8_t math_addcarry(std::uint8_t c, const umint& a, const umint& b, umint& r) noexcept {
    KESH_REQUIRE(c <= 1);
#if defined(__x86_64__)
    if (!std::is_constant_evaluated()) {
        unsigned long long sum;
        const auto carry = _addcarry_u64(c, a, b, &sum);
        r = sum;
        return carry;
    }
#endif
    return reference::math_addcarry(c, a, b, r);
}

/** a += b + c; returns the carry out. */
constexpr std::uint8_t math_add_equal_carry(std::uint8_t c, umint& a, const umint& b) noexcept {
    return math_addcarry(c, a, b, a);
}

/** r = a - b - c modulo 2^64; returns the borrow out. c is 0 or 1; r may alias a or b. */
constexpr std::uint8_t math_subborrow(std::uint8_t c, const umint& a, const umint& b, umint& r) noexcept {
    KESH_REQUIRE(c <= 1);
#if defined(__x86_64__)
    if (!std::is_constant_evaluated()) {
        unsigned long long difference;
        const auto borrow = _subborrow_u64(c, a, b, &difference);
        r = difference;
        return borrow;
    }
#endif
    return reference::math_subborrow(c, a, b, r);
}

/** a -= b + c; returns the borrow out. */
constexpr std::uint8_t math_sub_equal_borrow(std::uint8_t c, umint& a, const umint& b) noexcept {
    return math_subborrow(c, a, b, a);
}

/** c = a << n; n >= 64 gives 0. Precondition: n >= 0. */
constexpr void math_left_shift(const umint& a, mint n, umint& c) noexcept {
    KESH_REQUIRE(n >= 0);
    c = n < MINT_BITS ? a << n : 0;
}
constexpr void math_left_shift_equal(umint& a, mint n) noexcept {
    math_left_shift(a, n, a);
}

/** c = a >> n; c keeps its value when n, read as unsigned, is 64 or more. */
constexpr void math_right_shift(const umint& a, mint n, umint& c) noexcept {
    if (static_cast<umint>(n) < static_cast<umint>(MINT_BITS)) c = a >> n;
}
constexpr void math_right_shift_equal(umint& a, mint n) noexcept {
    math_right_shift(a, n, a);
}

/** Leading and trailing zero bits; 64 for a = 0. */
constexpr mint math_count_leading_zeros(const umint& a) noexcept {
    return std::countl_zero(a);
}
constexpr mint math_count_trailing_zeros(const umint& a) noexcept {
    return std::countr_zero(a);
}

/** Bit length; 0 for a = 0. */
constexpr mint math_num_bits(const umint& a) noexcept {
    return MINT_BITS - math_count_leading_zeros(a);
}

namespace detail {

constexpr umint low_limb(umint2 a) noexcept {
    return static_cast<umint>(a);
}
constexpr umint high_limb(umint2 a) noexcept {
    return static_cast<umint>(a >> MINT_BITS);
}
constexpr umint2 two_limbs(umint high, umint low) noexcept {
    return static_cast<umint2>(high) << MINT_BITS | low;
}
constexpr umint2 limb_product(umint a, umint b) noexcept {
    return static_cast<umint2>(a) * b;
}

}  // namespace detail

/** hi * 2^64 + lo = a * b. */
constexpr void math_mul(const umint& a, const umint& b, umint& lo, umint& hi) noexcept {
    const umint2 p = static_cast<umint2>(a) * b;
    lo = static_cast<umint>(p);
    hi = static_cast<umint>(p >> MINT_BITS);
}

/** lo = a * b modulo 2^64. */
constexpr void math_mul(const umint& a, const umint& b, umint& lo) noexcept {
    lo = a * b;
}

/** hi:lo = floor((ahi * 2^64 + alo) * b / 2^64). */
constexpr void math_mul_21(const umint& alo, const umint& ahi, const umint& b, umint& lo, umint& hi) noexcept {
    const umint2 sum = static_cast<umint2>(ahi) * b + static_cast<umint>((static_cast<umint2>(alo) * b) >> MINT_BITS);
    lo = static_cast<umint>(sum);
    hi = static_cast<umint>(sum >> MINT_BITS);
}

/**
 * a * b + c0 + cc * 2^64 = r + ret * 2^64 + co * 2^128, where ret is the returned limb: the pair (c0, cc) goes in at
 * the bottom and the pair (ret, co) comes out at the top in the same format, so calls chain from low to high. cc is 0
 * or 1.
 */
constexpr umint math_mul_ui(unsigned char cc, umint c0, const umint& a, umint b, unsigned char& co, umint& r) noexcept {
    KESH_REQUIRE(cc <= 1);
    const umint2 p = static_cast<umint2>(a) * b + c0;
    r = static_cast<umint>(p);
    umint top = 0;
    co = math_addcarry(0, static_cast<umint>(p >> MINT_BITS), cc, top);
    return top;
}

/**
 * a^(-1) modulo 2^64 for odd a (an even a yields a meaningless value). x = 3 a xor 2 is right to 5 bits, so that
 * y = 1 - a x is a multiple of 2^5, and a^(-1) is x / (1 - y) = x (1 + y) (1 + y^2) (1 + y^4) (1 + y^8) modulo y^16;
 * the powers of y do not wait for the products.
 */
constexpr umint word_inverse(umint a) noexcept {
    umint x = (3 * a) ^ 2, y = 1 - a * x;
    for (int step = 0; step < 3; ++step) {
        x *= 1 + y;
        y *= y;
    }
    return x * (1 + y);
}

/**
 * An odd p prepared for tests whether it divides a limb n: it does when n * p^(-1) modulo 2^64 is at most
 * floor((2^64 - 1) / p), because the product by the inverse permutes the limbs and sends the multiples of p to 0, 1, 2,
 * .... (T. Granlund, P. L. Montgomery, Division by invariant integers using multiplication, PLDI 1994, section 9.)
 */
struct ExactDivisor {
    umint inverse;  ///< p^(-1) modulo 2^64
    umint most;     ///< floor((2^64 - 1) / p)

    ExactDivisor() = default;
    constexpr explicit ExactDivisor(umint p) noexcept : inverse(word_inverse(p)), most(~umint{0} / p) {}
    [[nodiscard]] constexpr bool divides(umint n) const noexcept {
        return n * inverse <= most;
    }
};

/**
 * -a^(-1) modulo 2^64 for odd a: the bits of the form in namespace reference. Precondition: a odd (an even a yields a
 * meaningless value).
 */
constexpr umint math_mod_inv_2(const umint& a) noexcept {
    KESH_REQUIRE((a & 1) == 1);
    return umint{0} - word_inverse(a);
}

namespace detail {

/** q = floor((high 2^64 + low) / d), r = the remainder, in one hardware division. Precondition: high < d. */
constexpr void divide_two_by_one(umint low, umint high, umint d, umint& q, umint& r) noexcept {
    KESH_REQUIRE(high < d);
#if defined(__x86_64__)
    if (!std::is_constant_evaluated()) {
        // The instruction itself, because compilers would call a library routine for a 128-bit dividend.
        __asm__("divq %[d]" : "+a"(low), "+d"(high) : [d] "r"(d) : "cc");
        q = low;
        r = high;
        return;
    }
#endif
    const umint2 n = two_limbs(high, low);
    q = static_cast<umint>(n / d);
    r = static_cast<umint>(n % d);
}

}  // namespace detail

/**
 * Quotient modulo 2^64 and remainder of hi * 2^64 + lo by d with the processor's 128/64 division. The quotient
 * instruction traps when the quotient does not fit, so hi is reduced first; d = 0 returns q = 0, r = lo. Cost: one
 * hardware division (two when hi >= d).
 */
constexpr void math_divmod(const umint& lo, const umint& hi, const umint& d, umint& q, umint& r) noexcept {
    if (d == 0) {
        const umint keep = lo;
        q = 0;
        r = keep;
        return;
    }
    detail::divide_two_by_one(lo, hi < d ? hi : hi % d, d, q, r);
}

/** Quotient and remainder of n by d in one hardware division; d = 0 returns q = 0, r = n. */
constexpr void math_divmod(const umint& n, const umint& d, umint& q, umint& r) noexcept {
    const umint dividend = n, divisor = d;
    q = divisor == 0 ? 0 : dividend / divisor;
    r = divisor == 0 ? dividend : dividend % divisor;
}

}  // namespace kesh
