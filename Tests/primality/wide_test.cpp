/**
 * @file   wide_test.cpp
 * @brief  The Baillie-PSW test against GMP, and its two forms against each other, at every width and kernel level.
 */
#include <gtest/gtest.h>

#include "Prime/prime_testing.h"
#include "primality/numbers.h"
#include "support/typed_tests.h"
#include "support/widths.h"

namespace {

using namespace kesh::test;
using kesh::Level;

template <class T>
class Wide : public testing::Test {};
KESH_TYPED_SUITE(Wide, kesh::test::WideWords, kesh::test::WidthNames);

/** The verdict by the public entry point, with the limb count of the value rounded up to a width. */
bool kesh_says_prime(const mpz_class& n) {
    const Limbs<16> limbs = from_mpz<16>(n);
    const std::size_t bits = mpz_sizeinbase(n.get_mpz_t(), 2);
    mbool prime = -1;
    const mint length = bits <= 64 ? 1 : bits <= 128 ? 2 : bits <= 256 ? 4 : bits <= 512 ? 8 : 16;
    EXPECT_EQ(KESH_PrimeQ(limbs.data(), length, &prime), 1);
    return prime != 0;
}

/** Runs body once for each kernel level that this processor has. */
template <class Body>
void at_every_level(Body body) {
    const Level before = kesh::level();
    for (Level level : {Level::portable, Level::adx, Level::ifma}) {
        if (!kesh::force(level)) continue;
        SCOPED_TRACE(kesh::name(level));
        body();
    }
    kesh::force(before);
}

/** A random size, from the smallest for which the width is used up to the width. */
template <class T>
unsigned random_size(number_source& source) {
    return static_cast<unsigned>(T::bits / 2 + 1 + static_cast<long>(source.below(T::bits / 2).get_ui()));
}

template <class T>
void compare_with_gmp(unsigned factor) {
    number_source source(static_cast<unsigned long>(T::bits));
    for (const family& kind : families()) {
        SCOPED_TRACE(kind.name);
        for (unsigned i = 0; i < kind.count_at(T::bits) * factor; ++i) {
            const mpz_class n = (source.*kind.make)(random_size<T>(source));
            ASSERT_EQ(kesh_says_prime(n), gmp_says_prime(n)) << n;
        }
    }
}

KESH_TYPED_TEST(Wide, AgreesWithGmp) {
    compare_with_gmp<TypeParam>(1);
}

KESH_TYPED_TEST(Wide, Long_AgreesWithGmp) {
    compare_with_gmp<TypeParam>(100);
}

KESH_TYPED_TEST(Wide, FormsAgreeAtEveryKernelLevel) {
    using T = TypeParam;
    kesh::init_small_primes();
    number_source source(static_cast<unsigned long>(T::bits) + 1);
    unsigned base_2 = 0, lucas = 0;
    for (const family& kind : families()) {
        SCOPED_TRACE(kind.name);
        const unsigned count = kind.costly ? std::max(40u, kind.count_at(T::bits) / 20) : 1000;
        for (unsigned i = 0; i < count; ++i) {
            // Every other number is small for the width, because pseudoprimes are frequent among small numbers.
            const unsigned bits = i % 2 == 0 ? random_size<T>(source) : random_size<kesh::uintx_t<128>>(source);
            const mpz_class number = (source.*kind.make)(bits);
            if (number < power_of_2(64)) continue;  // the product of close factors may be one bit short
            const T n = as_word<T>(number);
            const bool small = kesh::GenericSteps<T>::has_small_factor(n);
            at_every_level([&] { ASSERT_EQ(kesh::KernelSteps<T>::has_small_factor(n), small) << number; });
            if (small) continue;
            // Each step alone, also when an earlier one has decided the verdict.
            const kesh::GenericSteps<T> generic(n);
            const bool passes_base_2 = generic.passes_base_2(), passes_lucas = generic.passes_lucas();
            at_every_level([&] {
                const kesh::KernelSteps<T> kernel(n);
                ASSERT_EQ(kernel.passes_base_2(), passes_base_2) << number;
                ASSERT_EQ(kernel.passes_lucas(), passes_lucas) << number;
            });
            const bool prime = gmp_says_prime(number);
            base_2 += passes_base_2 && !prime;
            lucas += passes_lucas && !prime;
        }
    }
    EXPECT_GT(base_2, 0u) << "no strong pseudoprime to base 2 among them";
    EXPECT_GT(lucas, 0u) << "no Lucas pseudoprime among them";
}

TEST(WideNumbers, SpecialNumbersAgreeWithGmpAtEveryKernelLevel) {
    const std::vector<mpz_class> all = special_numbers();
    std::vector<bool> prime;
    for (const mpz_class& n : all) prime.push_back(gmp_says_prime(n));
    at_every_level([&] {
        for (std::size_t i = 0; i < all.size(); ++i) ASSERT_EQ(kesh_says_prime(all[i]), prime[i]) << all[i];
    });
}

TEST(WideNumbers, SmallestPrimeAbove2To64) {
    EXPECT_TRUE(kesh_says_prime(power_of_2(64) + 13));
    for (unsigned k = 1; k < 13; ++k) EXPECT_FALSE(kesh_says_prime(power_of_2(64) + k)) << k;
}

TEST(WideNumbers, MersennePrimes) {
    for (unsigned exponent : {89u, 107u, 127u, 521u, 607u})
        EXPECT_TRUE(kesh_says_prime(power_of_2(exponent) - 1)) << exponent;
    const Limbs<16> limbs = from_mpz<16>(power_of_2(521) - 1);
    EXPECT_TRUE(kesh::PrimeQ(kesh::uintx_t<1024>(limbs.data(), 16)));
}

TEST(WideNumbers, SeventhFermatNumberIsLeftToTheLucasTest) {
    const mpz_class number = power_of_2(128) + 1;
    ASSERT_EQ(number, mpz_class("59649589127497217") * mpz_class("5704689200685129054721"));
    using T = kesh::uintx_t<256>;
    const T n = as_word<T>(number);
    kesh::init_small_primes();
    EXPECT_FALSE(kesh::GenericSteps<T>::has_small_factor(n));
    EXPECT_TRUE(kesh::GenericSteps<T>(n).passes_base_2());
    EXPECT_FALSE(kesh::GenericSteps<T>(n).passes_lucas());
    EXPECT_TRUE(kesh::KernelSteps<T>(n).passes_base_2());
    EXPECT_FALSE(kesh::KernelSteps<T>(n).passes_lucas());
    EXPECT_FALSE(kesh_says_prime(number));
}

TEST(WideNumbers, EvenNumbers) {
    using T = kesh::uintx_t<128>;
    EXPECT_EQ(kesh::PrimeQ_BPSW<T>(T(2), 0), 1);
    EXPECT_EQ(kesh::PrimeQ_BPSW<T>(T(4), 0), 0);
    EXPECT_FALSE(kesh_says_prime(power_of_2(64)));
    EXPECT_FALSE(kesh_says_prime(power_of_2(1023) + 12));
}

template <class T>
void expect_verdict_at_width(const mpz_class& number, bool prime) {
    if (mpz_sizeinbase(number.get_mpz_t(), 2) > static_cast<std::size_t>(T::bits)) return;
    const T n = as_word<T>(number);
    EXPECT_EQ((kesh::PrimeQ_BPSW<T, kesh::GenericSteps>(n, 0)), prime) << number << " at " << T::bits;
    EXPECT_EQ((kesh::PrimeQ_BPSW<T, kesh::KernelSteps>(n, 0)), prime) << number << " at " << T::bits;
    EXPECT_EQ((kesh::PrimeQ<T, kesh::GenericSteps>(n)), prime) << number << " at " << T::bits;
    EXPECT_EQ((kesh::PrimeQ<T, kesh::KernelSteps>(n)), prime) << number << " at " << T::bits;
}

TEST(WideNumbers, SameVerdictAtEveryWidthThatHoldsTheValue) {
    number_source source(5);
    for (unsigned bits : {65u, 100u, 128u, 200u, 256u, 300u, 512u}) {
        for (int i = 0; i < 8; ++i) {
            for (const mpz_class& n : {source.prime(bits), source.close_semiprime(bits), source.odd(bits)}) {
                const bool prime = gmp_says_prime(n);
                expect_verdict_at_width<kesh::uintx_t<128>>(n, prime);
                expect_verdict_at_width<kesh::uintx_t<256>>(n, prime);
                expect_verdict_at_width<kesh::uintx_t<512>>(n, prime);
                expect_verdict_at_width<kesh::uintx_t<1024>>(n, prime);
            }
        }
    }
}

KESH_TYPED_TEST(Wide, GenericFormHoldsForValuesOfOneLimb) {
    // PrimeQ would hand these to the 64-bit test; the Baillie-PSW test itself is right for them as well.
    using T = TypeParam;
    for (kesh::umint n = 5; n < 3000; n += 2) EXPECT_EQ(kesh::PrimeQ_BPSW<T>(T(n), 0) != 0, kesh::PrimeQ(n)) << n;
    for (kesh::umint n = 0xFFFFFFFFFFFFFFC5 - 2; n > 0xFFFFFFFFFFFFFFC5 - 200; n -= 2) {
        EXPECT_EQ(kesh::PrimeQ_BPSW<T>(T(n), 0) != 0, kesh::PrimeQ(n)) << n;
    }
}

}  // namespace
