/// @file   strong_word.h
/// @brief  Strong probable-prime tests of one 64-bit number to several bases side by side, without branches on exponent bits.
///
/// A strong test asks first whether b^e is 1 or -1 and then squares, so b^e is needed only up to its sign. A residue known up
/// to sign saves a cycle of the twelve that a squaring in Montgomery form takes otherwise (word_mont_sqr_abs), and the multiplier
/// is busy for two of the eleven, so that the squarings of three bases fit into little more than the time of one.
/// The power is taken from the right with digits of two bits: while a runs through b^(4^i), the three accumulators y[1], y[2],
/// y[3] collect the a whose digit is 1, 2, 3, off the critical path, and b^e = y1 * y2^2 * y3^3 (A. C. Yao, On the evaluation
/// of powers, 1976). The bases are below 2^16, so the first digit needs no squarings: b^4 is a plain product.
#pragma once

#include <array>
#include <cassert>
#include <cstddef>
#include <utility>

#include "Shared/intx/intx_common.h"

namespace kesh::kernel {

/// m^(-1) modulo 2^64 for odd m. x = 3m xor 2 is right to 5 bits, so that y = 1 - m x is a multiple of 2^5, and m^(-1) is
/// x / (1 - y) = x (1 + y) (1 + y^2) (1 + y^4) (1 + y^8) modulo y^16; the powers of y do not wait for the products.
constexpr umint word_inverse(umint m) noexcept {
    umint x = (3 * m) ^ 2, y = 1 - m * x;
    for (int step = 0; step < 3; ++step) {
        x *= 1 + y;
        y *= y;
    }
    return x * (1 + y);
}

/// x * y / 2^64 modulo m, below m, where inverse = m^(-1) modulo 2^64. Precondition: x * y < m * 2^64.
/// With q the high limb of (x * y mod 2^64) * inverse * m the two products agree in their low limbs, so the result is the
/// difference of the high limbs, plus m when that is negative. In assembly because a compiler is free to branch on
/// that borrow, which no processor can predict.
inline __attribute__((always_inline)) umint word_mont_mul(umint x, umint y, umint m, umint inverse) noexcept {
    umint high = x, low = y, lifted;
    __asm__(
        "mulq %[high]\n\t"
        "movq %%rdx, %[high]\n\t"
        "leaq (%%rdx,%[m]), %[lifted]\n\t"
        "imulq %[inverse], %%rax\n\t"
        "mulq %[m]\n\t"
        "subq %%rdx, %[lifted]\n\t"
        "subq %%rdx, %[high]\n\t"
        "cmovcq %[lifted], %[high]"
        : [high] "+&r"(high), "+&a"(low), [lifted] "=&r"(lifted)
        : [m] "r"(m), [inverse] "r"(inverse)
        : "rdx", "cc");
    return high;
}

/// The same up to its sign: |x * y / 2^64 - q * m / 2^64| in terms of word_mont_mul, below m.
inline __attribute__((always_inline)) umint word_mont_mul_abs(umint x, umint y, umint m, umint inverse) noexcept {
    umint high = x, low = y, negated;
    __asm__(
        "mulq %[high]\n\t"
        "movq %%rdx, %[high]\n\t"
        "imulq %[inverse], %%rax\n\t"
        "mulq %[m]\n\t"
        "movq %%rdx, %[negated]\n\t"
        "subq %[high], %[negated]\n\t"
        "subq %%rdx, %[high]\n\t"
        "cmovcq %[negated], %[high]"
        : [high] "+&r"(high), "+&a"(low), [negated] "=&r"(negated)
        : [m] "r"(m), [inverse] "r"(inverse)
        : "rdx", "cc");
    return high;
}

/// A residue x of m up to its sign.
struct signless {
    umint value;  ///< x or m - x, below m
    umint low;    ///< value or -value modulo 2^64: has the same square modulo 2^64 and is known a cycle earlier
};

/// Replaces x by x^2 / 2^64 modulo m up to sign. What the next squaring waits for is low: low product 3 cycles, product by the
/// inverse 3, high product 4, subtraction 1; the high product of x^2 and the choice of the sign have the time of the others.
inline __attribute__((always_inline)) void word_mont_sqr_abs(signless& x, umint m, umint inverse) noexcept {
    umint scratch = x.value;
    __asm__(
        "mulq %%rax\n\t"
        "imulq %[low], %[low]\n\t"
        "movq %%rdx, %[value]\n\t"
        "imulq %[inverse], %[low]\n\t"
        "movq %[low], %%rax\n\t"
        "mulq %[m]\n\t"
        "movq %[value], %[low]\n\t"
        "subq %%rdx, %[low]\n\t"
        "movq %%rdx, %%rax\n\t"
        "subq %[value], %%rax\n\t"
        "movq %[low], %[value]\n\t"
        "cmovncq %%rax, %[value]"
        : [low] "+&r"(x.low), [value] "=&r"(x.value), "+&a"(scratch)
        : [m] "r"(m), [inverse] "r"(inverse)
        : "rdx", "cc");
}

/// True when odd n > 2 passes the strong probable-prime test to each of the K bases. Precondition: 0 < base < 2^16, base < n.
/// Cost: about 64 dependent Montgomery products for a 64-bit n, whatever K is up to 3.
template <std::size_t K>
bool strong_tests(umint n, const std::array<umint, K>& bases) noexcept {
    // Unrolled over the bases: the loop form would pass a and x through memory, whose latency is that of half a product.
    const auto each = [](auto&& body) __attribute__((always_inline)) {
        [&]<std::size_t... I>(std::index_sequence<I...>) __attribute__((always_inline)) {
            (body(std::integral_constant<std::size_t, I>{}), ...);
        }(std::make_index_sequence<K>{});
    };

    const umint inverse = word_inverse(n);
    const auto mul_abs = [n, inverse](umint x, umint y) __attribute__((always_inline)) { return word_mont_mul_abs(x, y, n, inverse); };

    umint one = 0 - n;  // 2^64 mod n
    if (one >= n) one %= n;
    const umint minus_one = n - one;
    umint unused, square;  // 2^128 mod n: a product by it brings a number into Montgomery form
    math_divmod(0, one, n, unused, square);

    const mint k = math_count_trailing_zeros(n - 1);
    umint e = (n - 1) >> k;

    std::array<signless, K> a;
    std::array<std::array<umint, K>, 4> y;
    for (auto& accumulator : y) accumulator.fill(one);
    each([&](auto c) __attribute__((always_inline)) {
        assert(0 < bases[c] && bases[c] < n && bases[c] <= 0xFFFF);
        y[e & 3][c] = mul_abs(bases[c], square);
        const umint b2 = bases[c] * bases[c];
        a[c].value = a[c].low = mul_abs(b2 * b2, square);
    });

    for (e >>= 2; e > 3; e >>= 2) {
        auto& accumulator = y[e & 3];
        const auto power = a;
        // The squarings go first: they are what the loop waits for, the accumulators only have to keep up.
        each([&](auto c) __attribute__((always_inline)) { word_mont_sqr_abs(a[c], n, inverse); });
        each([&](auto c) __attribute__((always_inline)) { word_mont_sqr_abs(a[c], n, inverse); });
        each([&](auto c) __attribute__((always_inline)) { accumulator[c] = mul_abs(accumulator[c], power[c].value); });
    }

    // With the last digit, b^e = (y3 y2 a^(e / 2))^2 y3 y1 a^(e % 2): all but three steps can be done before a is known.
    std::array<umint, K> x;
    std::array<unsigned, K> passed;
    each([&](auto c) __attribute__((always_inline)) {
        const umint root = mul_abs(mul_abs(y[3][c], y[2][c]), (e & 2) != 0 ? a[c].value : one);
        const umint rest = mul_abs(mul_abs(y[3][c], y[1][c]), (e & 1) != 0 ? a[c].value : one);
        x[c] = mul_abs(mul_abs(root, root), rest);
        passed[c] = unsigned{x[c] == one} | unsigned{x[c] == minus_one};
    });
    for (mint i = 1; i < k; ++i) {
        each([&](auto c) __attribute__((always_inline)) {
            x[c] = word_mont_mul(x[c], x[c], n, inverse);  // here the sign counts
            passed[c] |= unsigned{x[c] == minus_one};
        });
    }
    unsigned all = 1;
    each([&](auto c) __attribute__((always_inline)) { all &= passed[c]; });
    return all != 0;
}

}  // namespace kesh::kernel
