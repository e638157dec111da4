/**
 * @file   enumeration_test.cpp
 * @brief  The searches for base-2 strong pseudoprimes, compared with brute force and with published counts.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

#include "bucket_walk.h"
#include "cofactor_conditions.h"
#include "fermat_filter.h"
#include "order_of_two.h"
#include "pair_search.h"
#include "progression_search.h"
#include "smooth_search.h"

namespace prime_tables {
namespace {

void sortUnique(std::vector<u64>& numbers) {
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
}

TEST(OrderOfTwo, IsTheLeastExponentForEveryPrimeOfAWindow) {
    for (const u64 lo : {u64{3}, u64{1} << 16, u64{1000000}}) {
        const auto orders = orders_of_two(lo, lo + 3000);
        ASSERT_FALSE(orders.empty());
        for (const PrimeOrder& p : orders) {
            u32 order = 1;
            for (u64 power = 2 % p.prime; power != 1; power = 2 * power % p.prime) ++order;
            EXPECT_EQ(p.order, order) << p.prime;
        }
    }
}

TEST(OrderOfTwo, KnowsPrimesWithSmallOrderUpToTheTop) {
    const auto orderOf = [](u64 p) { return orders_of_two(p, p + 1).at(0).order; };
    EXPECT_EQ(orderOf(2147483647), 31U);  // 2^31 - 1
    EXPECT_EQ(orderOf(4278255361), 80U);  // divides 2^40 + 1
    EXPECT_EQ(orderOf(2796203), 46U);     // divides 2^23 + 1
    EXPECT_EQ(orderOf(4294967291), 4294967290U);
}

TEST(FermatFilter, BatchAgreesWithThePortableForm) {
    std::mt19937_64 random(1);
    alignas(64) std::array<u64, FermatFilter::batch> n;
    alignas(64) std::array<u64, FermatFilter::batch> m;
    u64 passed = 0;
    for (int round = 0; round < 2000; ++round) {
        for (std::size_t i = 0; i < FermatFilter::batch; ++i) {
            m[i] = std::max<u64>(3, random() >> (17 + random() % 44) | 1);
            // Half of the candidates are of kinds that often pass: m itself, and 2^k + 1, whose exponent has one bit.
            n[i] = i % 4 == 0 ? m[i] : i % 4 == 1 ? (u64{1} << (2 + random() % 62)) + 1 : random() | 1;
        }
        const u64 batch = fermat_mask(n.data(), m.data());
        const u64 portable = fermat_mask_portable(n.data(), m.data());
        // The exponent in the batch is n - 1 times a power of 2: more numbers may pass, never fewer.
        EXPECT_EQ(portable & ~batch, 0U);
        passed += static_cast<u64>(std::popcount(portable));
        for (u64 more = batch & ~portable; more != 0; more &= more - 1) {
            const auto i = static_cast<std::size_t>(std::countr_zero(more));
            const Modulus mod(m[i]);
            u64 x = mod.power_of_two(n[i] - 1);
            for (int k = 0; k < 64; ++k) x = mod.multiply(x, x);
            EXPECT_EQ(x, mod.one()) << n[i] << " mod " << m[i];
        }
    }
    EXPECT_GT(passed, 1000U);
}

TEST(FermatFilter, KeepsStrongPseudoprimesOnly) {
    std::vector<u64> found;
    FermatFilter filter(found, 1);
    filter.push(2047, 89);
    filter.push(341, 31);  // Fermat, not strong
    filter.push(561, 17);  // Carmichael, not strong
    filter.push(3277, 113);
    filter.push(3279, 1093);
    filter.flush();
    EXPECT_THAT(found, testing::ElementsAre(2047, 3277));
}

TEST(PairSearch, VectorsAgreeWithThePortableForm) {
    PrimeColumn column;
    const auto all = orders_of_two(least_paired_prime, 1 << 17);
    for (const PrimeOrder& q : all) {
        if (q.valuation() != 1) continue;
        column.prime.push_back(q.prime);
        column.order.push_back(q.order);
    }
    for (const PrimeOrder& p : orders_of_two(1 << 17, (1 << 17) + 100)) {
        std::vector<std::pair<u64, u64>> vectors;
        std::vector<std::pair<u64, u64>> portable;
        const double largest = 0x1p56;
        search_pairs(p, column, 3, column.prime.size(), largest, [&](u64 q, u64 m) { vectors.emplace_back(q, m); });
        search_pairs_portable(p, column, 3, column.prime.size(), largest,
                              [&](u64 q, u64 m) { portable.emplace_back(q, m); });
        std::sort(vectors.begin(), vectors.end());
        std::sort(portable.begin(), portable.end());
        EXPECT_EQ(vectors, portable) << p.prime;
        EXPECT_FALSE(portable.empty());
    }
}

TEST(PairSearch, LeavesOutAPrimeThatDividesTheOrder) {
    const PrimeOrder p = orders_of_two(32771, 32772).at(0);
    PrimeColumn column;
    for (const u32 r : {4099U, 4111U}) {
        column.prime.push_back(r);
        column.order.push_back(1);  // accepts every m, so that only the order of p decides
    }
    PrimeOrder multiple = p;
    multiple.order = 2 * 4099;
    std::vector<u64> primes;
    search_pairs(multiple, column, 0, 2, 0x1p44, [&](u64 q, u64) { primes.push_back(q); });
    std::vector<u64> portable;
    search_pairs_portable(multiple, column, 0, 2, 0x1p44, [&](u64 q, u64) { portable.push_back(q); });
    EXPECT_EQ(primes, portable);
    EXPECT_THAT(primes, testing::Not(testing::Contains(4099)));
}

TEST(ProgressionSearch, FindsWhatEveryCofactorInTurnFinds) {
    ProgressionSearch search(~u64{0});
    u64 total = 0;
    for (const PrimeOrder& p : orders_of_two(100000000, 100004000)) {
        if (p.order < p.prime / 50) continue;
        std::vector<u64> found;
        FermatFilter filter(found, u64{1} << 32);
        search.search(p, filter);
        filter.flush();
        std::vector<u64> expected;
        FermatFilter all(expected, u64{1} << 32);
        for (u64 m = 1 + p.order; m <= ~u64{0} / p.prime; m += p.order) {
            if (m % 2 == 1) all.push(p.prime * m, m);
        }
        all.flush();
        sortUnique(found);
        sortUnique(expected);
        EXPECT_EQ(found, expected) << p.prime;
        total += expected.size();
    }
    EXPECT_GT(total, 100U);
}

TEST(ProgressionSearch, RatioLimitsTheCofactor) {
    const PrimeOrder p = orders_of_two(100000007, 100000008).at(0);
    std::vector<u64> all;
    std::vector<u64> limited;
    FermatFilter all_filter(all, 1);
    FermatFilter limited_filter(limited, 1);
    ProgressionSearch(~u64{0}).search(p, all_filter);
    ProgressionSearch(~u64{0}, 64).search(p, limited_filter);
    all_filter.flush();
    limited_filter.flush();
    std::erase_if(all, [&](u64 n) { return n / p.prime > 64 * u64{p.prime}; });
    EXPECT_EQ(limited, all);
}

TEST(ProgressionSearch, ABlockOfBucketsGetsItsShareOfTheWhole) {
    const BucketBlock block{1000, 2000};
    ProgressionSearch whole(~u64{0});
    ProgressionSearch part(~u64{0}, 0, block);
    std::vector<u64> expected;
    std::vector<u64> found;
    FermatFilter whole_filter(expected, u64{1} << 32);
    FermatFilter part_filter(found, u64{1} << 32);
    for (const PrimeOrder& p : orders_of_two(300000000, 300020000)) {
        if (p.order < p.prime / 50) continue;
        whole.search(p, whole_filter);
        part.search(p, part_filter);
    }
    whole_filter.flush();
    part_filter.flush();
    std::erase_if(expected, [&](u64 n) { return !block.contains(n); });
    sortUnique(expected);
    sortUnique(found);
    EXPECT_EQ(found, expected);
    EXPECT_GT(found.size(), 20U);
}

/** Every base-2 strong pseudoprime up to `largest` that the two searches find together. */
std::vector<u64> enumerateAll(u64 largest, u64 bound) {
    std::vector<u64> found;
    FermatFilter filter(found, 1);
    const SmoothSearch smooth(largest, bound);
    for (const PrimeOrder& p : orders_of_two(3, bound)) smooth.search(p, filter);
    ProgressionSearch progression(largest);
    for (u64 lo = bound; lo <= largest / 3; lo += u64{1} << 20) {
        for (const PrimeOrder& p : orders_of_two(lo, lo + (u64{1} << 20))) progression.search(p, filter);
    }
    filter.flush();
    sortUnique(found);
    return found;
}

// Counts: R. G. E. Pinch, The pseudoprimes up to 10^13, and OEIS A055552.
TEST(Enumeration, IsCompleteBelowTenToTheEighth) {
    for (const u64 bound : {u64{1} << 9, u64{1} << 13}) {
        const std::vector<u64> found = enumerateAll(100000000, bound);
        const auto below = [&](u64 n) { return std::lower_bound(found.begin(), found.end(), n) - found.begin(); };
        EXPECT_EQ(below(1000), 0);
        EXPECT_EQ(below(10000), 5);
        EXPECT_EQ(below(100000), 16);
        EXPECT_EQ(below(1000000), 46);
        EXPECT_EQ(below(10000000), 162);
        EXPECT_EQ(below(100000000), 488);
    }
}

TEST(Enumeration, HasTheTwoSquaresOfWieferichPrimes) {
    const std::vector<u64> found = enumerateAll(100000000, 1 << 13);
    EXPECT_THAT(found, testing::Contains(u64{1093} * 1093));
    EXPECT_THAT(found, testing::Contains(u64{3511} * 3511));
}

TEST(Enumeration, Long_IsCompleteBelowTenToTheNinth) {
    EXPECT_EQ(enumerateAll(1000000000, 1 << 14).size(), 1282U);
}

u64 largestPrimeFactor(u64 n) {
    u64 largest = 1;
    for (u64 p = 3; p * p <= n; p += 2) {
        for (; n % p == 0; n /= p) largest = p;
    }
    return std::max(largest, n);
}

TEST(SmoothSearch, FindsWhatTheProgressionOfTheLargestPrimeFinds) {
    const SmoothSearch smooth(~u64{0}, (u64{1} << 22) + 2000);
    ProgressionSearch progression(~u64{0});
    u64 total = 0;
    for (const auto& [lo, hi] :
         {std::pair{u64{1} << 20, (u64{1} << 20) + 120}, {u64{1} << 22, (u64{1} << 22) + 1500}}) {
        for (const PrimeOrder& p : orders_of_two(lo, hi)) {
            if (p.order < p.prime / 10) continue;
            std::vector<u64> found;
            FermatFilter found_filter(found, u64{1} << 32);
            smooth.search(p, found_filter);
            found_filter.flush();
            sortUnique(found);
            std::vector<u64> expected;
            FermatFilter expected_filter(expected, u64{1} << 32);
            progression.search(p, expected_filter);
            expected_filter.flush();
            sortUnique(expected);
            EXPECT_TRUE(std::includes(expected.begin(), expected.end(), found.begin(), found.end())) << p.prime;
            std::erase_if(expected, [&](u64 n) { return largestPrimeFactor(n / p.prime) > p.prime; });
            EXPECT_TRUE(std::includes(found.begin(), found.end(), expected.begin(), expected.end())) << p.prime;
            total += expected.size();
        }
    }
    EXPECT_GT(total, 10U);
}

TEST(BucketWalk, VisitsExactlyTheMembersOfTheBlock) {
    std::mt19937_64 random(3);
    for (int round = 0; round < 300; ++round) {
        BucketBlock block;
        block.count = round % 50 == 0 ? bucket_count : 1 + static_cast<u32>(random() % 40);
        block.first = static_cast<u32>(random() % (bucket_count - block.count + 1));
        const u64 first = random();
        const u64 difference = random() << (round % 3 == 0 ? random() % 20 : 0);
        BucketWalk walk(block, first, difference);
        auto t = walk.next();
        for (u64 k = 0; k < 30000; ++k) {
            if (!block.contains(first + k * difference)) continue;
            ASSERT_TRUE(t.has_value());
            ASSERT_EQ(*t, k);
            t = walk.next();
        }
        EXPECT_GE(t.value_or(30000), 30000U);
    }
}

}  // namespace
}  // namespace prime_tables
