/**
 * @file   prime_testing.h
 * @brief  Primality: the deterministic test of 64-bit integers, by bitmap, trial division and strong probable-prime
 *         tests to hashed bases.
 *
 * The mathematics is told in docs/primality.md.
 */
#pragma once

#include "Shared/mont.h"

namespace kesh {

using u64 = umint;

/**
 * Strong probable-prime test of n to base b: 1 when n passes, 0 when n is proven composite. M is the context of n, and
 * n - 1 = e * 2^k with e odd. b need not be reduced modulo n; a multiple of n as the base passes nothing.
 * Cost: one Montgomery product a bit of n - 1 and one more for each set bit of e.
 */
template <class T>
int sprp(const mp_mont_data<T>& M, const T& n, T b, T e, mint k) {
    const T one = M.one();
    const T minus_one = n - one;
    T a = M.toMontMod(b);
    T x = one;
    for (;;) {
        if ((static_cast<umint>(e) & 1) != 0) M.mul(x, a, x);
        math_right_shift_equal(e, 1);
        if (!e) break;
        M.mul(a, a, a);
    }
    if (x == one || x == minus_one) return 1;
    for (mint i = 1; i < k; ++i) {
        M.mul(x, x, x);
        if (x == minus_one) return 1;
    }
    return 0;
}

/** Primality of n <= 1,048,577 by one look at a bitmap; 1 is not prime. Larger odd n lie outside the bitmap. */
bool isPrime(std::uint32_t n);

/** Primality of any 32-bit n: the bitmap, or trial division and one strong test to a hashed base. */
bool PrimeQ(std::uint32_t n);

/**
 * Primality of any 64-bit n, exact over the whole range: trial division up to 61, then strong tests to base 2, to a
 * hashed base and, from 2^49 up, to a third base that the second one names. The three tests run side by side.
 */
bool PrimeQ(u64 n);

/** The same verdicts with one strong test after another, as the algorithm reads; the tests hold PrimeQ against it. */
namespace reference {

/** 256 and 16,384 hashed bases, for the numbers below and above 2^32. */
struct base_tables {
    const std::uint16_t* below_2_32;
    const std::uint16_t* above_2_32;
};

bool PrimeQ(std::uint32_t n);
bool PrimeQ(u64 n);

/** The same by other tables, which shows what each entry is there for. */
bool PrimeQ(u64 n, const base_tables& tables);

}  // namespace reference
}  // namespace kesh
