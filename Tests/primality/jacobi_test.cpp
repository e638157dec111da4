/**
 * @file   jacobi_test.cpp
 * @brief  The Jacobi symbol at every width against GMP.
 */
#include "Shared/jacobi.h"

#include <gtest/gtest.h>

#include "primality/numbers.h"
#include "support/typed_tests.h"
#include "support/widths.h"

namespace {

using namespace kesh::test;
using kesh::Jacobi;

template <class T>
class JacobiSymbol : public testing::Test {};
KESH_TYPED_SUITE(JacobiSymbol, kesh::test::AllWords, kesh::test::WidthNames);

KESH_TYPED_TEST(JacobiSymbol, AgreesWithGmpForAllSmallArguments) {
    using T = TypeParam;
    for (unsigned long n = 1; n < 200; n += 2) {
        for (unsigned long a = 1; a < 2 * n; ++a) {
            ASSERT_EQ(Jacobi<T>(T(a), T(n)), mpz_ui_kronecker(a, mpz_class(n).get_mpz_t())) << a << ", " << n;
        }
    }
}

KESH_TYPED_TEST(JacobiSymbol, AgreesWithGmpForRandomArgumentsOfAllSizes) {
    using T = TypeParam;
    number_source source(21);
    const unsigned width = static_cast<unsigned>(kesh::width_v<T>);
    const auto size = [&] { return 2 + static_cast<unsigned>(source.below(width - 1).get_ui()); };
    for (int i = 0; i < 3000; ++i) {
        const mpz_class a = i % 2 == 0 ? source.of_bits(size()) : source.skewed_odd(size()) - 1;
        const mpz_class n = i % 3 == 0 ? source.skewed_odd(size()) : source.odd(size());
        ASSERT_EQ(Jacobi<T>(as_word<T>(a), as_word<T>(n)), mpz_jacobi(a.get_mpz_t(), n.get_mpz_t())) << a << ", " << n;
    }
}

KESH_TYPED_TEST(JacobiSymbol, AgreesWithGmpForSignedArguments) {
    using T = TypeParam;
    number_source source(22);
    const unsigned width = static_cast<unsigned>(kesh::width_v<T>);
    for (int i = 0; i < 2000; ++i) {
        const mpz_class n = source.odd(width - static_cast<unsigned>(i) % (width - 2));
        const T wide = as_word<T>(n);
        const long large = static_cast<long>(source.below(power_of_2(63)).get_ui());
        for (long x : {0L, 1L, -1L, 2L, -2L, 5L, -7L, large, -large}) {
            const int expected = mpz_si_kronecker(x, n.get_mpz_t());
            if (x == 0 && n == 1) continue;
            const int j = Jacobi<long, T>(x, wide);
            ASSERT_EQ(j, expected) << x << ", " << n;
            if (x % 2 == 0 || x == 1 || x == -1) continue;
            const mpz_class remainder = n % mpz_class(x < 0 ? -x : x);
            const kesh::umint low = static_cast<kesh::umint>(wide);
            ASSERT_EQ(kesh::jacobi_of_small(x, remainder.get_ui(), low), expected) << x << ", " << n;
        }
    }
}

KESH_TYPED_TEST(JacobiSymbol, ZeroIsLookedAtBeforeTheModulus) {
    using T = TypeParam;
    for (unsigned long n = 1; n < 20; n += 2) EXPECT_EQ(Jacobi<T>(T(0UL), T(n)), 0) << n;
}

KESH_TYPED_TEST(JacobiSymbol, ModulusOneGivesOne) {
    using T = TypeParam;
    const mpz_class largest = power_of_2(static_cast<unsigned>(kesh::width_v<T>)) - 1;
    EXPECT_EQ(Jacobi<T>(T(1UL), T(1UL)), 1);
    EXPECT_EQ(Jacobi<T>(T(6UL), T(1UL)), 1);
    EXPECT_EQ(Jacobi<T>(as_word<T>(largest), T(1UL)), 1);
}

KESH_TYPED_TEST(JacobiSymbol, CommonFactorGivesZero) {
    using T = TypeParam;
    number_source source(23);
    const unsigned half = static_cast<unsigned>(kesh::width_v<T>) / 2;
    for (int i = 0; i < 200; ++i) {
        const mpz_class common = source.odd(half - 1) | 2;
        const mpz_class a = common * source.of_bits(half), n = common * source.odd(half);
        ASSERT_EQ(Jacobi<T>(as_word<T>(a), as_word<T>(n)), 0) << a << ", " << n;
    }
}

KESH_TYPED_TEST(JacobiSymbol, DependsOnTheResidueOnly) {
    using T = TypeParam;
    number_source source(24);
    const unsigned width = static_cast<unsigned>(kesh::width_v<T>);
    for (int i = 0; i < 200; ++i) {
        const mpz_class n = source.odd(width / 2), a = source.of_bits(width);
        ASSERT_EQ(Jacobi<T>(as_word<T>(a), as_word<T>(n)), Jacobi<T>(as_word<T>(a % n), as_word<T>(n)))
            << a << ", " << n;
    }
}

KESH_TYPED_TEST(JacobiSymbol, MinusOne) {
    using T = TypeParam;
    for (unsigned long n = 1; n < 100; n += 2) EXPECT_EQ((Jacobi<long, T>(-1, T(n))), n % 4 == 3 ? -1 : 1) << n;
}

TEST(JacobiSymbolWidths, SmallOperandsGiveTheSameAtEveryWidth) {
    number_source source(25);
    for (int i = 0; i < 500; ++i) {
        const mpz_class a = source.of_bits(50), n = source.odd(60);
        const int expected = Jacobi<kesh::umint>(a.get_ui(), n.get_ui());
        EXPECT_EQ(Jacobi<kesh::uintx_t<128>>(a.get_ui(), n.get_ui()), expected);
        EXPECT_EQ(Jacobi<kesh::uintx_t<256>>(a.get_ui(), n.get_ui()), expected);
        EXPECT_EQ(Jacobi<kesh::uintx_t<512>>(a.get_ui(), n.get_ui()), expected);
        EXPECT_EQ(Jacobi<kesh::uintx_t<1024>>(a.get_ui(), n.get_ui()), expected);
    }
}

}  // namespace
