/**
 * @file   sum_check_test.cpp
 * @brief  Sums of primes that fit 64 bits and such that do not, against sums in 128 bits.
 */
#include "sum_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <primesieve.hpp>
#include <random>

namespace {

using namespace bench_host;
__extension__ using Wide = unsigned __int128;

std::optional<umint> count(umint a, umint b) {
    return primesieve::count_primes(a, b);
}

std::optional<umint> no_count(umint, umint) {
    return std::nullopt;
}

Wide sum(umint a, umint b) {
    Wide total = 0;
    primesieve::iterator primes(a, b);
    for (umint prime = primes.next_prime(); prime <= b; prime = primes.next_prime()) total += prime;
    return total;
}

/** The check against the sum itself: what it says is true, and `decided` says whether it says anything. */
void expect_right(umint a, umint b, bool decided, const PrimeCounter& counter) {
    const Wide total = sum(a, b);
    const SumCheck check = check_sum(a, b, static_cast<umint>(total), counter);
    EXPECT_EQ(check.wrapped != Wrapped::unknown, decided) << a << " to " << b;
    if (decided) {
        EXPECT_EQ(check.wrapped == Wrapped::yes, (total >> 64) != 0) << a << " to " << b;
    }
    if (check.exact) {
        EXPECT_TRUE(*check.exact == cpp_int(total)) << a << " to " << b;
    }
}

TEST(SumCheck, ShortRangesAreDecidedByACount) {
    for (const umint a :
         {umint{1} << 32, umint{1} << 40, umint{1} << 59, umint{1'000'000'000'000'000'000}, ~umint{0} - 100'000}) {
        for (const umint length : {0, 10, 1000, 30'000, 90'000}) expect_right(a, a + length, true, count);
    }
    std::mt19937_64 random(1);
    for (int i = 0; i < 50; ++i) {
        const umint a = random() >> (random() % 30);
        expect_right(a, std::min(a + random() % 50'000, ~umint{0} - 100), true, count);
    }
}

TEST(SumCheck, WithoutACountItSaysThatItDoesNotKnow) {
    const umint a = 1'000'000'000'000'000'000;
    expect_right(a, a + 10, true, no_count);  // at most six odd numbers
    expect_right(a, a + 2000, false, no_count);
}

TEST(SumCheck, LongRangesAreDecidedByBounds) {
    const auto wrapped = [](umint a, umint b) { return check_sum(a, b, 0, no_count).wrapped; };
    EXPECT_EQ(wrapped(1, first_wrapped_sum - 1), Wrapped::no);
    EXPECT_EQ(wrapped(1, first_wrapped_sum), Wrapped::yes);
    EXPECT_EQ(wrapped(1'000'000'000'000, 2'000'000'000'000), Wrapped::yes);
    EXPECT_EQ(wrapped(100'000'000'000, ~umint{0} - 1), Wrapped::yes);
    EXPECT_EQ(wrapped(10, 5), Wrapped::no) << "an empty range";
}

TEST(SumCheck, ACountThatContradictsTheResidueDecidesNothing) {
    const umint a = 1'000'000'000'000'000'000;
    EXPECT_EQ(check_sum(a, a + 2000, 1, count).wrapped, Wrapped::unknown);
}

TEST(SumCheck, Long_TheFirstWrappedSum) {
    const Wide two_to_64 = static_cast<Wide>(1) << 64;
    const Wide total = sum(0, first_wrapped_sum);
    EXPECT_TRUE(total == two_to_64 + 13'337'117'907U && total - first_wrapped_sum < two_to_64);
}

}  // namespace
