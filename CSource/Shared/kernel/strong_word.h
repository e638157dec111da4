/// @file   strong_word.h
/// @brief  Strong probable-prime tests of one 64-bit number to several bases side by side, without branches on exponent bits.
///
/// One Montgomery product of 64 bits has a latency of 12 cycles on current processors (low product 3, product by the
/// inverse 3, high product 4, subtraction 1, selection 1) but keeps the multiplier busy for about three of them, so the
/// squarings of three bases fit into the time of one. The power is taken from the right with digits of two bits: while a
/// runs through b^(4^i), the three accumulators y[1], y[2], y[3] collect the a whose digit is 1, 2, 3, off the critical path,
/// and b^e = y1 * y2^2 * y3^3 costs three more steps at the end (A. C. Yao, On the evaluation of powers, 1976).
#pragma once

#include <array>
#include <cassert>
#include <cstddef>
#include <utility>

#include "Shared/intx/intx_common.h"

namespace kesh::kernel {

/// m^(-1) modulo 2^64 for odd m: 3m xor 2 is right to 5 bits and each Newton step doubles that.
constexpr umint word_inverse(umint m) noexcept {
    umint x = (3 * m) ^ 2;
    for (int step = 0; step < 4; ++step) x *= 2 - m * x;
    return x;
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

/// True when odd n > 2 passes the strong probable-prime test to each of the K bases. Precondition: 0 < base < n.
/// Cost: about 66 dependent Montgomery products for a 64-bit n, whatever K is up to 3.
template <std::size_t K>
bool strong_tests(umint n, const std::array<umint, K>& bases) noexcept {
    // Unrolled over the bases: the loop form would pass a and x through memory, whose latency is that of half a product.
    const auto each = [](auto&& body) __attribute__((always_inline)) {
        [&]<std::size_t... I>(std::index_sequence<I...>) __attribute__((always_inline)) {
            (body(std::integral_constant<std::size_t, I>{}), ...);
        }(std::make_index_sequence<K>{});
    };

    const umint inverse = word_inverse(n);
    const auto mul = [n, inverse](umint x, umint y) __attribute__((always_inline)) { return word_mont_mul(x, y, n, inverse); };

    umint unused, one;
    math_divmod(0 - n, n, unused, one);
    const umint minus_one = n - one;

    std::array<umint, K> a;
    std::array<std::array<umint, K>, 4> y;
    each([&](auto c) __attribute__((always_inline)) {
        assert(0 < bases[c] && bases[c] < n);
        math_divmod(0, bases[c], n, unused, a[c]);  // base * 2^64 mod n, the Montgomery form
        for (auto& accumulator : y) accumulator[c] = one;
    });

    const mint k = math_count_trailing_zeros(n - 1);
    umint e = (n - 1) >> k;
    while (e > 3) {
        auto& accumulator = y[e & 3];
        const auto power = a;
        // The squarings go first: they are what the loop waits for, the accumulators only have to keep up.
        each([&](auto c) __attribute__((always_inline)) { a[c] = mul(a[c], a[c]); });
        each([&](auto c) __attribute__((always_inline)) { a[c] = mul(a[c], a[c]); });
        each([&](auto c) __attribute__((always_inline)) { accumulator[c] = mul(accumulator[c], power[c]); });
        e >>= 2;
    }
    each([&](auto c) __attribute__((always_inline)) { y[e][c] = mul(y[e][c], a[c]); });

    std::array<umint, K> x;
    std::array<unsigned, K> passed;
    each([&](auto c) __attribute__((always_inline)) {
        const umint y32 = mul(y[3][c], y[2][c]);
        x[c] = mul(mul(y[3][c], y32), mul(y32, y[1][c]));
        passed[c] = unsigned{x[c] == one} | unsigned{x[c] == minus_one};
    });
    for (mint i = 1; i < k; ++i) {
        each([&](auto c) __attribute__((always_inline)) {
            x[c] = mul(x[c], x[c]);
            passed[c] |= unsigned{x[c] == minus_one};
        });
    }
    unsigned all = 1;
    each([&](auto c) __attribute__((always_inline)) { all &= passed[c]; });
    return all != 0;
}

}  // namespace kesh::kernel
