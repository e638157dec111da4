/**
 * @file   rule_test.cpp
 * @brief  The rule that the derived table follows, and the exhaustive check of the rule of the 32-bit table.
 */
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

#include "Prime/prime_data.h"
#include "header_writer.h"
#include "low_bucket.h"
#include "table_rule.h"

namespace prime_tables {
namespace {

TEST(Rule, LeastClearingBaseIsTheFirstThatNoPseudoprimePasses) {
    // A strong pseudoprime to the bases 2, 3, 5 and 7 (J. L. Selfridge and S. S. Wagstaff), not to 11.
    EXPECT_EQ(least_clearing_base({3215031751}, third_base_from, {2, 100}, nullptr), 11U);
    EXPECT_EQ(least_clearing_base({3215031751}, third_base_from, {2, 11}, nullptr), 0U);
    // With 1373653, which passes 2 and 3 and not 5, the result is the same; 25326001 passes 2, 3 and 5 and fails 7.
    EXPECT_EQ(least_clearing_base({1373653, 3215031751, 25326001}, third_base_from, {2, 100}, nullptr), 11U);
    EXPECT_EQ(least_clearing_base({}, third_base_from, {2, 100}, nullptr), 2U);
}

TEST(Rule, TheThirdBaseHelpsFromItsLimitOn) {
    const u64 n = 3825123056546413051;  // strong pseudoprime to the primes up to 23 (J. Jiang and Y. Deng)
    ASSERT_TRUE(is_strong_probable_prime(n, 23));
    EXPECT_FALSE(clears(23, n, n + 1));
    EXPECT_EQ(clears(23, n, n), !is_strong_probable_prime(n, 15));
    EXPECT_EQ(clears(8192 + 23, n, n), !is_strong_probable_prime(n, 8192 + 23) || !is_strong_probable_prime(n, 135));
}

TEST(Rule, ABaseThatSharesAFactorWithThePseudoprimeClearsIt) {
    EXPECT_TRUE(clears(23, 2047, third_base_from));
    EXPECT_TRUE(clears(46, 2047, third_base_from));
}

TEST(LowBucket, FindsACompositeThatPasses) {
    // Composites below 2^32 that exclude a base although they fail the test to base 2.
    EXPECT_EQ(LowBucket(44).first_passing(217), 2503478143U);
    EXPECT_EQ(LowBucket(57).first_passing(1590), 625619569U);
    EXPECT_EQ(LowBucket(44).first_passing(913), 0U);
    EXPECT_EQ(LowBucket(57).first_passing(6360), 0U);
}

TEST(LowBucket, AgreesWithThePlainTest) {
    const u32 bucket = 99;
    const u32 base = 327;
    u32 passing = 0;
    for (u64 n = 65537; n < u64{1} << 32; n += 2) {
        if (bucket_of(n) != bucket || !is_strong_probable_prime(n, base)) continue;
        const Modulus mod(n);
        const bool prime =
            is_strong_probable_prime(mod, 2) && is_strong_probable_prime(mod, 7) && is_strong_probable_prime(mod, 61);
        if (!prime) passing = static_cast<u32>(n);
    }
    EXPECT_EQ(passing, 450016901U);
    EXPECT_EQ(LowBucket(bucket).first_passing(base), passing);
}

TEST(Exceptions, MustFitTheDerivedTable) {
    EXPECT_EQ(apply_exceptions({5, 6}, {{1, 6, 9}}), (std::vector<u32>{5, 9}));
    EXPECT_THROW(apply_exceptions({5, 6}, {{1, 7, 9}}), std::runtime_error);
    EXPECT_THROW(apply_exceptions({5, 6}, {{1, 6, 6}}), std::runtime_error);
    EXPECT_THROW(apply_exceptions({5, 6}, {{1, 6, 9}, {1, 6, 9}}), std::runtime_error);
    EXPECT_THROW(apply_exceptions({5, 6}, {{2, 6, 9}}), std::out_of_range);
}

/** Slot i stands for first + 1 + 2 i, first even without a prime factor up to 61. */
class CompositeWindow {
  public:
    static constexpr u64 length = u64{1} << 22;
    explicit CompositeWindow(u64 first) : small_(length / 2), composite_(length / 2) {
        for (u64 p = 3; p * p < first + length; p += 2) {
            if (!isSmallPrime(p)) continue;
            u64 multiple = std::max(p * p, (first + p - 1) / p * p);
            if (multiple % 2 == 0) multiple += p;
            for (; multiple < first + length; multiple += 2 * p) {
                (p <= 61 ? small_ : composite_)[(multiple - first - 1) / 2] = true;
            }
        }
    }
    [[nodiscard]] bool isHard(u64 i) const {
        return composite_[i] && !small_[i];
    }

  private:
    static bool isSmallPrime(u64 p) {
        static const std::vector<bool> sieve = [] {
            std::vector<bool> prime(65537, true);
            for (u64 q = 2; q * q <= 65536; ++q) {
                if (prime[q]) {
                    for (u64 k = q * q; k <= 65536; k += q) prime[k] = false;
                }
            }
            return prime;
        }();
        return sieve[p];
    }
    std::vector<bool> small_;
    std::vector<bool> composite_;
};

/** Composites of [first, first + length) that pass the one test of the 32-bit table. */
u64 passes32(u64 first) {
    const CompositeWindow window(first);
    u64 passes = 0;
    for (u64 i = 0; i < CompositeWindow::length / 2; ++i) {
        const u64 n = first + 1 + 2 * i;
        if (n <= 1048577 || !window.isHard(i)) continue;
        passes += is_strong_probable_prime(n, kesh::prime_data32[static_cast<u32>(n * 0xAD625B89U) >> 24]);
    }
    return passes;
}

TEST(Bases32, ClearTheLowestWindows) {
    EXPECT_EQ(passes32(0) + passes32(CompositeWindow::length), 0U);
}

TEST(Bases32, Long_ClearEveryOddCompositeBelowTwoToThe32) {
    std::atomic<u64> next = 0;
    std::atomic<u64> passes = 0;
    std::vector<std::jthread> threads;
    for (unsigned i = 0; i < std::max(1U, std::thread::hardware_concurrency()); ++i) {
        threads.emplace_back([&] {
            for (u64 k; (k = next++) < (u64{1} << 32) / CompositeWindow::length;)
                passes += passes32(k * CompositeWindow::length);
        });
    }
    threads.clear();
    EXPECT_EQ(passes, 0U);
}

}  // namespace
}  // namespace prime_tables
