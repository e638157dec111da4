/**
 * @file   square_test.cpp
 * @brief  The perfect-square test: its residue filters on all residues, and the whole test on constructed squares.
 */
#include <gtest/gtest.h>

#include <set>

#include "Prime/prime_testing.h"
#include "Shared/jacobi.h"
#include "primality/numbers.h"
#include "support/typed_tests.h"
#include "support/widths.h"

namespace {

using namespace kesh::test;
using kesh::umint;

/** The number of residues that the filter rejects; every one of them, and no other, must be a non-square modulo k. */
unsigned rejected(umint k, bool (*is_nonsquare)(umint)) {
    std::set<umint> squares;
    for (umint x = 0; x < k; ++x) squares.insert(x * x % k);
    unsigned count = 0;
    for (umint y = 0; y < k; ++y) {
        EXPECT_EQ(is_nonsquare(y), !squares.contains(y)) << y << " modulo " << k;
        count += is_nonsquare(y);
    }
    return count;
}

TEST(SquareFilters, RejectExactlyTheNonResidues) {
    using namespace kesh::detail;
    EXPECT_EQ(rejected(128, is_nonsquare_mod_128), 105u);
    EXPECT_EQ(rejected(63, is_nonsquare_mod_63), 47u);
    EXPECT_EQ(rejected(25, is_nonsquare_mod_25), 14u);
    EXPECT_EQ(rejected(31, is_nonsquare_mod_31), 15u);
    EXPECT_EQ(rejected(23, is_nonsquare_mod_23), 11u);
    EXPECT_EQ(rejected(19, is_nonsquare_mod_19), 9u);
    EXPECT_EQ(rejected(17, is_nonsquare_mod_17), 8u);
    EXPECT_EQ(rejected(11, is_nonsquare_mod_11), 5u);
    EXPECT_EQ(square_filter_modulus, 63ul * 25 * 11 * 17 * 19 * 23 * 31);
}

template <class T>
class Square : public testing::Test {};
KESH_TYPED_SUITE(Square, kesh::test::WideWords, kesh::test::WidthNames);

KESH_TYPED_TEST(Square, DivisorIsPreparedAsStated) {
    using T = TypeParam;
    const kesh::fastdiv_data<T, unsigned long> mod(kesh::detail::square_filter_modulus);
    EXPECT_EQ(mod.m, 0xEDD180BFul);
    EXPECT_EQ(mod.s, 31);
    EXPECT_EQ(as_mpz(mod.magic), (power_of_2(static_cast<unsigned>(T::bits) + 31) + 3989930174u) / 3989930175u);
}

KESH_TYPED_TEST(Square, SquaresAndTheirNeighbours) {
    using T = TypeParam;
    number_source source(31);
    const unsigned half = static_cast<unsigned>(T::bits) / 2;
    for (int i = 0; i < 3000; ++i) {
        const mpz_class root = source.of_bits(2 + static_cast<unsigned>(i) % (half - 2));
        const mpz_class square = root * root;
        T s;
        ASSERT_TRUE(kesh::isSquare(as_word<T>(square), s)) << square;
        ASSERT_EQ(as_mpz(s), root);
        ASSERT_FALSE(kesh::isSquare(as_word<T>(square + 1), s)) << square;
        ASSERT_FALSE(kesh::isSquare(as_word<T>(square - 1), s)) << square;
        ASSERT_FALSE(kesh::isSquare(as_word<T>(square + 2 * root), s)) << square;
    }
}

KESH_TYPED_TEST(Square, RandomNumbersAgreeWithGmp) {
    using T = TypeParam;
    number_source source(32);
    const unsigned width = static_cast<unsigned>(T::bits);
    for (int i = 0; i < 20000; ++i) {
        const mpz_class n = source.of_bits(1 + static_cast<unsigned>(i) % width);
        T s;
        ASSERT_EQ(kesh::isSquare(as_word<T>(n), s), mpz_perfect_square_p(n.get_mpz_t()) != 0) << n;
    }
}

KESH_TYPED_TEST(Square, ZeroAndOne) {
    TypeParam s(7);
    EXPECT_TRUE(kesh::isSquare(TypeParam(0), s));
    EXPECT_EQ(s, TypeParam(0));
    EXPECT_TRUE(kesh::isSquare(TypeParam(1), s));
    EXPECT_EQ(s, TypeParam(1));
}

KESH_TYPED_TEST(Square, LargestPowerOf4) {
    using T = TypeParam;
    const unsigned width = static_cast<unsigned>(T::bits);
    T s;
    EXPECT_TRUE(kesh::isSquare(as_word<T>(power_of_2(width - 2)), s));
    EXPECT_EQ(as_mpz(s), power_of_2(width / 2 - 1));
}

KESH_TYPED_TEST(Square, ARejectedNumberLeavesTheRootAlone) {
    TypeParam s(7);
    EXPECT_FALSE(kesh::isSquare(TypeParam(2), s)) << "2 is no square modulo 128";
    EXPECT_EQ(s, TypeParam(7));
    EXPECT_FALSE(kesh::isSquare(TypeParam(17), s)) << "17 is a square modulo 128, and none modulo 63";
    EXPECT_EQ(s, TypeParam(7));
}

KESH_TYPED_TEST(Square, ANonSquareThatPassesAllFiltersFallsToTheRoot) {
    using T = TypeParam;
    const mpz_class root = 16 * mpz_class(kesh::detail::square_filter_modulus);
    T s(7);
    EXPECT_FALSE(kesh::isSquare(as_word<T>(root * root + 1), s));
    EXPECT_EQ(as_mpz(s), root) << "the root of the square below";
}

KESH_TYPED_TEST(Square, SquaresJustBelowPowersOf4) {
    // (2^k - 1)^2 begins with k - 1 ones. From k = 66 up math_isqrt returns an estimate there that is not the root.
    using T = TypeParam;
    for (unsigned k = 1; k <= static_cast<unsigned>(T::bits) / 2; ++k) {
        for (const unsigned distance : {1U, 2U, 3U, 1000U}) {
            if (power_of_2(k) <= distance) continue;
            const mpz_class root = power_of_2(k) - distance, square = root * root;
            T s;
            EXPECT_TRUE(kesh::isSquare(as_word<T>(square), s)) << root;
            EXPECT_EQ(as_mpz(s), root);
            EXPECT_FALSE(root > 1 && kesh::isSquare(as_word<T>(square - 1), s)) << root;
            EXPECT_FALSE(kesh::isSquare(as_word<T>(square + 2 * root), s)) << root;
        }
    }
}

KESH_TYPED_TEST(Square, TheParameterSearchEndsForSquaresJustBelowPowersOf4) {
    // A square has no D with the symbol -1. If the test missed a square, the search would never end.
    using T = TypeParam;
    for (unsigned k = 2; k <= static_cast<unsigned>(T::bits) / 2; ++k) {
        const mpz_class root = power_of_2(k) - 1;
        kesh::mint D = 0, P = 0, Q = 0;
        EXPECT_EQ(kesh::lucas_DPQ(as_word<T>(root * root), D, P, Q), 0) << k;
    }
}

TEST(SquareWidths, LargeDifferenceOfSquares) {
    const mpz_class n = (power_of_2(64) + 1) * (power_of_2(64) + 1) - 1;
    kesh::uintx_t<256> s;
    EXPECT_FALSE(kesh::isSquare(as_word<kesh::uintx_t<256>>(n), s));
    kesh::uintx_t<1024> wide;
    EXPECT_FALSE(kesh::isSquare(as_word<kesh::uintx_t<1024>>(n), wide));
    EXPECT_TRUE(kesh::isSquare(as_word<kesh::uintx_t<1024>>(n + 1), wide));
}

}  // namespace
