/**
 * @file   strong_test.h
 * @brief  Scalar 64-bit modular powers and strong probable-prime tests for the table generators.
 *
 * Deliberately not the library's own test: the tables judge the library, so the programs that make them share no code
 * with it.
 */
#pragma once

#include <bit>
#include <cassert>
#include <cstdint>

namespace prime_tables {

using u64 = std::uint64_t;
using u32 = std::uint32_t;
using i64 = std::int64_t;
__extension__ typedef unsigned __int128 u128;

/** Montgomery arithmetic modulo one odd n > 1 with R = 2^64. Residues are kept in [0, n). */
class Modulus {
  public:
    explicit Modulus(u64 n) : n_(n), inverse_(n), one_((0 - n) % n) {
        assert((n & 1) == 1 && n > 1);
        // n * n = 1 modulo 8: three correct bits, doubled by each Newton step.
        for (int bits = 3; bits < 64; bits *= 2) inverse_ *= 2 - n * inverse_;
    }
    [[nodiscard]] u64 modulus() const {
        return n_;
    }
    [[nodiscard]] u64 one() const {
        return one_;
    }
    [[nodiscard]] u64 multiply(u64 x, u64 y) const {
        const u128 product = static_cast<u128>(x) * y;
        const u64 high = static_cast<u64>(product >> 64);
        const u64 quotient = static_cast<u64>(product) * inverse_;
        const u64 subtrahend = static_cast<u64>((static_cast<u128>(quotient) * n_) >> 64);
        return high - subtrahend + (high < subtrahend ? n_ : 0);
    }
    [[nodiscard]] u64 twice(u64 x) const {
        return x >= n_ - x ? x - (n_ - x) : x + x;
    }
    /** Montgomery form of a small number. */
    [[nodiscard]] u64 enter(u64 a) const {
        return static_cast<u64>((static_cast<u128>(a % n_) << 64) % n_);
    }
    /** Montgomery form of 2^exponent. */
    [[nodiscard]] u64 power_of_two(u64 exponent) const {
        u64 x = one_;
        for (int bit = 64 - std::countl_zero(exponent); bit-- > 0;) {
            x = multiply(x, x);
            if ((exponent >> bit & 1) != 0) x = twice(x);
        }
        return x;
    }
    [[nodiscard]] u64 power(u64 base, u64 exponent) const {
        u64 x = one_;
        for (int bit = 64 - std::countl_zero(exponent); bit-- > 0;) {
            x = multiply(x, x);
            if ((exponent >> bit & 1) != 0) x = multiply(x, base);
        }
        return x;
    }

  private:
    u64 n_;
    u64 inverse_;
    u64 one_;
};

/**
 * True when n = mod.modulus() passes the strong test whose power base^e, e the odd part of n - 1, is x in Montgomery
 * form.
 */
inline bool passes_from_odd_power(const Modulus& mod, u64 x) {
    const u64 minus_one = mod.modulus() - mod.one();
    if (x == mod.one() || x == minus_one) return true;
    for (int i = std::countr_zero(mod.modulus() - 1) - 1; i > 0; --i) {
        x = mod.multiply(x, x);
        if (x == minus_one) return true;
    }
    return false;
}

/** Strong probable-prime test of mod.modulus() to a base that it does not divide. */
inline bool is_strong_probable_prime(const Modulus& mod, u64 base) {
    const u64 n = mod.modulus();
    const u64 odd_part = (n - 1) >> std::countr_zero(n - 1);
    const u64 x = base == 2 ? mod.power_of_two(odd_part) : mod.power(mod.enter(base), odd_part);
    return passes_from_odd_power(mod, x);
}

inline bool is_strong_probable_prime(u64 n, u64 base) {
    return is_strong_probable_prime(Modulus(n), base);
}

/** a^(-1) modulo m, below m, for coprime a and m with m < 2^63; 0 when m is 1. */
inline u64 inverse_modulo(u64 a, u64 m) {
    u64 r0 = m;
    u64 r1 = a % m;
    i64 t0 = 0;
    i64 t1 = 1;
    while (r1 > 1) {
        const u64 q = r0 / r1;
        const u64 r2 = r0 - q * r1;
        const i64 t2 = t0 - static_cast<i64>(q) * t1;
        r0 = r1;
        r1 = r2;
        t0 = t1;
        t1 = t2;
    }
    if (m == 1) return 0;
    return t1 < 0 ? static_cast<u64>(t1 + static_cast<i64>(m)) : static_cast<u64>(t1);
}

}  // namespace prime_tables
