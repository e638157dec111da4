/**
 * @file   mont64_test.cpp
 * @brief  The Montgomery context of the 64-bit limb against 128-bit division.
 */

#include <gtest/gtest.h>

#include <random>

#include "Shared/mont.h"

namespace {

using Context = kesh::mp_mont_data<unsigned long>;
using kesh::umint;
using kesh::umint2;

umint mulmod(umint a, umint b, umint m) {
    return static_cast<umint>(static_cast<umint2>(a) * b % m);
}

TEST(Mont64, ConstantsOfEdgeModuli) {
    for (const umint m : {umint{3}, umint{5}, umint{0xFFFFFFFF}, umint{1} << 63 | 1, ~umint{0} - 2, ~umint{0}}) {
        const Context M(m);
        const umint r1 = static_cast<umint>((static_cast<umint2>(1) << 64) % m);
        EXPECT_EQ(M.getM(), m);
        EXPECT_EQ(M.one(), r1) << m;
        EXPECT_EQ(M.getr2(), mulmod(r1, r1, m)) << m;
        EXPECT_EQ(static_cast<umint>(M.mprime * m), ~umint{0}) << m;
        EXPECT_EQ(M.toMontMod(1), M.one()) << m;
    }
}

TEST(Mont64, ResiduesAgreeWithDivision) {
    std::mt19937_64 random(64);
    for (int i = 0; i < 100000; ++i) {
        const umint m = (random() >> random() % 63) | 3;
        const umint a = random(), b = random() % m;
        const Context M(m);
        const umint abar = M.toMontMod(a), bbar = M.toMontMod(b);
        ASSERT_EQ(M.fromMontMod(abar), a % m) << m;
        ASSERT_EQ(M.fromMontMod(M.mul(abar, bbar)), mulmod(a % m, b, m)) << m;
        ASSERT_EQ(M.fromMontMod(M.sub(abar, bbar)), (static_cast<umint2>(a % m) + m - b) % m) << m;
        ASSERT_EQ(M.fromMontMod(M.add(abar, bbar)), (static_cast<umint2>(a % m) + b) % m) << m;
        const umint half = M.div2(abar);
        ASSERT_EQ(M.add(half, half), abar) << m;
    }
}

TEST(Mont64, PowerByFermat) {
    const umint p = 18446744073709551557U;
    const Context M(p);
    EXPECT_EQ(M.pow(M.toMontMod(2), p - 1), M.one());
    EXPECT_EQ(M.pow(M.toMontMod(2), 0), M.one());
    EXPECT_EQ(M.fromMontMod(M.pow(M.toMontMod(3), 40)), 12157665459056928801U);
}

static_assert(Context(7).fromMontMod(Context(7).toMontMod(12)) == 5, "usable in constant expressions");

}  // namespace
