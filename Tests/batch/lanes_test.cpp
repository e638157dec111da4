/**
 * @file   lanes_test.cpp
 * @brief  Strong tests of 64-bit numbers in lanes, each lane against the strong test of its number alone.
 */
#include <gtest/gtest.h>

#include <random>

#include "Prime/prime_testing.h"
#include "Shared/kernel/word_lanes.h"
#include "support/pseudoprime_sample.h"

namespace {

using kesh::u64;
using kesh::kernel::strong_test;
using kesh::kernel::WordLanes;

/** Numbers of different sizes and with different powers of two in n - 1, so that some lanes wait for others. */
WordLanes::Row mixed_numbers(std::mt19937_64& random) {
    WordLanes::Row row;
    for (u64& n : row) {
        const unsigned bits = 20 + static_cast<unsigned>(random() % 45);
        n = random() >> (64 - bits) | u64{1} << (bits - 1) | 1;
        if (random() % 3 == 0) n = (n & (~u64{0} << random() % (bits - 1))) | 1;
        while (random() % 2 == 0 && !kesh::reference::PrimeQ(n)) n = n > ~u64{0} - 100 ? n - 1000 : n + 2;
    }
    return row;
}

void expect_lanes(const WordLanes::Row& row, const WordLanes::Row& bases) {
    const WordLanes lanes(row);
    const unsigned to_2 = lanes.strong_base_2(), to_bases = lanes.strong_to(bases);
    for (std::size_t c = 0; c < row.size(); ++c) {
        ASSERT_EQ(to_2 >> c & 1, strong_test(row[c], 2)) << row[c] << " in lane " << c;
        ASSERT_EQ(to_bases >> c & 1, strong_test(row[c], bases[c])) << row[c] << " to base " << bases[c];
    }
}

TEST(WordLanes, EqualTheStrongTestAlone) {
    std::mt19937_64 random(11);
    for (int i = 0; i < 20000; ++i) {
        const WordLanes::Row row = mixed_numbers(random);
        WordLanes::Row bases;
        for (u64& b : bases) b = 1 + random() % 0xFFFF;
        expect_lanes(row, bases);
    }
}

TEST(WordLanes, SmallestNumbersAndLargest) {
    WordLanes::Row row, bases;
    for (u64 from : {u64{(1 << 18) + 1}, u64{0xFFFFFFFFFFFFF001}}) {
        for (u64 n = from; n < from + 4000 && n >= from; n += 2) {
            for (std::size_t c = 0; c < row.size(); ++c) {
                row[c] = c % 2 == 0 ? n : ~u64{0} - n % 7777 * 2;
                bases[c] = c == 0 ? 0xFFFF : 1 + n * c % 0xFFFF;
            }
            expect_lanes(row, bases);
        }
    }
}

TEST(WordLanes, StrongPseudoprimes) {
    const std::vector<u64> hard = read_pseudoprime_sample();
    ASSERT_GE(hard.size(), 100'000);
    std::mt19937_64 random(12);
    for (int i = 0; i < 5000; ++i) {
        WordLanes::Row row, bases;
        for (std::size_t c = 0; c < row.size(); ++c) {
            row[c] = hard[random() % hard.size()];
            bases[c] = u64{3} + random() % 40;
        }
        expect_lanes(row, bases);
    }
}

}  // namespace
