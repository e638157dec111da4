/**
 * @file   neighbours_test.cpp
 * @brief  Next and previous primes, k-th primes from a number, and sums of primes.
 */
#include <gtest/gtest.h>

#include <numeric>
#include <primesieve.hpp>

#include "sieve/plain_sieve.h"
#include "sieve/value.h"
#include "support/test_host.h"

namespace {

using kesh::test::call_integer;
using kesh::test::plain_primes;
using kesh::test::value;

constexpr mint largest_prime = -59;  // 2^64 - 59 as the host sees it

void expect_beyond_the_top(const std::string& name, std::vector<mint> arguments) {
    try {
        call_integer(name, std::move(arguments));
        FAIL() << name;
    } catch (const primesieve::primesieve_error& error) {
        EXPECT_STREQ(error.what(), "cannot generate primes > 2^64") << name;
    }
}

TEST(Neighbours, SmallValues) {
    EXPECT_EQ(value("PrimeSieve_NextPrime", {7}), 11);
    EXPECT_EQ(value("PrimeSieve_NextPrime", {0}), 2);
    EXPECT_EQ(value("PrimeSieve_PreviousPrime", {11}), 7);
    EXPECT_EQ(value("PrimeSieve_NextKthPrime", {10, 3}), 17);
    EXPECT_EQ(value("PrimeSieve_PreviousKthPrime", {10, 2}), 5);
}

TEST(Neighbours, AgreeWithAPlainSieve) {
    const auto& primes = plain_primes();
    for (size_t i = 5; i + 5 < primes.size(); i += 997) {
        const mint p = static_cast<mint>(primes[i]);
        EXPECT_EQ(value("PrimeSieve_NextPrime", {p}), mint(primes[i + 1]));
        EXPECT_EQ(value("PrimeSieve_NextPrime", {p - 1}), p);
        EXPECT_EQ(value("PrimeSieve_PreviousPrime", {p}), mint(primes[i - 1]));
        EXPECT_EQ(value("PrimeSieve_PreviousPrime", {p + 1}), p);
        EXPECT_EQ(value("PrimeSieve_NextKthPrime", {p, 5}), mint(primes[i + 5]));
        EXPECT_EQ(value("PrimeSieve_PreviousKthPrime", {p, 5}), mint(primes[i - 5]));
    }
}

TEST(Neighbours, NoPrimeBelowTwo) {
    for (const mint n : {0, 1, 2}) EXPECT_EQ(value("PrimeSieve_PreviousPrime", {n}), 0) << n;
    EXPECT_EQ(value("PrimeSieve_PreviousKthPrime", {10, 5}), 0);
    EXPECT_EQ(value("PrimeSieve_PreviousKthPrime", {10, 50}), 0);
}

TEST(Neighbours, AWalkEndsWhereThePrimesDo) {
    // Drawing 2^63 - 1 zeros would take centuries.
    EXPECT_EQ(value("PrimeSieve_PreviousKthPrime", {10, std::numeric_limits<mint>::max()}), 0);
}

TEST(Neighbours, TheTopOfTheRange) {
    EXPECT_EQ(value("PrimeSieve_PreviousPrime", {-1}), largest_prime);
    expect_beyond_the_top("PrimeSieve_NextPrime", {-1});
}

TEST(Neighbours, Near10To18) {
    // Published: the primes beside 10^18 are 10^18 - 11 and 10^18 + 3, then + 9.
    constexpr mint n = 1'000'000'000'000'000'000;
    EXPECT_EQ(value("PrimeSieve_NextPrime", {n}), n + 3);
    EXPECT_EQ(value("PrimeSieve_PreviousPrime", {n}), n - 11);
    EXPECT_EQ(value("PrimeSieve_NextKthPrime", {n, 2}), n + 9);
    EXPECT_EQ(value("PrimeSieve_PreviousKthPrime", {n + 9, 2}), n - 11);
    EXPECT_EQ(value("PrimeSieve_PrimeSumInterval", {n, n + 9}), 2 * n + 12);
}

// Each step at the top of the range sieves with all primes below 2^32, which takes seconds.
TEST(Neighbours, Long_TheTopOfTheRange) {
    EXPECT_EQ(value("PrimeSieve_NextPrime", {largest_prime - 1}), largest_prime);
    expect_beyond_the_top("PrimeSieve_NextPrime", {largest_prime});
    expect_beyond_the_top("PrimeSieve_NextKthPrime", {largest_prime - 1, 2});
}

TEST(Neighbours, ResultsOf2To63AndAboveArriveNegative) {
    // The first prime above 2^63 is 2^63 + 29.
    EXPECT_EQ(value("PrimeSieve_NextPrime", {std::numeric_limits<mint>::max()}), std::numeric_limits<mint>::min() + 29);
}

TEST(Neighbours, NoPrimeIsDrawnForKBelowOne) {
    // At 2^64 - 59 drawing a prime would throw.
    for (const mint k : {mint{0}, mint{-1}, std::numeric_limits<mint>::min()}) {
        EXPECT_EQ(call_integer("PrimeSieve_NextKthPrime", {largest_prime, k}).code, LIBRARY_NO_ERROR);
        EXPECT_EQ(call_integer("PrimeSieve_PreviousKthPrime", {0, k}).code, LIBRARY_NO_ERROR);
    }
}

TEST(PrimeSum, SmallValues) {
    EXPECT_EQ(value("PrimeSieve_PrimeSum", {10}), 17);
    EXPECT_EQ(value("PrimeSieve_PrimeSum", {11}), 17);
    EXPECT_EQ(value("PrimeSieve_PrimeSum", {12}), 28);
    EXPECT_EQ(value("PrimeSieve_PrimeSum", {0}), 0);
    EXPECT_EQ(value("PrimeSieve_PrimeSum", {2}), 0);
    EXPECT_EQ(value("PrimeSieve_PrimeSum", {3}), 2);
}

/** Sum of the primes below 10^k: OEIS A046731. */
TEST(PrimeSum, PublishedValues) {
    const std::vector<mint> sums = {0, 17, 1060, 76127, 5736396, 454396537, 37550402023, 3203324994356};
    mint power = 1;
    for (size_t k = 0; k < sums.size(); ++k, power *= 10) {
        EXPECT_EQ(value("PrimeSieve_PrimeSum", {power}), sums[k]);
        EXPECT_EQ(value("PrimeSieve_PrimeSumInterval", {1, power}), sums[k]);
    }
}

TEST(PrimeSumInterval, BothEndsAreIncluded) {
    EXPECT_EQ(value("PrimeSieve_PrimeSumInterval", {2, 7}), 17);
    EXPECT_EQ(value("PrimeSieve_PrimeSumInterval", {1, 7}), 17);
    EXPECT_EQ(value("PrimeSieve_PrimeSumInterval", {3, 7}), 15);
    EXPECT_EQ(value("PrimeSieve_PrimeSumInterval", {8, 10}), 0);
    EXPECT_EQ(value("PrimeSieve_PrimeSumInterval", {7, 7}), 7);
    EXPECT_EQ(value("PrimeSieve_PrimeSumInterval", {10, 1}), 0);
}

TEST(PrimeSumInterval, TheWalkEndsWithTheLast64BitPrime) {
    const mint last = -59;  // 2^64 - 59
    EXPECT_EQ(value("PrimeSieve_PrimeSumInterval", {last, last - 1}), 0);
    expect_beyond_the_top("PrimeSieve_PrimeSumInterval", {last, last});
    expect_beyond_the_top("PrimeSieve_PrimeSumInterval", {last, -2});
    // b = -1 ends the walk before its first step, if there is a first step.
    EXPECT_EQ(value("PrimeSieve_PrimeSumInterval", {last, -1}), 0);
    expect_beyond_the_top("PrimeSieve_PrimeSumInterval", {last + 1, -1});
}

TEST(PrimeSumInterval, ZeroWrapsToTheTopOfTheRange) {
    expect_beyond_the_top("PrimeSieve_PrimeSumInterval", {0, 10});
}

TEST(PrimeSumInterval, MinusOneWrapsToAnEmptyInterval) {
    EXPECT_EQ(value("PrimeSieve_PrimeSumInterval", {2, -1}), 0);
}

TEST(PrimeSumInterval, Long_SumsWrapModulo2To64) {
    // The walk needs one prime above the bound, so the interval ends below the largest prime.
    const uint64_t last = 18446744073709551533u;
    const uint64_t first = static_cast<uint64_t>(value("PrimeSieve_PreviousPrime", {mint(last)}));
    EXPECT_EQ(value("PrimeSieve_NextPrime", {mint(last)}), largest_prime);
    EXPECT_EQ(value("PrimeSieve_PrimeSumInterval", {mint(first), mint(last)}), mint(first + last));
}

}  // namespace
