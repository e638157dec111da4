/**
 * @file   counts_test.cpp
 * @brief  Counts of primes and of prime tuplets in a range, and the n-th prime.
 */
#include <gtest/gtest.h>

#include <primesieve.hpp>

#include "sieve/plain_sieve.h"
#include "sieve/value.h"
#include "support/test_host.h"

namespace {

using kesh::test::call_integer;
using kesh::test::plain_primes;
using kesh::test::value;

/** Number of places in the plain list where one of the difference patterns of a k-tuplet begins, all within [a, b]. */
mint plain_tuplets(uint64_t a, uint64_t b, const std::vector<std::vector<uint64_t>>& patterns) {
    const auto& primes = plain_primes();
    mint count = 0;
    for (size_t i = 0; i < primes.size(); ++i) {
        if (primes[i] < a) continue;
        for (const auto& pattern : patterns) {
            bool matches = i + pattern.size() < primes.size() && primes[i + pattern.size()] <= b;
            for (size_t j = 0; matches && j < pattern.size(); ++j)
                matches = primes[i + j + 1] == primes[i] + pattern[j];
            count += matches;
        }
    }
    return count;
}

const std::map<std::string, std::vector<std::vector<uint64_t>>> tuplets = {
    {"PrimeSieve_CountTwins", {{2}}},
    {"PrimeSieve_CountTriplets", {{2, 6}, {4, 6}}},
    {"PrimeSieve_CountQuadruplets", {{2, 6, 8}}},
    {"PrimeSieve_CountQuintuplets", {{2, 6, 8, 12}, {4, 6, 10, 12}}},
    {"PrimeSieve_CountSextuplets", {{4, 6, 10, 12, 16}}},
};

const std::vector<std::pair<uint64_t, uint64_t>> ranges = {
    {0, 10},
    {0, 100},
    {3, 5},
    {4, 5},
    {5, 7},
    {11, 13},
    {5, 19},
    {7, 19},
    {97, 113},
    {0, 10'000'000},
    {1'000'003, 7'654'321},
};

TEST(Counts, AgreeWithAPlainSieve) {
    const auto& primes = plain_primes();
    for (const auto& [a, b] : ranges) {
        const auto first = std::lower_bound(primes.begin(), primes.end(), a);
        const auto last = std::upper_bound(primes.begin(), primes.end(), b);
        EXPECT_EQ(value("PrimeSieve_CountPrimes", {mint(a), mint(b)}), last - first) << a << " " << b;
        for (const auto& [name, patterns] : tuplets) {
            EXPECT_EQ(value(name, {mint(a), mint(b)}), plain_tuplets(a, b, patterns)) << name << " " << a << " " << b;
        }
    }
}

TEST(Counts, SmallRangesNamedByHand) {
    EXPECT_EQ(value("PrimeSieve_CountPrimes", {0, 10}), 4);
    EXPECT_EQ(value("PrimeSieve_CountTwins", {0, 10}), 2);  // (3, 5), (5, 7)
}

TEST(Counts, AnEmptyRangeIsPassedThrough) {
    for (const auto& [name, patterns] : tuplets) EXPECT_EQ(value(name, {10, 1}), 0) << name;
    EXPECT_EQ(value("PrimeSieve_CountPrimes", {10, 1}), 0);
}

/** pi(10^k), OEIS A006880; twin prime pairs below 10^k, A007508. */
TEST(Counts, PublishedValues) {
    const std::vector<mint> pi = {0, 4, 25, 168, 1229, 9592, 78498, 664579, 5761455, 50847534};
    const std::vector<mint> twins = {0, 2, 8, 35, 205, 1224, 8169, 58980, 440312, 3424506};
    mint power = 1;
    for (size_t k = 0; k < pi.size(); ++k, power *= 10) {
        EXPECT_EQ(value("PrimeSieve_CountPrimes", {0, power}), pi[k]) << k;
        EXPECT_EQ(value("PrimeSieve_CountTwins", {0, power}), twins[k]) << k;
    }
}

TEST(Counts, Long_PublishedValuesTo1e12) {
    EXPECT_EQ(value("PrimeSieve_CountPrimes", {0, 10'000'000'000}), 455052511);
    EXPECT_EQ(value("PrimeSieve_CountPrimes", {0, 100'000'000'000}), 4118054813);
    EXPECT_EQ(value("PrimeSieve_CountPrimes", {0, 1'000'000'000'000}), 37607912018);
    EXPECT_EQ(value("PrimeSieve_CountTwins", {0, 10'000'000'000}), 27412679);
}

TEST(Counts, TheTopOfTheRangeIsReachedThroughNegativeBounds) {
    EXPECT_EQ(value("PrimeSieve_CountPrimes", {-59, -59}), 1);  // 2^64 - 59 is the largest 64-bit prime
    EXPECT_EQ(value("PrimeSieve_CountPrimes", {-58, -1}), 0);
}

TEST(NthPrime, AgreesWithAPlainSieve) {
    const auto& primes = plain_primes();
    for (const size_t n : {1u, 2u, 3u, 25u, 1000u, 78498u, 664579u}) {
        EXPECT_EQ(value("PrimeSieve_NthPrime", {mint(n)}), mint(primes[n - 1])) << n;
    }
}

TEST(NthPrime, ZeroAndNegativeArePrimesievesOwn) {
    EXPECT_EQ(value("PrimeSieve_NthPrime", {0}), 2);
    EXPECT_THROW(call_integer("PrimeSieve_NthPrime", {-1}), primesieve::primesieve_error);
}

TEST(NthPrime, NeverLooksAtASecondSlot) {
    mint n = 25;
    mint result = 0;
    MArgument slots[2];
    slots[0].integer = &n;
    slots[1].integer = nullptr;
    MArgument slot;
    slot.integer = &result;
    const auto nth_prime = kesh::test::Library::instance().get("PrimeSieve_NthPrime");
    EXPECT_EQ(nth_prime(nullptr, 1, slots, slot), LIBRARY_NO_ERROR);
    EXPECT_EQ(result, 97);
}

}  // namespace
