/**
 * @file   adapter_test.cpp
 * @brief  The primesieve adapter: where an iterator starts, its stop hints, and primes narrowed to 32 bits.
 */
#include "primesieve_adapter.h"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <string>

namespace {

constexpr uint64_t max64 = std::numeric_limits<uint64_t>::max();

uint64_t next_after(uint64_t x) {
    primesieve::iterator it;
    kesh::sieve::skipto_for_next(it, x, max64);
    return it.next_prime();
}

uint64_t previous_before(uint64_t x) {
    primesieve::iterator it;
    kesh::sieve::skipto_for_prev(it, x, max64);
    return it.prev_prime();
}

TEST(SkipTo, IsStrictInBothDirections) {
    EXPECT_EQ(next_after(0), 2u);
    EXPECT_EQ(next_after(1), 2u);
    EXPECT_EQ(next_after(2), 3u);
    EXPECT_EQ(next_after(7), 11u);
    EXPECT_EQ(next_after(8), 11u);
    EXPECT_EQ(previous_before(11), 7u);
    EXPECT_EQ(previous_before(12), 11u);
    EXPECT_EQ(previous_before(3), 2u);
}

TEST(SkipTo, BelowTheFirstPrimeThereIsZero) {
    for (const uint64_t x : {0u, 1u, 2u}) EXPECT_EQ(previous_before(x), 0u) << x;
}

void expect_none_after(uint64_t x) {
    try {
        next_after(x);
        FAIL() << x;
    } catch (const primesieve::primesieve_error& error) {
        EXPECT_STREQ(error.what(), "cannot generate primes > 2^64");
    }
}

TEST(SkipTo, TheTopOfTheRangeDoesNotWrap) {
    expect_none_after(max64);
}

// Each step at the top of the range sieves with all primes below 2^32, which takes seconds.
TEST(SkipTo, Long_NeighboursAtTheTopOfTheRange) {
    EXPECT_EQ(previous_before(max64), 18446744073709551557u);
    EXPECT_EQ(next_after(18446744073709551556u), 18446744073709551557u);
    expect_none_after(18446744073709551557u);
    expect_none_after(max64 - 1);
}

TEST(Hints, LieBeyondTheWalkAndInRange) {
    using kesh::sieve::hint_above;
    using kesh::sieve::hint_below;
    EXPECT_EQ(hint_above(0, 0), 1550u);
    EXPECT_EQ(hint_above(max64 - 10, 1), max64);
    EXPECT_EQ(hint_above(max64, 1), max64);
    EXPECT_EQ(hint_below(0, 1), 0u);
    EXPECT_EQ(hint_below(100, 1), 0u);
    EXPECT_EQ(hint_below(1'000'000, 0), 998'450u);
    EXPECT_EQ(hint_below(max64, 0), max64 - 1550);
    EXPECT_EQ(hint_above(1'000'000, -5), hint_above(1'000'000, 0)) << "such a walk draws no prime";
    EXPECT_EQ(hint_above(1000, std::numeric_limits<int64_t>::max()), (uint64_t{1} << 63) + 1000);
    EXPECT_EQ(hint_above(max64, std::numeric_limits<int64_t>::max()), max64);
    EXPECT_EQ(hint_below(max64, std::numeric_limits<int64_t>::max()), max64 >> 1);
    // The walk from 10^12 to its 1000th prime neighbours is about 1000 ln 10^12 = 27,631 long.
    EXPECT_GT(hint_above(1'000'000'000'000, 1000), 1'000'000'027'631u);
    EXPECT_LT(hint_above(1'000'000'000'000, 1000), 1'000'000'040'000u);
}

/** The last of k primes of a walk; 0 if a walk downwards finds fewer. */
uint64_t kth_above(uint64_t x, int64_t k, uint64_t stop_hint) {
    primesieve::iterator it;
    kesh::sieve::skipto_for_next(it, x, stop_hint);
    uint64_t prime = 0;
    for (int64_t i = 0; i < k; ++i) prime = it.next_prime();
    return prime;
}

uint64_t kth_below(uint64_t x, int64_t k, uint64_t stop_hint) {
    primesieve::iterator it;
    kesh::sieve::skipto_for_prev(it, x, stop_hint);
    uint64_t prime = 0;
    for (int64_t i = 0; i < k; ++i) prime = it.prev_prime();
    return prime;
}

TEST(Hints, ChangeNoAnswer) {
    std::mt19937_64 random(14);
    for (int i = 0; i < 1000; ++i) {
        const uint64_t x = random() >> (24 + random() % 40);  // up to 2^40
        const int64_t k = static_cast<int64_t>(random() % (i % 100 == 0 ? 100'000 : 30));
        const uint64_t above = kth_above(x, k, max64);
        const uint64_t below = kth_below(x, k, max64);
        ASSERT_EQ(kth_above(x, k, kesh::sieve::hint_above(x, k)), above) << x << ' ' << k;
        ASSERT_EQ(kth_below(x, k, kesh::sieve::hint_below(x, k)), below) << x << ' ' << k;
        // Also a hint that the walk passes.
        ASSERT_EQ(kth_above(x, k, x + 2), above) << x << ' ' << k;
        ASSERT_EQ(kth_below(x, k, x - x / 1000), below) << x << ' ' << k;
    }
}

/** An iterator of an older primesieve, with the members that the adapter uses. */
struct OlderIterator {
    uint64_t position = 0;
    void skipto(uint64_t start, uint64_t /*stop_hint*/) {
        position = start;
    }
};

TEST(SkipTo, AnOlderIteratorIsPassedTheNumberItself) {
    static_assert(kesh::sieve::has_skipto<OlderIterator>);
    OlderIterator it;
    for (const uint64_t x : {uint64_t{0}, uint64_t{7}, max64}) {
        kesh::sieve::skipto_for_next(it, x, max64);
        EXPECT_EQ(it.position, x);
        kesh::sieve::skipto_for_prev(it, x, max64);
        EXPECT_EQ(it.position, x);
    }
}

TEST(NarrowingPrimes, KeepsTheLowHalfAndFourBytesAPrime) {
    kesh::sieve::NarrowingPrimes primes;
    const uint64_t wide[] = {2, 2147483659u, 4294967311u};
    primes.insert(primes.end(), wide, wide + 3);
    primes.push_back(4294967291u);
    EXPECT_EQ(primes.narrowed(), (std::vector<int>{2, -2147483637, 15, -5}));
    static_assert(sizeof(primes.narrowed()[0]) == 4);
}

TEST(NarrowingPrimes, ReserveIsTheVectorsOwn) {
    kesh::sieve::NarrowingPrimes primes;
    try {
        primes.reserve(max64);
        FAIL();
    } catch (const std::length_error& error) {
        EXPECT_EQ(std::string(error.what()), "vector::reserve");
    }
}

}  // namespace
