/**
 * @file   primality64_test.cpp
 * @brief  The deterministic 64-bit test: edges, comparison with sieves, Carmichael numbers, strong pseudoprimes, and
 *         the effect of a wrong table entry.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <primesieve.hpp>
#include <random>
#include <vector>

#include "Prime/prime_data.h"
#include "Prime/prime_testing.h"
#include "primality64/strong_pseudoprimes.h"
#include "support/pseudoprime_sample.h"

namespace {

using kesh::u64;

/** The verdict, if both forms agree on it. */
bool verdict(u64 n) {
    const bool fast = kesh::PrimeQ(n);
    EXPECT_EQ(fast, kesh::reference::PrimeQ(n)) << n;
    return fast;
}

TEST(Primality64, SmallestNumbers) {
    EXPECT_FALSE(verdict(0));
    EXPECT_FALSE(verdict(1));
    EXPECT_TRUE(verdict(2));
    EXPECT_TRUE(verdict(3));
    EXPECT_FALSE(verdict(4));
    EXPECT_FALSE(kesh::isPrime(0));
    EXPECT_FALSE(kesh::isPrime(1));
    EXPECT_TRUE(kesh::isPrime(2));
}

TEST(Primality64, EndOfTheBitmap) {
    EXPECT_TRUE(kesh::isPrime(1048573));
    EXPECT_FALSE(kesh::isPrime(1048577)) << "17 * 61681, the last bit of the map";
    EXPECT_TRUE(verdict(1048573));
    EXPECT_FALSE(verdict(1048577));
    EXPECT_TRUE(verdict(1048583)) << "the first prime that a strong test decides";
    EXPECT_TRUE(kesh::PrimeQ(std::uint32_t{1048583}));
}

TEST(Primality64, EndOf32Bits) {
    EXPECT_TRUE(verdict(4294967291));
    EXPECT_TRUE(kesh::PrimeQ(std::uint32_t{4294967291}));
    EXPECT_TRUE(kesh::reference::PrimeQ(std::uint32_t{4294967291}));
    EXPECT_FALSE(verdict(4294967295));
    EXPECT_FALSE(verdict(4294967296));
    EXPECT_TRUE(verdict(4294967311)) << "the first prime above 2^32";
}

TEST(Primality64, EndOf64Bits) {
    EXPECT_TRUE(verdict(18446744073709551557u)) << "2^64 - 59, the largest 64-bit prime";
    for (u64 n = 18446744073709551558u; n != 0; ++n) EXPECT_FALSE(verdict(n)) << n;
}

TEST(Primality64, EveryNumberBelow2To24) {
    constexpr std::uint32_t end = 1u << 24;
    std::vector<bool> composite(end);
    for (u64 p = 2; p * p < end; ++p) {
        if (composite[p]) continue;
        for (u64 multiple = p * p; multiple < end; multiple += p) composite[multiple] = true;
    }
    composite[0] = composite[1] = true;
    u64 differences = 0;
    for (std::uint32_t n = 0; n < end; ++n) {
        differences += kesh::PrimeQ(n) == composite[n];
        differences += kesh::PrimeQ(u64{n}) == composite[n];
        if (n <= 1048577) differences += kesh::isPrime(n) == composite[n];
    }
    EXPECT_EQ(differences, 0);
}

/** Compares the verdict on every number of [from, from + length) with primesieve. */
void expect_window(u64 from, u64 length) {
    primesieve::iterator primes(from == 0 ? 0 : from - 1);
    u64 next = primes.next_prime();
    u64 differences = 0;
    for (u64 i = 0; i < length; ++i) {
        const u64 n = from + i;
        const bool prime = n == next;
        if (kesh::PrimeQ(n) != prime && ++differences <= 10)
            ADD_FAILURE() << n << " is " << (prime ? "prime" : "not prime");
        if (prime) next = primes.next_prime();
    }
    EXPECT_EQ(differences, 0);
}

class Window : public testing::TestWithParam<u64> {};

TEST_P(Window, AgreesWithTheSieve) {
    expect_window(GetParam(), 10'000'000);
}

constexpr u64 half_window = 5'000'000;
INSTANTIATE_TEST_SUITE_P(Around, Window,
                         testing::Values((u64{1} << 32) - half_window, (u64{1} << 49) - half_window,
                                         (u64{1} << 63) - half_window));
INSTANTIATE_TEST_SUITE_P(FromZero, Window, testing::Values(u64{0}));

TEST(Primality64, TopWindowAgreesWithTheSieve) {
    // The largest prime has no successor in 64 bits; EndOf64Bits tests every number above it.
    constexpr u64 largest_prime = 18446744073709551557u;
    expect_window(largest_prime - 9'999'999, 9'999'999);
}

TEST(Primality64, RandomNumbersOfEverySizeByBothForms) {
    std::mt19937_64 random(20240064);
    for (unsigned bits = 1; bits <= 64; ++bits) {
        for (int i = 0; i < 3000; ++i) {
            const u64 n = random() >> (64 - bits);
            ASSERT_EQ(kesh::PrimeQ(n), kesh::reference::PrimeQ(n)) << n;
        }
    }
}

TEST(Primality64, CarmichaelNumbersOfThreeLinearFactors) {
    u64 carmichael = 0, strong_to_base_2 = 0;
    for (u64 j = 1;; ++j) {
        const u64 p = 6 * j + 1, q = 12 * j + 1, r = 18 * j + 1;
        u64 n = 0;
        if (__builtin_mul_overflow(p * q, r, &n)) break;
        ASSERT_FALSE(kesh::PrimeQ(n)) << n;
        if (!kesh::PrimeQ(p) || !kesh::PrimeQ(q) || !kesh::PrimeQ(r)) continue;
        ++carmichael;
        ASSERT_FALSE(kesh::reference::PrimeQ(n)) << n;
        strong_to_base_2 += kesh::test::passes_strongly(n, 2);
    }
    EXPECT_EQ(carmichael, 1675);
    EXPECT_GT(strong_to_base_2, 100) << "the family must reach the second base";
}

/** Strong pseudoprimes to base 2 below 2^32, from 2^32 to 2^49, and above. */
const std::vector<u64>& pseudoprimes() {
    static const std::vector<u64> all = [] {
        std::vector<u64> found;
        for (u64 from : {u64{2000}, u64{100'000}, u64{3'000'000}, u64{30'000'000}, u64{1'500'000'000}}) {
            const std::vector<u64> part = kesh::test::strong_pseudoprimes(from, from + 400'000);
            found.insert(found.end(), part.begin(), part.end());
        }
        std::erase_if(found, [](u64 n) { return n <= 1048577; });
        return found;
    }();
    return all;
}

TEST(Primality64, StrongPseudoprimesToBase2) {
    ASSERT_GT(pseudoprimes().size(), 20'000);
    for (u64 n : pseudoprimes()) ASSERT_FALSE(verdict(n)) << n;
}

/** Seven of the hardest in each bucket: numbers that pass the strong test to most prime bases. */
const std::vector<u64>& hard_pseudoprimes() {
    static const std::vector<u64> all = read_pseudoprime_sample();
    return all;
}

TEST(Primality64, HardStrongPseudoprimes) {
    ASSERT_GE(hard_pseudoprimes().size(), 100'000);
    for (u64 n : hard_pseudoprimes()) {
        ASSERT_TRUE(kesh::test::passes_strongly(n, 2)) << n;
        ASSERT_FALSE(verdict(n)) << n;
    }
}

/**
 * Changes each entry of the table to 2 in turn: one of the numbers must then be taken for a prime. Returns the number
 * of entries for which there were numbers.
 */
template <std::size_t Size>
std::size_t expect_every_entry_to_matter(const std::uint16_t (&table)[Size], const std::vector<u64>& numbers,
                                         int hash_shift, kesh::reference::BaseTables (*with)(const std::uint16_t*)) {
    std::vector<std::vector<u64>> users(Size);
    for (u64 n : numbers) users[static_cast<std::uint32_t>(n) * 0xAD625B89u >> hash_shift].push_back(n);
    std::vector<std::uint16_t> changed(std::begin(table), std::end(table));
    std::size_t used = 0;
    for (std::size_t i = 0; i < Size; ++i) {
        if (users[i].empty()) continue;
        ++used;
        changed[i] = 2;
        const auto passes = [&](u64 n) { return kesh::reference::PrimeQ(n, with(changed.data())); };
        EXPECT_TRUE(std::ranges::any_of(users[i], passes)) << "entry " << i;
        changed[i] = table[i];
    }
    return used;
}

TEST(Primality64, ATableEntryBelow2To32ChangedTo2IsNoticed) {
    std::vector<u64> numbers = pseudoprimes();
    std::erase_if(numbers, [](u64 n) { return n >> 32 != 0; });
    EXPECT_GT(expect_every_entry_to_matter(kesh::prime_data32, numbers, 24,
                                           [](const std::uint16_t* changed) {
                                               return kesh::reference::BaseTables{changed, kesh::prime_data64};
                                           }),
              128u);
}

TEST(Primality64, ATableEntryAbove2To32ChangedTo2IsNoticed) {
    EXPECT_EQ(expect_every_entry_to_matter(kesh::prime_data64, hard_pseudoprimes(), 18,
                                           [](const std::uint16_t* changed) {
                                               return kesh::reference::BaseTables{kesh::prime_data32, changed};
                                           }),
              16384u);
}

}  // namespace
