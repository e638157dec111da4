/**
 * @file   pseudoprime_sample_test.cpp
 * @brief  The committed sample of hard pseudoprimes, and the verdicts of the tables on it.
 */
#include "support/pseudoprime_sample.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bitset>

#include "Prime/prime_data.h"
#include "table_rule.h"

namespace prime_tables {
namespace {

const std::vector<u64>& sample() {
    static const std::vector<u64> numbers = read_pseudoprime_sample();
    return numbers;
}

TEST(PseudoprimeSample, HasSevenDistinctNumbersInEveryBucket) {
    ASSERT_EQ(sample().size(), 7 * std::size_t{bucket_count});
    EXPECT_GE(sample().front(), u64{1} << 32);
    EXPECT_EQ(std::adjacent_find(sample().begin(), sample().end(), std::greater_equal<>()), sample().end());
    std::vector<int> count(bucket_count);
    for (const u64 n : sample()) ++count[bucket_of(n)];
    EXPECT_EQ(*std::min_element(count.begin(), count.end()), 7);
}

TEST(PseudoprimeSample, HoldsStrongPseudoprimesToBaseTwoWithoutSmallFactors) {
    for (const u64 n : sample()) {
        EXPECT_TRUE(is_strong_probable_prime(n, 2)) << n;
        for (u64 p = 3; p <= 61; p += 2) EXPECT_NE(n % p, 0U) << n;
    }
}

TEST(PseudoprimeSample, IsClearedByTheTable) {
    for (const u64 n : sample()) EXPECT_TRUE(clears(kesh::prime_data64[bucket_of(n)], n, third_base_from)) << n;
}

TEST(PseudoprimeSample, NoticesEveryEntryThatIsReplacedByTwo) {
    std::bitset<bucket_count> noticed;
    for (const u64 n : sample()) {
        if (!clears(2, n, third_base_from)) noticed.set(bucket_of(n));
    }
    EXPECT_TRUE(noticed.all()) << bucket_count - noticed.count() << " entries are not noticed";
}

}  // namespace
}  // namespace prime_tables
