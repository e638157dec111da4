/**
 * @file   strong_word_test.cpp
 * @brief  Strong tests side by side, against the generic strong test and against powers by 128-bit remainders.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "Prime/prime_testing.h"
#include "Shared/kernel/strong_word.h"

namespace {

using kesh::u64;
__extension__ typedef unsigned __int128 u128;

u64 multiply(u64 a, u64 b, u64 n) {
    return static_cast<u64>(static_cast<u128>(a) * b % n);
}

/** The strong test by its definition. */
bool passes(u64 n, u64 base) {
    const int k = __builtin_ctzl(n - 1);
    u64 x = 1;
    for (int i = 63; i >= k; --i) {
        x = multiply(x, x, n);
        if (((n - 1) >> i & 1) != 0) x = multiply(x, base % n, n);
    }
    if (x == 1 || x == n - 1) return true;
    for (int i = 1; i < k; ++i) {
        x = multiply(x, x, n);
        if (x == n - 1) return true;
    }
    return false;
}

int generic(u64 n, u64 base) {
    const kesh::mint k = kesh::math_count_trailing_zeros(n - 1);
    return kesh::sprp(kesh::mp_mont_data<u64>(n), n, base, (n - 1) >> k, k);
}

/** Random odd numbers > 3 of every bit length, and those next to powers of two, whose n - 1 has many factors 2. */
template <class Body>
void for_odd_numbers(Body body) {
    std::mt19937_64 random(7);
    for (unsigned bits = 3; bits <= 64; ++bits) {
        const u64 top = u64{1} << (bits - 1);
        body(top + 1, random);
        body(top - 1 + top, random);
        for (int i = 0; i < 300; ++i) body((random() >> (64 - bits)) | top | 1, random);
        for (u64 low = 2; low < top; low *= 2) body(top | low | 1, random);
    }
}

TEST(StrongTest, InverseModulo2To64) {
    for_odd_numbers([](u64 n, auto&) { ASSERT_EQ(kesh::word_inverse(n) * n, 1); });
}

TEST(StrongTest, MontgomeryProductIsTheGenericOne) {
    for_odd_numbers([](u64 n, auto& random) {
        const kesh::mp_mont_data<u64> M(n);
        const u64 inverse = kesh::word_inverse(n);
        for (u64 x : {u64{0}, u64{1}, n - 1, random() % n}) {
            for (u64 y : {u64{0}, u64{1}, n - 1, random() % n}) {
                ASSERT_EQ(kesh::kernel::word_mont_mul(x, y, n, inverse), M.mul(x, y))
                    << x << " * " << y << " mod " << n;
            }
        }
    });
}

TEST(StrongTest, ProductUpToSignIsTheGenericOneOrItsNegative) {
    for_odd_numbers([](u64 n, auto& random) {
        const kesh::mp_mont_data<u64> M(n);
        const u64 inverse = kesh::word_inverse(n);
        for (u64 x : {u64{0}, u64{1}, n - 1, random() % n}) {
            for (u64 y :
                 {u64{0}, u64{1}, n - 1, random() % n, random()}) {  // y need not be below n while x * y < n * 2^64
                const u64 product = kesh::kernel::word_mont_mul_abs(x, y, n, inverse);
                const u64 expected = M.mul(x, y % n);
                ASSERT_LT(product, n);
                ASSERT_TRUE(product == expected || product == n - expected) << x << " * " << y << " mod " << n;
            }
        }
    });
}

TEST(StrongTest, SquaresUpToSignOneAfterAnother) {
    for_odd_numbers([](u64 n, auto& random) {
        const kesh::mp_mont_data<u64> M(n);
        const u64 inverse = kesh::word_inverse(n);
        for (u64 start : {u64{0}, u64{1}, n - 1, random() % n}) {
            kesh::kernel::Signless x{start, 0 - start};
            u64 expected = start;
            for (int step = 0; step < 6; ++step) {
                kesh::kernel::word_mont_sqr_abs(x, n, inverse);
                expected = M.mul(expected, expected);
                ASSERT_LT(x.value, n);
                ASSERT_TRUE(x.value == expected || x.value == n - expected)
                    << start << " mod " << n << " after " << step;
                ASSERT_TRUE(x.low == x.value || x.low == 0 - x.value);
            }
        }
    });
}

TEST(StrongTest, GenericFormFollowsTheDefinition) {
    for_odd_numbers([](u64 n, auto& random) {
        for (u64 base : {u64{2}, u64{15}, n - 1, random() % (n - 2) + 2}) {
            ASSERT_EQ(generic(n, base) != 0, passes(n, base)) << n << " to base " << base;
        }
    });
}

TEST(StrongTest, BaseNeedNotBeReduced) {
    EXPECT_EQ(generic(97, 97 * 5 + 2), generic(97, 2));
    EXPECT_EQ(generic(97, 97 * 3), 0) << "a multiple of n has power 0";
}

TEST(StrongTest, WithoutAFactor2NothingIsSquared) {
    // k = 0 ends the test at the first comparison: 2^5 = 32 is 10 modulo 11 and passes, 3^5 = 243 is 1 and passes,
    // 2^3 = 8 is neither 1 nor -1.
    const kesh::mp_mont_data<u64> M(11);
    EXPECT_EQ(kesh::sprp<u64>(M, 11, 2, 5, 0), 1);
    EXPECT_EQ(kesh::sprp<u64>(M, 11, 3, 5, 0), 1);
    EXPECT_EQ(kesh::sprp<u64>(M, 11, 2, 3, 0), 0);
}

TEST(StrongTest, ToOneBase) {
    for_odd_numbers([](u64 n, auto& random) {
        const u64 b = random() % std::min(n - 1, u64{0xFFFF}) + 1;
        ASSERT_EQ(kesh::kernel::strong_test(n, b), passes(n, b)) << n << " to base " << b;
    });
}

TEST(StrongTest, Base2AndOthersEqualOneAfterAnother) {
    using kesh::kernel::ShortWordPowerOf2, kesh::kernel::strong_tests_2_and, kesh::kernel::WordPowerOf2;
    const auto expect_equal = [](u64 n, u64 b, u64 c) {
        const bool to_2 = passes(n, 2), to_b = passes(n, b), to_c = passes(n, c);
        ASSERT_EQ((strong_tests_2_and<WordPowerOf2, 1>(n, {b})), to_2 && to_b) << n << ' ' << b;
        ASSERT_EQ((strong_tests_2_and<WordPowerOf2, 2>(n, {b, c})), to_2 && to_b && to_c) << n << ' ' << b << ' ' << c;
        if (n >> 31 != 0 && n >> 50 == 0) {
            ASSERT_EQ((strong_tests_2_and<ShortWordPowerOf2, 1>(n, {b})), to_2 && to_b) << n << ' ' << b;
        }
    };
    for_odd_numbers([&](u64 n, auto& random) {
        if (n <= 1 << 18) return;
        const u64 b = random() % 0xFFFF + 1, c = random() % 0xFFFF + 1;
        expect_equal(n, b, c);
        expect_equal(n, 0xFFFF, b);
        // Also a nearby prime, and numbers of the form n 2^k + 1: both reach code that composites do not.
        while (!kesh::reference::PrimeQ(n)) n = n > ~u64{0} - 100 ? n - 1000 : n + 2;
        expect_equal(n, b, c);
        for (int k = 1; k < 46; k += 3) {
            if (n >> (63 - k) == 0) expect_equal((n << k) + 1, b, c);
        }
    });
    for (u64 n : {u64{4759123141}, u64{3215031751}, u64{1122004669633}, u64{0x8000000000000001}}) {
        // Two of them strong pseudoprimes to base 2; base 1 passes everywhere.
        expect_equal(n, 1, 1);
        expect_equal(n, 2, 7);
        expect_equal(n, 7, 1);
        expect_equal(n, 1, 7);
    }
}

TEST(StrongTest, EveryBaseOfEverySmallNumber) {
    // Many of these have b^(n-1) = 1 and fail only because a square root of it is neither 1 nor -1.
    for (u64 n = 3; n < 1200; n += 2) {
        for (u64 b = 1; b < n; ++b) ASSERT_EQ(kesh::kernel::strong_test(n, b), passes(n, b)) << n << " to base " << b;
    }
}

}  // namespace
