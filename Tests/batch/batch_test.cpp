/**
 * @file   batch_test.cpp
 * @brief  KESH_ArePrime against KESH_PrimeQ: arguments, every length of the last group, a prime at every place, mixed
 *         sizes, and the families that probable-prime tests find hard.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "Prime/prime_batch.h"
#include "batch/batch.h"
#include "support/pseudoprime_sample.h"

namespace {

using kesh::test::expect_verdicts;
using kesh::test::limbs;

TEST(Batch, BadArgumentsWriteNothing) {
    const std::uint64_t n[2] = {7, 0};
    std::uint8_t verdicts[2] = {9, 9};
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    for (const std::int64_t len : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{17}, most, -most}) {
        EXPECT_EQ(KESH_ArePrime(n, len, 1, verdicts), KESH_BAD_ARGUMENT) << len;
        EXPECT_EQ(KESH_ArePrime(n, len, 0, verdicts), KESH_BAD_ARGUMENT) << len;
    }
    EXPECT_EQ(KESH_ArePrime(n, 1, -1, verdicts), KESH_BAD_ARGUMENT);
    EXPECT_EQ(KESH_ArePrime(n, 1, most, verdicts), KESH_BAD_ARGUMENT) << "no array is so long";
    EXPECT_EQ(KESH_ArePrime(n, 16, most / 64, verdicts), KESH_BAD_ARGUMENT);
    EXPECT_EQ(KESH_ArePrime(nullptr, 1, 1, verdicts), KESH_BAD_ARGUMENT);
    EXPECT_EQ(KESH_ArePrime(n, 1, 1, nullptr), KESH_BAD_ARGUMENT);
    EXPECT_EQ(verdicts[0], 9);
    EXPECT_EQ(verdicts[1], 9);
}

TEST(Batch, NothingToTest) {
    EXPECT_EQ(KESH_ArePrime(nullptr, 1, 0, nullptr), KESH_DONE);
    EXPECT_EQ(KESH_ArePrime(nullptr, 16, 0, nullptr), KESH_DONE);
}

TEST(Batch, WritesOneByteANumberAndNoMore) {
    const std::vector<std::uint64_t> n = {2, 4};
    std::vector<std::uint8_t> verdicts = {9, 9, 9};
    EXPECT_EQ(KESH_ArePrime(n.data(), 1, 2, verdicts.data()), KESH_DONE);
    EXPECT_EQ(verdicts, (std::vector<std::uint8_t>{1, 0, 9}));
    EXPECT_EQ(KESH_ArePrime(n.data(), 2, 1, verdicts.data()), KESH_DONE);
    EXPECT_EQ(verdicts, (std::vector<std::uint8_t>{0, 0, 9})) << "2 + 4 * 2^64";
}

TEST(Batch, SmallestNumbers) {
    kesh::test::at_every_level([] {
        std::vector<std::uint64_t> n(300'000);
        for (std::size_t i = 0; i < n.size(); ++i) n[i] = i;
        expect_verdicts(n, 1);
        for (std::size_t i = 0; i < n.size(); ++i) n[i] = 0xFFFFFFFF - n.size() / 2 + i;
        expect_verdicts(n, 1);
        for (std::size_t i = 0; i < n.size(); ++i) n[i] = ~std::uint64_t{0} - i;
        expect_verdicts(n, 1);
        for (std::size_t i = 0; i < n.size(); ++i) n[i] = (std::uint64_t{1} << 49) - n.size() / 2 + i;
        expect_verdicts(n, 1);
    });
}

/**
 * Every count up to more than a block, of numbers that all reach the last round and of numbers that stop at each round.
 */
TEST(Batch, EveryLengthOfTheLastGroup) {
    kesh::test::at_every_level([] {
        for (const std::int64_t len : {1, 2, 3, 4, 5, 8, 16}) {
            std::mt19937_64 random(static_cast<unsigned>(len));
            const std::int64_t most = len == 1 ? 2 * kesh::block_size(len) + 20 : 12;
            const limbs primes = kesh::test::primes(len, most, random);
            for (std::int64_t count = 0; count <= most; ++count)
                expect_verdicts(limbs(primes.begin(), primes.begin() + count * len), len);
            const limbs mixed = kesh::test::structured(len, most, random);
            for (std::int64_t count = 0; count <= most; ++count)
                expect_verdicts(limbs(mixed.begin(), mixed.begin() + count * len), len);
        }
    });
}

TEST(Batch, OnePrimeAmongCompositesAtEveryPlace) {
    kesh::test::at_every_level([] {
        for (const std::int64_t len : {1, 2, 3, 4, 6, 8, 16}) {
            std::mt19937_64 random(100 + static_cast<unsigned>(len));
            const std::int64_t count = std::min<std::int64_t>(kesh::block_size(len) + 7, len == 1 ? 600 : 40);
            const limbs prime = kesh::test::primes(len, 1, random);
            const limbs composites = kesh::test::semiprimes(len, count, random);
            for (std::int64_t place = 0; place < count; ++place) {
                limbs n = composites;
                std::ranges::copy(prime, n.begin() + place * len);
                const std::vector<std::uint8_t> verdicts = kesh::test::verdicts(n, len);
                for (std::int64_t i = 0; i < count; ++i)
                    ASSERT_EQ(verdicts[static_cast<std::size_t>(i)], i == place ? 1 : 0)
                        << len << ' ' << place << ' ' << i;
            }
        }
    });
}

TEST(Batch, SizesMayDifferWithinACall) {
    kesh::test::at_every_level([] {
        std::mt19937_64 random(5);
        for (const std::int64_t len : {2, 7, 16}) {
            limbs n;
            for (int i = 0; i < 400; ++i) {
                const std::int64_t size = 1 + static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(len));
                limbs one = random() % 4 == 0 && size < 6 ? kesh::test::primes(size, 1, random)
                                                          : kesh::test::structured(size, 1, random);
                one.resize(static_cast<std::size_t>(len));
                n.insert(n.end(), one.begin(), one.end());
            }
            expect_verdicts(n, len);
        }
    });
}

TEST(Batch, HardStrongPseudoprimes) {
    kesh::test::at_every_level([] { expect_verdicts(read_pseudoprime_sample(), 1); });
}

/** Primes k 2^e + 1: from e = 52 on the exponent of the strong test does not fit into the lanes' shifts. */
TEST(Batch, PrimesWithManyTrailingZerosBelowThem) {
    std::mt19937_64 random(78);
    for (const std::int64_t len : {2, 3, 5}) {
        limbs n;
        for (const unsigned zeros : {50U, 51U, 52U, 53U, 63U, 64U, 65U, 100U}) {
            for (int found = 0; found < 4;) {
                mpz_class k = kesh::test::random_number(static_cast<unsigned>(64 * len) - zeros, random);
                mpz_setbit(k.get_mpz_t(), 0);
                const mpz_class p = (k << zeros) + 1;
                if (mpz_probab_prime_p(p.get_mpz_t(), 25) == 0) continue;
                kesh::test::append(n, p, len);
                ++found;
            }
        }
        kesh::test::at_every_level([&] {
            const std::vector<std::uint8_t> found = kesh::test::verdicts(n, len);
            EXPECT_EQ(std::ranges::count(found, 1), std::ssize(found)) << len;
        });
    }
}

TEST(Batch, StructuredNumbersOfEveryLength) {
    kesh::test::at_every_level([] {
        for (std::int64_t len = 1; len <= 16; ++len) {
            std::mt19937_64 random(200 + static_cast<unsigned>(len));
            expect_verdicts(kesh::test::structured(len, 4000 / len, random), len);
        }
    });
}

/** 10^7 numbers of 64 bits, and fewer of the wider classes, which have structure. */
TEST(Batch, Long_ManyNumbersOfEachSize) {
    std::mt19937_64 random(77);
    for (int round = 0; round < 100; ++round) expect_verdicts(kesh::test::structured(1, 100'000, random), 1);
    for (const std::int64_t len : {2, 3, 4, 8, 16}) {
        for (int round = 0; round < 10; ++round)
            expect_verdicts(kesh::test::structured(len, 1'000'000 / (len * len * len), random), len);
    }
}

/**
 * 10^7 random odd numbers of each length from 2 to 16 limbs, of the top bits of which some are 0. Two in eleven reach
 * the test to base 2, and one in 22 len the Lucas test. With the environment variable KESH_BATCH_MILLIONS fewer or
 * more, of the lengths in KESH_BATCH_LENGTHS, at the level of the processor or in KESH_BATCH_LEVEL.
 */
TEST(Batch, Long_TenMillionNumbersOfEachLength) {
    const auto variable = [](const char* name, const char* otherwise) {
        const char* const value = std::getenv(name);
        return std::string(value != nullptr ? value : otherwise);
    };
    const std::int64_t millions = std::stol(variable("KESH_BATCH_MILLIONS", "10"));
    const std::string level = variable("KESH_BATCH_LEVEL", kesh::name(kesh::supported_level()));
    for (const kesh::Level each : {kesh::Level::portable, kesh::Level::adx, kesh::Level::ifma}) {
        ASSERT_TRUE(level != kesh::name(each) || kesh::force(each)) << "this processor has no " << level;
    }
    std::istringstream lengths(variable("KESH_BATCH_LENGTHS", "2 3 4 5 6 7 8 9 10 11 12 13 14 15 16"));
    for (std::int64_t len = 0; lengths >> len;) {
        std::mt19937_64 random(static_cast<unsigned>(1000 + len));
        std::int64_t primes = 0;
        for (std::int64_t round = 0; round < 100 * millions; ++round) {
            limbs n(static_cast<std::size_t>(10'000 * len));
            for (std::uint64_t& limb : n) limb = random();
            const auto top = static_cast<std::size_t>(len - 1);
            for (std::size_t i = 0; i < n.size(); i += top + 1) {
                n[i] |= 1;
                n[i + top] >>= random() % 64;
            }
            const std::vector<std::uint8_t> found = kesh::test::verdicts(n, len);
            for (std::size_t i = 0; i < found.size(); ++i) {
                int prime = -1;
                KESH_PrimeQ(&n[i * static_cast<std::size_t>(len)], len, &prime);
                ASSERT_EQ(found[i], prime) << "round " << round << ", number " << i << " of " << len << " limbs";
                primes += prime;
            }
        }
        std::cout << len << " limbs: " << 1'000'000 * millions << " numbers, " << primes << " primes, level "
                  << kesh::name(kesh::level()) << std::endl;
        EXPECT_GT(primes, 5'000 * millions / len);
    }
    kesh::force(kesh::supported_level());
}

}  // namespace
