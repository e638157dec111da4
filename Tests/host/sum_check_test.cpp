/**
 * @file   sum_check_test.cpp
 * @brief  Sums of primes that fit 64 bits and sums that do not, compared with sums in 128 bits.
 */

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <primesieve.hpp>
#include <random>
#include <span>
#include <vector>

#include "calls/expression.h"
#include "calls/sum_check.h"

namespace {

using namespace kesh_host;
__extension__ using Wide = unsigned __int128;

constexpr umint base = 1'000'000'000'000'000'000;

/** The primes of a short range in which nineteen of them add up to more than 2^64. */
const std::vector<umint>& primes() {
    static const std::vector<umint> list = [] {
        std::vector<umint> found;
        primesieve::generate_primes(base, base + 100'000, &found);
        return found;
    }();
    return list;
}

/** The primes from a to b; the list must have all of them. */
std::span<const umint> between(umint a, umint b) {
    const auto first = std::lower_bound(primes().begin(), primes().end(), a);
    return {first, std::upper_bound(first, primes().end(), b)};
}

std::optional<umint> count(umint a, umint b) {
    return between(a, b).size();
}

std::optional<umint> no_count(umint, umint) {
    return std::nullopt;
}

/** Compares the check with the sum: its statement is true, and `decided` says whether it makes one. */
void expect_right(umint a, umint b, bool decided, const PrimeCounter& counter) {
    const auto range = between(a, b);
    const Wide total = std::accumulate(range.begin(), range.end(), Wide{0});
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
    for (const umint length : {0UL, 10UL, 600UL, 700UL, 800UL, 1000UL, 30'000UL, 90'000UL})
        expect_right(base, base + length, true, count);
    std::mt19937_64 random(1);
    for (int i = 0; i < 1000; ++i) {
        const umint a = base + random() % 50'000;
        expect_right(a, a + random() % 2'000, true, count);
    }
}

TEST(SumCheck, WithoutACountItSaysThatItDoesNotKnow) {
    expect_right(base, base + 10, true, no_count);  // at most six odd numbers
    expect_right(base, base + 2000, false, no_count);
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
    EXPECT_EQ(check_sum(base, base + 2000, 1, count).wrapped, Wrapped::unknown);
}

TEST(SumCheck, Long_TheFirstWrappedSum) {
    const Wide two_to_64 = static_cast<Wide>(1) << 64;
    Wide total = 0;
    primesieve::iterator iterator(0, first_wrapped_sum);
    while (total < two_to_64) total += iterator.next_prime();
    EXPECT_TRUE(total == two_to_64 + 13'337'117'907U);
    EXPECT_EQ(iterator.prev_prime(), 29'505'444'469U);
    EXPECT_EQ(iterator.next_prime(), first_wrapped_sum);
}

}  // namespace
