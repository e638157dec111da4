/**
 * @file   sieving_primes_test.cpp
 * @brief  The sieving primes and their places in a window, against GMP's remainders.
 */
#include "Prime/sieving_primes.h"

#include <gtest/gtest.h>

#include <thread>

#include "Prime/prime_testing.h"
#include "batch/batch.h"

namespace {

using kesh::umint;
using kesh::test::limbs;

/** The place of the first multiple of p in base, base + 2, ... */
umint place_by_gmp(const mpz_class& base, umint p) {
    const umint r = mpz_fdiv_ui(base.get_mpz_t(), p);
    return r % 2 == 0 ? (r == 0 ? 0 : p - r / 2) : (p - r) / 2;
}

void expect_places(const limbs& base, umint limit) {
    const mpz_class n = kesh::test::mpz_of(base.data(), base.size());
    for (const kesh::SievingGroup& group : kesh::sieving_groups(limit)) {
        const umint w = group.place(base);
        for (const kesh::SievingPrime* p = group.first; p != group.last; ++p)
            ASSERT_EQ(p->remainder(w), place_by_gmp(n, p->p)) << p->p << ' ' << n;
    }
}

/** First, because it needs groups that are not built: some threads build them at the same time. */
TEST(SievingPrimes, AreBuiltOnceForAllThreads) {
    std::vector<std::thread> callers;
    std::vector<std::size_t> counts(4);
    for (std::size_t& count : counts)
        callers.emplace_back([&count] { count = kesh::sieving_groups(kesh::most_sieving_prime).size(); });
    for (std::thread& caller : callers) caller.join();
    for (const std::size_t count : counts) EXPECT_EQ(count, counts[0]);
    EXPECT_GT(counts[0], 20'000);
}

TEST(SievingPrimes, AreTheOddPrimesInOrder) {
    const auto groups = kesh::sieving_groups(kesh::most_sieving_prime);
    const kesh::SievingPrime* next = groups.front().first;
    umint expected = 1, product = 1;
    for (const kesh::SievingGroup& group : groups) {
        ASSERT_EQ(group.first, next);
        product = 1;
        for (; next != group.last; ++next) {
            do {
                expected += 2;
            } while (!kesh::isPrime(static_cast<std::uint32_t>(expected)));
            ASSERT_EQ(next->p, expected);
            product *= expected;
            if (group.first->p > 64) {
                ASSERT_GT(next->p, 64);
            } else {
                ASSERT_LT(next->p, 64);
            }
        }
        ASSERT_EQ(group.product, product);
        ASSERT_LT(product, umint{1} << 60);
    }
    EXPECT_EQ(expected, 1'048'573) << "the largest prime below 2^20";
}

TEST(SievingPrimes, EveryLimitHasItsPrimes) {
    for (umint limit = 3; limit <= kesh::most_sieving_prime; limit += limit < 4000 ? 1 : limit / 50) {
        const auto groups = kesh::sieving_groups(limit);
        ASSERT_LE(groups.back().first->p, limit);
        for (umint left = groups.back().last[-1].p + 2; left <= limit; left += 2)
            ASSERT_FALSE(kesh::isPrime(static_cast<std::uint32_t>(left))) << left << " is left out up to " << limit;
    }
}

TEST(SievingPrimes, PlacesOfRandomNumbersOfEveryLength) {
    std::mt19937_64 random(61);
    for (std::size_t len = 1; len <= 16; ++len) {
        limbs base(len);
        for (umint& limb : base) limb = random();
        base[0] |= 1;
        expect_places(base, kesh::most_sieving_prime);
    }
}

TEST(SievingPrimes, PlacesOfLargestAndStructuredNumbers) {
    std::mt19937_64 random(62);
    for (std::size_t len = 1; len <= 16; ++len) {
        limbs base(len, ~umint{0});
        expect_places(base, kesh::most_sieving_prime);
        std::ranges::fill(base, 0);
        base.front() = 1;
        base.back() |= umint{1} << 63;
        expect_places(base, 20'000);
        for (int i = 0; i < 20; ++i) {
            base = kesh::test::structured(static_cast<std::int64_t>(len), 1, random);
            base[0] |= 1;
            expect_places(base, 20'000);
        }
    }
}

/** Words near the multiples of a prime and near 2^64, where the quotient by the reciprocal is 1 too small. */
TEST(SievingPrimes, RemaindersOfAnyWord) {
    std::mt19937_64 random(63);
    for (const kesh::SievingGroup& group : kesh::sieving_groups(kesh::most_sieving_prime)) {
        for (const kesh::SievingPrime* p = group.first; p != group.last; ++p) {
            const umint near_multiple = random() / p->p * p->p;
            for (const umint w : {umint{0}, p->p - 1, p->p, near_multiple, near_multiple - 1, near_multiple + 1,
                                  ~umint{0}, ~umint{0} / p->p * p->p, ~umint{0} / p->p * p->p - 1})
                ASSERT_EQ(p->remainder(w), w % p->p) << w << ' ' << p->p;
        }
    }
}

}  // namespace
