/**
 * @file   plain_sieve.h
 * @brief  An independent list of primes to compare with: the sieve of Eratosthenes up to 10^7.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kesh::test {

inline constexpr uint64_t plain_limit = 10'000'000;

/** All primes <= plain_limit, in increasing order. */
inline const std::vector<uint64_t>& plain_primes() {
    static const std::vector<uint64_t> primes = [] {
        std::vector<char> composite(plain_limit + 1, 0);
        std::vector<uint64_t> found;
        for (uint64_t p = 2; p <= plain_limit; ++p) {
            if (composite[p]) continue;
            found.push_back(p);
            for (uint64_t multiple = p * p; multiple <= plain_limit; multiple += p) composite[multiple] = 1;
        }
        return found;
    }();
    return primes;
}

}  // namespace kesh::test
