/**
 * @file   steps_test.cpp
 * @brief  Which width tests a value, the search for Selfridge's parameters, and the Lucas test against its definition.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Prime/prime_testing.h"
#include "primality/numbers.h"
#include "support/typed_tests.h"
#include "support/widths.h"

namespace {

using namespace kesh::test;

/** The widths at which observed_steps was called, in order. */
std::vector<long> widths_asked;

template <kesh::wide_word T>
class observed_steps : public kesh::GenericSteps<T> {
  public:
    using kesh::GenericSteps<T>::GenericSteps;
    static bool has_small_factor(const T& n) {
        widths_asked.push_back(T::bits);
        return kesh::GenericSteps<T>::has_small_factor(n);
    }
};

TEST(StepDown, AValueIsTestedAtTheNarrowestWidthWhoseUpperHalfIsNotZero) {
    for (unsigned bits = 1; bits <= 1024; ++bits) {
        // 2^(bits - 1) + 1, an odd number from 2 bits on
        const mpz_class number = bits == 1 ? mpz_class(1) : power_of_2(bits - 1) + 1;
        widths_asked.clear();
        kesh::PrimeQ<kesh::uintx_t<1024>, observed_steps>(as_word<kesh::uintx_t<1024>>(number));
        if (bits <= 64) {
            ASSERT_THAT(widths_asked, testing::IsEmpty()) << bits;
        } else {
            ASSERT_THAT(widths_asked, testing::ElementsAre(bits <= 128   ? 128
                                                           : bits <= 256 ? 256
                                                           : bits <= 512 ? 512
                                                                         : 1024))
                << bits;
        }
    }
}

TEST(StepDown, NarrowerEntryWidthsStepDownTheSameWay) {
    widths_asked.clear();
    kesh::PrimeQ<kesh::uintx_t<512>, observed_steps>(as_word<kesh::uintx_t<512>>(power_of_2(100) + 1));
    kesh::PrimeQ<kesh::uintx_t<256>, observed_steps>(as_word<kesh::uintx_t<256>>(power_of_2(100) + 1));
    kesh::PrimeQ<kesh::uintx_t<128>, observed_steps>(as_word<kesh::uintx_t<128>>(power_of_2(100) + 1));
    kesh::PrimeQ<kesh::uintx_t<128>, observed_steps>(kesh::uintx_t<128>(97));
    EXPECT_THAT(widths_asked, testing::ElementsAre(128, 128, 128));
}

/** Selfridge's search by its definition, with GMP's symbol: 0 for a proven composite. */
long selfridge_d(const mpz_class& n) {
    if (mpz_perfect_square_p(n.get_mpz_t()) != 0) return 0;
    for (long magnitude = 5;; magnitude += 2) {
        const long D = magnitude % 4 == 1 ? magnitude : -magnitude;
        const int j = mpz_si_kronecker(D, n.get_mpz_t());
        if (j == -1) return D;
        if (j == 0 && n != magnitude) return 0;
    }
}

/** U(n + 1) = 0 modulo n of the Lucas sequence with P = 1, Q = (1 - D)/4, by doubling U and V from the left. */
bool lucas_by_definition(const mpz_class& n, long D) {
    const mpz_class Q = (1 - D) / 4, index = n + 1;
    mpz_class u = 1, v = 1, q = Q;
    const auto half = [&n](mpz_class x) {
        if (mpz_odd_p(x.get_mpz_t()) != 0) x += n;
        return mpz_class(x / 2);
    };
    const auto reduce = [&n](const mpz_class& x) {
        mpz_class r;
        mpz_mod(r.get_mpz_t(), x.get_mpz_t(), n.get_mpz_t());
        return r;
    };
    for (mp_bitcnt_t i = mpz_sizeinbase(index.get_mpz_t(), 2) - 1; i-- > 0;) {
        u = reduce(u * v);
        v = reduce(v * v - 2 * q);
        q = reduce(q * q);
        if (mpz_tstbit(index.get_mpz_t(), i) != 0) {
            const mpz_class next_u = reduce(half(reduce(u + v)));
            v = reduce(half(reduce(D * u + v)));
            u = next_u;
            q = reduce(q * Q);
        }
    }
    return reduce(u) == 0;
}

template <class T>
class Lucas : public testing::Test {};
KESH_TYPED_SUITE(Lucas, kesh::test::WideWords, kesh::test::WidthNames);

KESH_TYPED_TEST(Lucas, ParametersAreSelfridges) {
    using T = TypeParam;
    number_source source(11);
    const unsigned bits = static_cast<unsigned>(T::bits);
    for (int i = 0; i < 100; ++i) {
        for (const mpz_class& number : {source.odd(bits), source.skewed_odd(bits), source.odd(bits / 2 + 3)}) {
            mint D = 0, P = 0, Q = 0;
            const int found = kesh::lucas_DPQ<T>(as_word<T>(number), D, P, Q);
            const long expected = selfridge_d(number);
            ASSERT_EQ(found, expected != 0) << number;
            ASSERT_EQ(D, expected) << number;
            if (found != 0) {
                ASSERT_EQ(P, 1);
                ASSERT_EQ(4 * Q, 1 - D);
            }
        }
    }
}

KESH_TYPED_TEST(Lucas, ANumberThatIsItselfTheCandidateDoesNotEndTheSearch) {
    // (5/5) = 0 says nothing about 5, so the search goes on to (-7/5) = -1.
    mint D = 0, P = 0, Q = 0;
    EXPECT_EQ(kesh::lucas_DPQ<TypeParam>(TypeParam(5), D, P, Q), 1);
    EXPECT_EQ(D, -7);
    EXPECT_EQ(Q, 2);
    EXPECT_EQ(kesh::lucas_DPQ<TypeParam>(TypeParam(35), D, P, Q), 0) << "(5/35) = 0 and 35 is not 5";
}

KESH_TYPED_TEST(Lucas, SquaresEndAtTheSixthCandidate) {
    using T = TypeParam;
    const unsigned bits = static_cast<unsigned>(T::bits);
    number_source source(12);
    for (int i = 0; i < 30; ++i) {
        const mpz_class root = source.prime(bits / 2 - 1);
        const T n = as_word<T>(root * root);
        std::vector<mint> asked;
        const auto symbol = [&](mint d) {
            asked.push_back(d);
            return kesh::Jacobi<mint, T>(d, n);
        };
        mint D = 0, P = 0, Q = 0;
        ASSERT_EQ(kesh::selfridge_parameters(n, symbol, D, P, Q), 0);
        ASSERT_THAT(asked, testing::ElementsAre(5, -7, 9, -11, 13, -15));
        ASSERT_EQ(kesh::PrimeQ_BPSW<T>(n, 0), 0);
    }
}

KESH_TYPED_TEST(Lucas, SquaresOfWieferichPrimesPassBase2AndFallToTheSquareTest) {
    using T = TypeParam;
    kesh::init_small_primes();
    for (kesh::umint p : {kesh::umint{1093}, kesh::umint{3511}}) {
        const T n(p * p);
        EXPECT_FALSE(kesh::GenericSteps<T>::has_small_factor(n));
        EXPECT_TRUE(kesh::GenericSteps<T>(n).passes_base_2()) << p << ": 2^(p - 1) = 1 modulo p^2";
        EXPECT_FALSE(kesh::GenericSteps<T>(n).passes_lucas());
        EXPECT_EQ(kesh::PrimeQ_BPSW<T>(n, 0), 0);
    }
}

KESH_TYPED_TEST(Lucas, LadderFollowsTheDefinition) {
    using T = TypeParam;
    const unsigned bits = static_cast<unsigned>(T::bits);
    number_source source(13);
    int probable = 0;
    const auto check = [&](const mpz_class& number) {
        if (kesh::GenericSteps<T>::has_small_factor(as_word<T>(number))) return;
        const long D = selfridge_d(number);
        const bool expected = D != 0 && lucas_by_definition(number, D);
        probable += expected;
        ASSERT_EQ(kesh::GenericSteps<T>(as_word<T>(number)).passes_lucas(), expected) << number;
    };
    kesh::init_small_primes();
    for (int i = 0; i < 12; ++i) {
        check(source.prime(bits));
        check(source.odd(bits));
        check(source.lucas_pseudoprime_candidate(bits));
        check(source.strong_pseudoprime_candidate(bits));
    }
    for (unsigned n = 549; n < 6000; n += 2)
        check(n);  // has the first Lucas pseudoprimes that have no factor up to 541
    EXPECT_GT(probable, 600);
}

KESH_TYPED_TEST(Lucas, AParameterWithoutInverseLetsTheConditionHold) {
    // The first D with (D/7) = -1 is 5, with Q = -1; 11 gets D = -7, Q = 2. For 5719 = 7 * 19 * 43 a Q of 7 has no
    // inverse: a is then -2, V alternates between 2 and -2, and a V(m) = 2 V(m + 1).
    const kesh::umint number = 5719;
    kesh::kernel::Modulus<static_cast<int>(TypeParam::limbs)> modulus(TypeParam(number).limb);
    EXPECT_TRUE(kesh::kernel::lucas_u_vanishes(modulus, 7));
}

}  // namespace
