#include "primesieve_adapter.h"

#include <gtest/gtest.h>

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

/** An iterator of an older primesieve, as far as the adapter touches it. */
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
    kesh::sieve::narrowing_primes primes;
    const uint64_t wide[] = {2, 2147483659u, 4294967311u};
    primes.insert(primes.end(), wide, wide + 3);
    primes.push_back(4294967291u);
    EXPECT_EQ(primes.narrowed(), (std::vector<int>{2, -2147483637, 15, -5}));
    static_assert(sizeof(primes.narrowed()[0]) == 4);
}

TEST(NarrowingPrimes, ReserveIsTheVectorsOwn) {
    kesh::sieve::narrowing_primes primes;
    try {
        primes.reserve(max64);
        FAIL();
    } catch (const std::length_error& error) {
        EXPECT_EQ(std::string(error.what()), "vector::reserve");
    }
}

}  // namespace
