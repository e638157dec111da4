/**
 * @file   kernels_test.cpp
 * @brief  Every kernel at every level and width against GMP, on skewed operands.
 */

#include "Shared/kernel/kernel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <tuple>
#include <type_traits>

#include "Shared/kernel/adx.h"
#include "Shared/kernel/portable.h"
#include "Shared/kernel/signed_residue.h"
#include "kernels/repetitions.h"
#include "support/skewed.h"
#include "support/typed_tests.h"
#include "support/widths.h"

namespace kesh::kernel {
namespace {

using test::from_mpz;
using test::Limbs;
using test::Skewed;
using test::to_mpz;

template <int n_, Level level_>
struct Case {
    static constexpr int n = n_;
    static constexpr Level level = level_;
};

/** A result of n limbs with one behind it that no kernel may write. */
template <int n>
class Result {
  public:
    umint* data() {
        return limbs_.data();
    }
    operator Limbs<n>() const {
        EXPECT_EQ(limbs_[n], guard) << "written behind the result";
        Limbs<n> value;
        std::copy_n(limbs_.begin(), n, value.begin());
        return value;
    }

  private:
    static constexpr umint guard = 0x5AFE5AFE5AFE5AFE;
    std::array<umint, n + 1> limbs_ = [] {
        std::array<umint, n + 1> limbs{};
        limbs[n] = guard;
        return limbs;
    }();
};

/** The bodies of the tests, which are compiled once for all levels. */
template <int n>
class KernelsOf : public testing::Test {
  protected:
    void check_modulus();
    void check_products();
    void check_results_in_place();
    void check_power();
    void check_ladder();
    void check_strong_test();
    void check_lucas_condition();
    void check_lucas_condition_without_inverse();

  private:
    static mpz_class radix() {
        return mpz_class(1) << (64 * n);
    }

    static mpz_class inverse(const mpz_class& a, const mpz_class& m) {
        mpz_class r;
        mpz_invert(r.get_mpz_t(), a.get_mpz_t(), m.get_mpz_t());
        return r;
    }

    static mpz_class modulo(const mpz_class& a, const mpz_class& m) {
        mpz_class r;
        mpz_mod(r.get_mpz_t(), a.get_mpz_t(), m.get_mpz_t());
        return r;
    }

    /**
     * The numbers of repetitions: for a test that costs one Montgomery product, and for one that costs a product per
     * bit.
     */
    const int product_repetitions = repetitions(20000);
    const int power_repetitions = repetitions(9600 / n / n);

    Skewed random{20240607 + 10 * n};
};

template <class C>
class Kernels : public KernelsOf<C::n> {
  protected:
    void SetUp() override {
        if (!force(C::level)) GTEST_SKIP() << "this processor has no " << name(C::level);
        ASSERT_EQ(level(), C::level);
    }
    void TearDown() override {
        force(supported_level());
    }
};

template <int... n>
using EveryLevel = std::tuple<Case<n, Level::portable>..., Case<n, Level::adx>..., Case<n, Level::ifma>...>;
using Cases = EveryLevel<2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16>;

struct CaseName {
    template <class C>
    static std::string name() {
        return std::to_string(64 * C::n) + "_" + kesh::name(C::level);
    }
};

KESH_TYPED_SUITE(Kernels, Cases, CaseName);

template <int n>
void KernelsOf<n>::check_modulus() {
    for (int i = 0; i < 1000; ++i) {
        const Limbs<n> m = random.template modulus<n>();
        const Modulus<n> modulus(m.data());
        EXPECT_EQ(to_mpz(std::to_array(modulus.m)), to_mpz(m));
        EXPECT_EQ(to_mpz(std::to_array(modulus.r1)), radix() % to_mpz(m));
        EXPECT_EQ(modulus.k * m[0], ~umint{0});
        EXPECT_EQ(modulus.inverse, umint{0} - modulus.k);
        EXPECT_EQ(to_mpz(std::to_array(modulus.zero)), 0);
        EXPECT_EQ(to_mpz(std::to_array(modulus.twice)), 2 * to_mpz(m) % radix());
        EXPECT_EQ(to_mpz(std::to_array(modulus.complement)), radix() - to_mpz(m));
        EXPECT_EQ(to_mpz(std::to_array(modulus.mu)) << 64, to_mpz(m) * mpz_class(modulus.k) + 1);
    }
}

KESH_TYPED_TEST(Kernels, ModulusHoldsTheFormOfOneAndTheNegatedInverse) {
    this->check_modulus();
}

template <int n>
void KernelsOf<n>::check_products() {
    const mpz_class r = radix();
    for (int i = 0; i < product_repetitions; ++i) {
        const Limbs<n> limbs = random.template modulus<n>();
        const mpz_class m = to_mpz(limbs);
        const Modulus<n> modulus(limbs.data());
        const Limbs<n> a = random.template residue<n>(m), b = random.template residue<n>(m);
        Result<n> product, square;
        mont_mul<n>(product.data(), a.data(), b.data(), modulus);
        mont_sqr<n>(square.data(), a.data(), modulus);
        // The residue below m whose product with R is a b: the only one, as R is prime to m.
        const mpz_class x = to_mpz(a), y = to_mpz(b), p = to_mpz<n>(product), s = to_mpz<n>(square);
        ASSERT_LT(p, m) << x << " * " << y << " mod " << m;
        ASSERT_LT(s, m) << x << "^2 mod " << m;
        ASSERT_EQ(p * r % m, x * y % m) << x << " * " << y << " mod " << m;
        ASSERT_EQ(s * r % m, x * x % m) << x << "^2 mod " << m;
    }
}

KESH_TYPED_TEST(Kernels, ProductAndSquareAreTheResiduesOfTheReferenceForm) {
    this->check_products();
}

template <int n>
void KernelsOf<n>::check_results_in_place() {
    for (int i = 0; i < 1000; ++i) {
        const Limbs<n> limbs = random.template modulus<n>();
        const mpz_class m = to_mpz(limbs);
        const Modulus<n> modulus(limbs.data());
        const Limbs<n> a = random.template residue<n>(m), b = random.template residue<n>(m);
        Limbs<n> product{}, square{};
        mont_mul<n>(product.data(), a.data(), b.data(), modulus);
        mont_sqr<n>(square.data(), a.data(), modulus);
        Limbs<n> x = a;
        mont_mul<n>(x.data(), x.data(), b.data(), modulus);
        EXPECT_EQ(x, product);
        x = b;
        mont_mul<n>(x.data(), a.data(), x.data(), modulus);
        EXPECT_EQ(x, product);
        x = a;
        mont_mul<n>(x.data(), x.data(), x.data(), modulus);
        EXPECT_EQ(x, square);
        x = a;
        mont_sqr<n>(x.data(), x.data(), modulus);
        EXPECT_EQ(x, square);
    }
}

KESH_TYPED_TEST(Kernels, ResultMayBeAnOperand) {
    this->check_results_in_place();
}

template <int n>
void KernelsOf<n>::check_power() {
    for (int i = 0; i < power_repetitions; ++i) {
        const Limbs<n> limbs = random.template modulus<n>();
        const mpz_class m = to_mpz(limbs);
        const Modulus<n> modulus(limbs.data());
        Limbs<n> e = random.template limbs<n>();
        if (i < 8) e = from_mpz<n>(mpz_class(i));
        Result<n> x;
        pow2<n>(x.data(), e.data(), modulus);
        mpz_class expected;
        mpz_powm(expected.get_mpz_t(), mpz_class(2).get_mpz_t(), to_mpz(e).get_mpz_t(), m.get_mpz_t());
        ASSERT_EQ(to_mpz<n>(x), expected * radix() % m) << "2^" << to_mpz(e) << " mod " << m;
    }
}

KESH_TYPED_TEST(Kernels, Pow2IsThePowerInMontgomeryForm) {
    this->check_power();
}

template <int n>
void KernelsOf<n>::check_ladder() {
    for (int i = 0; i < power_repetitions; ++i) {
        const Limbs<n> limbs = random.template modulus<n>();
        const mpz_class m = to_mpz(limbs);
        const Modulus<n> modulus(limbs.data());
        const Limbs<n> a = random.template residue<n>(m);
        Limbs<n> e = random.template limbs<n>();
        if (i < 8) e = from_mpz<n>(mpz_class(i));
        if (e == Limbs<n>{}) e[0] = 1;
        Result<n> l, h;
        lucas_ladder<n>(l.data(), h.data(), a.data(), e.data(), modulus);

        const mpz_class exponent = to_mpz(e);
        const mpz_class parameter = to_mpz(a) * inverse(radix(), m) % m;
        mpz_class low = 2, high = parameter;
        for (std::size_t bit = mpz_sizeinbase(exponent.get_mpz_t(), 2); bit-- > 0;) {
            const mpz_class middle = modulo(low * high - parameter, m);
            if (mpz_tstbit(exponent.get_mpz_t(), bit) == 0) {
                low = modulo(low * low - 2, m);
                high = middle;
            } else {
                high = modulo(high * high - 2, m);
                low = middle;
            }
        }
        ASSERT_EQ(to_mpz<n>(l), low * radix() % m) << "V(" << exponent << ") of (" << parameter << ", 1) mod " << m;
        ASSERT_EQ(to_mpz<n>(h), high * radix() % m)
            << "V(" << exponent << " + 1) of (" << parameter << ", 1) mod " << m;
    }
}

KESH_TYPED_TEST(Kernels, LucasLadderHoldsTwoNeighboursOfTheSequence) {
    this->check_ladder();
}

/** The strong test by its definition: 2^d = 1 or 2^(d 2^j) = -1 for some j < s, where m - 1 = d 2^s. */
bool strong_base2_by_gmp(const mpz_class& m) {
    const mpz_class minus_one = m - 1;
    const mp_bitcnt_t s = mpz_scan1(minus_one.get_mpz_t(), 0);
    const mpz_class d = minus_one >> s;
    mpz_class x;
    mpz_powm(x.get_mpz_t(), mpz_class(2).get_mpz_t(), d.get_mpz_t(), m.get_mpz_t());
    bool passes = x == 1;
    for (mp_bitcnt_t j = 0; j < s; ++j) {
        passes = passes || x == minus_one;
        x = x * x % m;
    }
    return passes;
}

template <int n>
void KernelsOf<n>::check_strong_test() {
    const auto check = [](const mpz_class& m) {
        const Modulus<n> modulus(from_mpz<n>(m).data());
        const bool passes = strong_base2<n>(modulus);
        EXPECT_EQ(passes, strong_base2_by_gmp(m)) << m;
        return passes;
    };
    for (int i = 0; i < power_repetitions; ++i) {
        const mpz_class m = to_mpz(random.template modulus<n>());
        if (m > 3) check(m);
    }
    for (int i = 0; i < 10; ++i) {
        mpz_class p = to_mpz(random.template limbs<n>()) >> 1;
        mpz_nextprime(p.get_mpz_t(), p.get_mpz_t());
        EXPECT_TRUE(p <= 3 || check(p)) << p;
    }
    // Every 2^p - 1 with p prime passes, prime or not, and so does every 2^(2^k) + 1, whose s is as large as it
    // gets.
    for (unsigned p : {67U, 127U, 251U, 509U, 1021U}) EXPECT_TRUE(p >= 64 * n || check((mpz_class(1) << p) - 1)) << p;
    for (unsigned power : {64U, 128U, 256U, 512U})
        EXPECT_TRUE(power >= 64 * n || check((mpz_class(1) << power) + 1)) << power;
    // Strong pseudoprimes to base 2, and pseudoprimes to base 2 that are not strong ones.
    for (unsigned strong : {2047U, 3277U, 4033U, 4681U, 8321U}) EXPECT_TRUE(check(strong)) << strong;
    for (unsigned weak : {341U, 561U, 645U, 1105U, 1387U}) EXPECT_FALSE(check(weak)) << weak;
    // m - 1 = 3 * 2^s and 5 * 2^s: a short power, then a long row of squarings.
    for (mp_bitcnt_t s = 2; s + 3 < 64 * n; s += 7) {
        check((mpz_class(3) << s) + 1);
        check((mpz_class(5) << s) + 1);
    }
}

KESH_TYPED_TEST(Kernels, StrongBase2AgreesWithTheTextbook) {
    this->check_strong_test();
}

/** U(m + 1) modulo m of the Lucas sequence (1, Q), by doubling U and V. */
mpz_class lucas_u_by_gmp(const mpz_class& m, mint q) {
    const auto modulo = [&m](const mpz_class& a) {
        mpz_class r;
        mpz_mod(r.get_mpz_t(), a.get_mpz_t(), m.get_mpz_t());
        return r;
    };
    const auto half = [&m, &modulo](const mpz_class& a) {
        mpz_class r = modulo(a);
        if (mpz_odd_p(r.get_mpz_t()) != 0) r += m;
        return mpz_class(r / 2);
    };
    const mpz_class exponent = m + 1, d = 1 - 4 * mpz_class(q);
    mpz_class u = 1, v = 1, power = modulo(mpz_class(q));
    for (std::size_t bit = mpz_sizeinbase(exponent.get_mpz_t(), 2) - 1; bit-- > 0;) {
        u = modulo(u * v);
        v = modulo(v * v - 2 * power);
        power = power * power % m;
        if (mpz_tstbit(exponent.get_mpz_t(), bit) != 0) {
            const mpz_class next = half(u + v);
            v = half(d * u + v);
            u = next;
            power = modulo(power * q);
        }
    }
    return u;
}

template <int n>
void KernelsOf<n>::check_lucas_condition() {
    int vanished = 0;
    for (int i = 0; i < power_repetitions; ++i) {
        mpz_class m = to_mpz(random.template modulus<n>());
        if (i % 2 == 1) {
            m >>= 2;
            mpz_nextprime(m.get_mpz_t(), m.get_mpz_t());
            if (m < 5) continue;
        }
        const Modulus<n> modulus(from_mpz<n>(m).data());
        // The definition takes long: two of six parameters for a modulus, other ones for the next.
        constexpr mint parameters[3][2] = {{-1, 2}, {-3, 5}, {4611686018427387847, -4611686018427387847}};
        for (const mint q : parameters[i / 2 % 3]) {
            if (gcd(m, mpz_class(q)) != 1) continue;
            // The ladder finally compares D U(m + 1) with 0, which differs from U(m + 1) = 0 if m has a factor in
            // common with D.
            const mpz_class d = 1 - 4 * mpz_class(q);
            const bool vanishes = modulo(d * lucas_u_by_gmp(m, q), m) == 0;
            vanished += vanishes ? 1 : 0;
            ASSERT_EQ(lucas_u_vanishes<n>(modulus, q), vanishes) << "Q = " << q << " mod " << m;
        }
    }
    EXPECT_GT(vanished, 0);
}

KESH_TYPED_TEST(Kernels, LucasConditionAgreesWithTheDefinition) {
    this->check_lucas_condition();
}

template <int n>
void KernelsOf<n>::check_lucas_condition_without_inverse() {
    const mpz_class m = 7 * ((mpz_class(1) << (64 * n - 8)) + 1);
    const Modulus<n> modulus(from_mpz<n>(m).data());
    EXPECT_TRUE(lucas_u_vanishes<n>(modulus, 7));
    EXPECT_TRUE(lucas_u_vanishes<n>(modulus, -14));
}

KESH_TYPED_TEST(Kernels, LucasConditionHoldsWhereQHasNoInverse) {
    this->check_lucas_condition_without_inverse();
}

/** The loops multiply residues that are not below m: their products must be below the radix. */
template <std::size_t n, class Arithmetic>
void expect_products_below_radix(std::uint64_t seed) {
    Skewed random{seed + n};
    const mpz_class radix = mpz_class(1) << (64 * n);
    for (int i = 0; i < 20000; ++i) {
        const Limbs<n> limbs = random.modulus<n>();
        const mpz_class m = to_mpz(limbs);
        const Modulus<n> modulus(limbs.data());
        Limbs<n> a = random.limbs<n>(), b = random.below(2) == 0 ? random.limbs<n>() : random.residue<n>(radix);
        if (random.below(4) == 0) a = random.residue<n>(radix);
        Limbs<n> product{}, square{}, reduced{};
        Arithmetic::mul(product.data(), a.data(), b.data(), modulus);
        Arithmetic::sqr(square.data(), a.data(), modulus);
        fully_reduce<n, Arithmetic>(reduced.data(), a.data(), modulus);
        const mpz_class x = to_mpz(a), y = to_mpz(b);
        ASSERT_EQ((to_mpz(product) * radix - x * y) % m, 0) << x << " * " << y << " mod " << m;
        ASSERT_EQ((to_mpz(square) * radix - x * x) % m, 0) << x << "^2 mod " << m;
        ASSERT_EQ(to_mpz(reduced), x % m) << x << " mod " << m;

        const Limbs<n> c = random.residue<n>(m);
        Limbs<n> not_c{};
        for (std::size_t j = 0; j < n; ++j) not_c[j] = ~c[j];
        Arithmetic::mul(product.data(), a.data(), b.data(), modulus, not_c.data());
        Arithmetic::sqr(square.data(), a.data(), modulus, not_c.data());
        const mpz_class z = to_mpz(c);
        ASSERT_EQ(((to_mpz(product) + z) * radix - x * y) % m, 0) << x << " * " << y << " - " << z << " mod " << m;
        ASSERT_EQ(((to_mpz(square) + z) * radix - x * x) % m, 0) << x << "^2 - " << z << " mod " << m;
    }
}

template <class N>
class Products : public testing::Test {};
template <int... n>
using Widths = std::tuple<std::integral_constant<int, n>...>;
using WideWidths = Widths<3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16>;
using SignedWidths = Widths<2, 3, 4, 5, 6, 7, 8, 9, 10>;
KESH_TYPED_SUITE(Products, WideWidths, test::LimbCountNames);

KESH_TYPED_TEST(Products, OfFactorsAboveTheModulusArePortablyBelowTheRadix) {
    expect_products_below_radix<TypeParam::value, Portable>(1);
}

KESH_TYPED_TEST(Products, OfFactorsAboveTheModulusAreBelowTheRadixByAdx) {
    if (supported_level() < Level::adx) GTEST_SKIP() << "this processor has no adx";
    expect_products_below_radix<TypeParam::value, Adx>(2);
}

/** 2^(E + 1) R mod m by division, for every exponent that fits the first bits. */
KESH_TYPED_TEST(Products, PowersBeginWithADivision) {
    constexpr std::size_t n = TypeParam::value;
    Skewed random{7 + n};
    for (umint e = 0; e < 4096; ++e) {
        const Limbs<n> limbs = random.modulus<n>();
        const mpz_class m = to_mpz(limbs);
        const Modulus<n> modulus(limbs.data());
        const Limbs<n> exponent{e};
        const Doublings<static_cast<int>(n)> y(modulus, exponent.data());
        const mpz_class expected = (mpz_class(2) << (64 * n + (e >> y.bits_left()))) % m;
        ASSERT_EQ(to_mpz(std::to_array(y.value)), expected) << "2^" << e << " mod " << m;
    }
}

template <class N>
class SignedResidues : public testing::Test {};
KESH_TYPED_SUITE(SignedResidues, SignedWidths, test::LimbCountNames);

/** Among the moduli are the largest ones that the form takes, with a highest limb of 2^64 - 3. */
KESH_TYPED_TEST(SignedResidues, SquaresAgreeWithProductsOneAfterAnother) {
    constexpr std::size_t n = TypeParam::value;
    if (n > 3 && supported_level() < Level::adx) GTEST_SKIP() << "this processor has no adx";
    constexpr umint largest = ~umint{0} - 2;
    Skewed random{20261121 + n};
    for (int i = 0; i < 10000; ++i) {
        Limbs<n> m = random.modulus<n>();
        if (i % 8 == 2 || (n > 2 && m[n - 1] > largest)) m[n - 1] = largest;
        const Modulus<n> modulus(m.data());
        ASSERT_TRUE(SignedResidue<n>::represents(modulus));
        const mpz_class last = to_mpz(m) - 1;
        // m - 1 and its neighbours have the largest squares.
        Limbs<n> expected = i % 8 == 0   ? Limbs<n>{}
                            : i % 8 <= 2 ? from_mpz<n>(last)
                                         : from_mpz<n>(to_mpz(random.limbs<n>()) % (last + 1));
        SignedResidue<n> x(expected.data(), modulus);
        for (int step = 0; step < 12; ++step) {
            const auto times = static_cast<mint>(1 + random.below(3));
            x.square(times);
            for (mint k = 0; k < times; ++k) mont_sqr<n>(expected.data(), expected.data(), modulus);
            if (random.below(4) == 0) {
                const int j = static_cast<int>(random.below(64));
                x.halve(j);
                halve<n>(expected.data(), j, modulus.m, modulus.k);
            }
            Limbs<n> residue{};
            x.store(residue.data());
            ASSERT_EQ(residue, expected) << "mod " << to_mpz(m) << " after " << step;
        }
    }
}

KESH_TYPED_TEST(SignedResidues, AreNotForModuliCloseToTheRadix) {
    constexpr std::size_t n = TypeParam::value;
    Limbs<n> m{};
    m[0] = 1;
    for (umint top : {~umint{0} - 2, ~umint{0} - 1, ~umint{0}}) {
        m[n - 1] = top;
        EXPECT_EQ(SignedResidue<n>::represents(Modulus<n>(m.data())), n == 2 || top == ~umint{0} - 2) << top;
    }
}

TEST(Levels, ForceRefusesWhatTheProcessorLacks) {
    const Level top = supported_level();
    EXPECT_EQ(level(), top);
    for (Level wanted : {Level::portable, Level::adx, Level::ifma}) {
        const bool there = wanted <= top;
        EXPECT_EQ(force(wanted), there) << name(wanted);
        EXPECT_EQ(level() == wanted, there) << name(wanted);
    }
    EXPECT_TRUE(force(top));
}

}  // namespace
}  // namespace kesh::kernel
