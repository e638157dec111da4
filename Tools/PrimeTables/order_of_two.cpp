/**
 * @file   order_of_two.cpp
 * @brief  Orders of 2 modulo primes: sieves their predecessors for prime factors, window by window.
 */
#include "order_of_two.h"

#include <algorithm>
#include <array>
#include <primesieve.hpp>

namespace prime_tables {
namespace {

/** Distinct odd prime factors of one p - 1 < 2^32: at most nine, as 3 * 5 * ... * 29 > 2^31. */
struct Factors {
    std::array<u32, 9> prime;
    u32 count = 0;
};

u32 order_from_factors(u32 p, const Factors& factors) {
    const Modulus mod(p);
    u32 order = p - 1;
    const auto strip = [&](u32 r) {
        while (order % r == 0 && mod.power_of_two(order / r) == mod.one()) order /= r;
    };
    strip(2);
    u32 rest = (p - 1) >> std::countr_zero(p - 1);
    for (u32 i = 0; i < factors.count; ++i) {
        strip(factors.prime[i]);
        while (rest % factors.prime[i] == 0) rest /= factors.prime[i];
    }
    // Sieving used the primes below 2^16: what is left of a number below 2^32 is 1 or prime.
    if (rest > 1) strip(rest);
    return order;
}

const std::vector<u32>& sieving_primes() {
    static const std::vector<u32> primes = [] {
        std::vector<u32> list;
        primesieve::generate_primes(3, 65536, &list);
        return list;
    }();
    return primes;
}

/** Appends the orders for one window whose flags fit the second-level cache. */
void append_window(u64 lo, u64 hi, std::vector<PrimeOrder>& result) {
    std::vector<u32> primes;
    primesieve::generate_primes(std::max<u64>(lo, 3), hi - 1, &primes);
    const u64 base = lo & ~u64{1};  // slot i is the even predecessor base + 2 i
    constexpr std::uint16_t none = 0xFFFF;
    std::vector<std::uint16_t> slot((hi - base) / 2 + 1, none);
    for (std::size_t i = 0; i < primes.size(); ++i) slot[(primes[i] - 1 - base) / 2] = static_cast<std::uint16_t>(i);
    std::vector<Factors> factors(primes.size());
    for (const u32 r : sieving_primes()) {
        const u64 step = 2 * u64{r};
        if (step >= hi) break;
        for (u64 i = (base + step - 1) / step * step - base; i < hi - base; i += step) {
            const std::uint16_t s = slot[i / 2];
            if (s != none) factors[s].prime[factors[s].count++] = r;
        }
    }
    for (std::size_t i = 0; i < primes.size(); ++i)
        result.push_back({primes[i], order_from_factors(primes[i], factors[i])});
}

}  // namespace

std::vector<PrimeOrder> orders_of_two(u64 lo, u64 hi) {
    constexpr u64 window = u64{1} << 18;  // fewer than 2^16 primes, so that a slot has 16 bits
    std::vector<PrimeOrder> result;
    for (u64 a = lo; a < hi; a += window) append_window(a, std::min(a + window, hi), result);
    return result;
}

}  // namespace prime_tables
