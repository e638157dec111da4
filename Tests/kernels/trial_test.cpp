/**
 * @file   trial_test.cpp
 * @brief  Trial division and one-limb remainders against GMP.
 */

#include <gtest/gtest.h>

#include <vector>

#include "Shared/kernel/kernel.h"
#include "support/skewed.h"
#include "support/typed_tests.h"
#include "support/widths.h"

namespace kesh::kernel {
namespace {

using test::from_mpz;
using test::Limbs;
using test::Skewed;
using test::to_mpz;

std::vector<umint> odd_primes_to(umint limit) {
    std::vector<umint> primes;
    for (mpz_class p = 3; p <= limit; mpz_nextprime(p.get_mpz_t(), p.get_mpz_t())) primes.push_back(p.get_ui());
    return primes;
}

template <class C>
class Trial : public testing::Test {};

template <std::size_t n>
using Size = std::integral_constant<std::size_t, n>;
using Sizes = std::tuple<Size<1>, Size<2>, Size<3>, Size<4>, Size<8>, Size<16>>;
KESH_TYPED_SUITE(Trial, Sizes, test::LimbCountNames);

KESH_TYPED_TEST(Trial, AgreesWithDividing) {
    constexpr std::size_t n = TypeParam::value;
    const std::vector<umint> primes = odd_primes_to(541);
    ASSERT_EQ(primes.size(), 99U);
    Skewed random(n);
    int found = 0, rounds = 20000;
    for (int i = 0; i < rounds; ++i) {
        const Limbs<n> limbs = random.limbs<n>();
        const mpz_class value = to_mpz(limbs);
        bool expected = false;
        for (umint p : primes) expected = expected || mpz_divisible_ui_p(value.get_mpz_t(), p) != 0;
        ASSERT_EQ(has_small_factor(limbs), expected) << value;
        found += expected ? 1 : 0;
    }
    EXPECT_GT(found, 0);
    EXPECT_LT(found, rounds);
}

KESH_TYPED_TEST(Trial, FindsEachPrimeOfTheTableAlone) {
    constexpr std::size_t n = TypeParam::value;
    const std::vector<umint> primes = odd_primes_to(541);
    Skewed random(n);
    for (umint p : primes) {
        for (int i = 0; i < 20; ++i) {
            // A cofactor without a prime of the table, so that p is the only prime of the table that divides.
            mpz_class cofactor = (to_mpz(random.limbs<n>()) >> 11) + 1;
            for (umint q : primes) mpz_remove(cofactor.get_mpz_t(), cofactor.get_mpz_t(), mpz_class(q).get_mpz_t());
            EXPECT_TRUE(has_small_factor(from_mpz<n>(p * cofactor))) << p << " * " << cofactor;
            EXPECT_FALSE(has_small_factor(from_mpz<n>(cofactor))) << cofactor;
        }
        EXPECT_TRUE(has_small_factor(from_mpz<n>(mpz_class(p)))) << p;
    }
    EXPECT_FALSE(has_small_factor(from_mpz<n>(mpz_class(547))));
    EXPECT_FALSE(has_small_factor(from_mpz<n>(mpz_class(547 * 557))));
    EXPECT_FALSE(has_small_factor(from_mpz<n>(mpz_class(1))));
    EXPECT_TRUE(has_small_factor(from_mpz<n>(mpz_class(0))));
}

KESH_TYPED_TEST(Trial, RemainderByALimb) {
    constexpr std::size_t n = TypeParam::value;
    Skewed random(n);
    for (int i = 0; i < 20000; ++i) {
        const Limbs<n> limbs = random.limbs<n>();
        const umint d = std::max(random.limbs<1>()[0], umint{1});
        ASSERT_EQ(mod_limb(limbs, d), mpz_class(to_mpz(limbs) % mpz_class(d))) << to_mpz(limbs) << " mod " << d;
    }
}

}  // namespace
}  // namespace kesh::kernel
