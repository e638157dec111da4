/**
 * @file   small_primes_test.cpp
 * @brief  The table of small primes against primesieve, division by its entries against GMP, and trial division.
 */
#include "Prime/small_primes.h"

#include <gtest/gtest.h>

#include <primesieve.hpp>

#include "primality/numbers.h"
#include "support/typed_tests.h"
#include "support/widths.h"

namespace {

using namespace kesh::test;
using kesh::primes_small;
using kesh::SmallPrime;

TEST(SmallPrimes, TableIsThatOfTheSieve) {
    kesh::init_small_primes();
    std::vector<unsigned long> expected;
    primesieve::generate_primes(1000000, &expected);
    ASSERT_EQ(primes_small.size(), 78498u);
    ASSERT_EQ(primes_small.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) ASSERT_EQ(primes_small[i].m, expected[i]) << i;
    EXPECT_EQ(primes_small[1].m, 3u);
    EXPECT_EQ(primes_small[99].m, 541u);
    EXPECT_EQ(primes_small.back().m, 999983u);
}

TEST(SmallPrimes, EntriesArePreparedAsStated) {
    kesh::init_small_primes();
    EXPECT_EQ(primes_small[0].magic, 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(primes_small[0].d, kesh::umint{1} << 63);
    EXPECT_EQ(primes_small[0].m, 2u);
    EXPECT_EQ(primes_small[0].s, 62);
    EXPECT_EQ(primes_small[0].size, 0);
    for (const SmallPrime& p : primes_small) {
        ASSERT_EQ(p.s, __builtin_clzl(p.m));
        ASSERT_EQ(p.d, p.m << p.s);
        ASSERT_EQ(mpz_class(p.magic), (power_of_2(128) - 1) / mpz_class(p.d) - power_of_2(64));
    }
}

TEST(SmallPrimes, EveryLimitGivesThePrimesUpToIt) {
    std::vector<unsigned long> expected;
    primesieve::generate_primes(1000000, &expected);
    // Around the ends of segments and the squares of sieving primes.
    for (kesh::mint limit : {2L, 3L, 9L, 100L, 32767L, 32768L, 32769L, 65535L, 65536L, 994009L, 999999L}) {
        const std::vector<SmallPrime> primes = kesh::gen_small_prime(limit);
        const auto end = std::upper_bound(expected.begin(), expected.end(), static_cast<unsigned long>(limit));
        ASSERT_EQ(primes.size(), static_cast<std::size_t>(end - expected.begin())) << limit;
        ASSERT_TRUE(std::equal(primes.begin(), primes.end(), expected.begin(),
                               [](const SmallPrime& p, unsigned long q) { return p.m == q; }))
            << limit;
    }
}

TEST(SmallPrimes, TheBitmapGivesTheTableOfTheSieve) {
    static_assert(kesh::SMALL_PRIMES_UPTO == 1'000'000);
    const std::vector<SmallPrime> sieved = kesh::gen_small_prime(kesh::SMALL_PRIMES_UPTO);
    const std::vector<SmallPrime> read = kesh::small_primes_from_bitmap();
    ASSERT_EQ(read.size(), sieved.size());
    EXPECT_EQ(read.capacity(), read.size()) << "allocated once";
    for (std::size_t i = 0; i < read.size(); ++i) {
        ASSERT_EQ(read[i].m, sieved[i].m);
        ASSERT_EQ(read[i].d, sieved[i].d);
        ASSERT_EQ(read[i].s, sieved[i].s);
        ASSERT_EQ(read[i].magic, sieved[i].magic);
        ASSERT_EQ(read[i].size, sieved[i].size);
    }
}

TEST(SmallPrimes, BuiltOnce) {
    kesh::init_small_primes();
    const SmallPrime* const first = primes_small.data();
    kesh::init_small_primes();
    EXPECT_EQ(primes_small.data(), first);
}

TEST(Fastdiv2x1, DividesTwoLimbsByEveryDivisor) {
    number_source source(41);
    std::vector<kesh::umint> divisors = {
        1, 2, 3, 541, 999983, 0xFFFFFFFF, 0x8000000000000000, 0x8000000000000001, 0xFFFFFFFFFFFFFFFF};
    for (unsigned bits = 2; bits <= 64; ++bits) divisors.push_back(source.of_bits(bits).get_ui());
    for (kesh::umint m : divisors) {
        const SmallPrime p(m);
        EXPECT_EQ(p.getM(), m);
        for (int i = 0; i < 300; ++i) {
            const auto any = [&] {
                return (i % 2 == 0 ? source.below(power_of_2(64)) : source.skewed_odd(64)).get_ui();
            };
            const kesh::umint low = any();
            for (kesh::umint high : {kesh::umint{0}, any() % m, m - 1, m, any(), ~kesh::umint{0}}) {
                const mpz_class n = (mpz_class(high) << 64) + low;
                kesh::umint quotient = 0;
                ASSERT_EQ(p.mod(low, high, quotient), mpz_class(n % m).get_ui()) << n << " by " << m;
                ASSERT_EQ(p.mod(low, high), mpz_class(n % m).get_ui()) << n << " by " << m;
                ASSERT_EQ(quotient, mpz_class(mpz_class(n / m) % power_of_2(64)).get_ui()) << n << " by " << m;
            }
        }
    }
}

TEST(Fastdiv2x1, ServesAsAModulusContext) {
    number_source source(42);
    for (unsigned bits = 2; bits <= 64; ++bits) {
        const kesh::umint m = source.odd(bits).get_ui();
        const SmallPrime p(m);
        EXPECT_EQ(p.one(), 1u);
        EXPECT_EQ(p.getr2(), 1u);
        for (int i = 0; i < 100; ++i) {
            const kesh::umint x = source.below(power_of_2(64)).get_ui(), y = source.below(power_of_2(64)).get_ui();
            const mpz_class a = mpz_class(x) % m, b = mpz_class(y) % m;
            ASSERT_EQ(p.getmod(x), a.get_ui());
            ASSERT_EQ(p.toMontMod(x), a.get_ui());
            ASSERT_EQ(p.fromMontMod(a.get_ui()), a.get_ui());
            ASSERT_EQ(p.mulmod(x, y), mpz_class(a * b % m).get_ui());
            ASSERT_EQ(p.mul(a.get_ui(), b.get_ui()), mpz_class(a * b % m).get_ui());
            ASSERT_EQ(p.sub(a.get_ui(), b.get_ui()), mpz_class((a - b + m) % m).get_ui());
            ASSERT_EQ(mpz_class(mpz_class(p.div2(a.get_ui())) * 2 % m), a);
            kesh::umint copied = 0;
            p.copy(a.get_ui(), copied);
            ASSERT_EQ(copied, a.get_ui());
            const kesh::umint quotient = p.div(a.get_ui(), b.get_ui());
            if (mpz_class(gcd(b, mpz_class(m))) == 1) {
                ASSERT_EQ(mpz_class(mpz_class(quotient) * b % m), a) << a << " / " << b << " modulo " << m;
            } else {
                ASSERT_EQ(quotient, 0u);
            }
        }
    }
}

template <class T>
class WideByLimb : public testing::Test {};
KESH_TYPED_SUITE(WideByLimb, kesh::test::WideWords, kesh::test::WidthNames);

KESH_TYPED_TEST(WideByLimb, QuotientRemainderAndProduct) {
    using T = TypeParam;
    kesh::init_small_primes();
    number_source source(43);
    const unsigned width = static_cast<unsigned>(T::bits);
    for (int i = 0; i < 1000; ++i) {
        const mpz_class n =
            i % 2 == 0 ? source.odd(width - static_cast<unsigned>(i) % width / 2) : source.skewed_odd(width);
        const SmallPrime& p = primes_small[source.below(78498).get_ui()];
        T remainder, quotient;
        p.mod_quo(as_word<T>(n), remainder, quotient);
        ASSERT_EQ(as_mpz(remainder), n % mpz_class(p.m)) << n << " by " << p.m;
        ASSERT_EQ(as_mpz(quotient), n / mpz_class(p.m)) << n << " by " << p.m;
        ASSERT_EQ(as_mpz(as_word<T>(n) / p), n / mpz_class(p.m));
        ASSERT_EQ(as_mpz(as_word<T>(n) * p), n * mpz_class(p.m) % power_of_2(width));
    }
}

KESH_TYPED_TEST(WideByLimb, TrialDivisionEndsAt541) {
    using T = TypeParam;
    kesh::init_small_primes();
    number_source source(44);
    const mpz_class large = source.prime(static_cast<unsigned>(T::bits) - 12);
    for (unsigned long p : {3ul, 5ul, 7ul, 523ul, 541ul}) {
        EXPECT_EQ(kesh::primeq_trial_division<T>(as_word<T>(large * p), 1, 100), 0) << p;
    }
    EXPECT_EQ(kesh::primeq_trial_division<T>(as_word<T>(large * 547), 1, 100), 1) << "entry 100";
    EXPECT_EQ(kesh::primeq_trial_division<T>(as_word<T>(large * 547), 1, 101), 0);
    EXPECT_EQ(kesh::primeq_trial_division<T>(as_word<T>(large * 2), 1, 100), 1) << "2 is not tried";
    EXPECT_EQ(kesh::primeq_trial_division<T>(as_word<T>(large * 3), 2, 100), 1) << "nor what comes before the start";
    EXPECT_EQ(kesh::primeq_trial_division<T>(as_word<T>(large * 3), 1, 1), 1) << "nothing to try";
}

KESH_TYPED_TEST(WideByLimb, ATablePrimeIsNotRejected) {
    using T = TypeParam;
    kesh::init_small_primes();
    for (std::size_t i = 1; i < 100; ++i) {
        EXPECT_EQ(kesh::primeq_trial_division<T>(T(primes_small[i].m), 1, 100), 1) << primes_small[i].m;
    }
    EXPECT_EQ(kesh::primeq_trial_division<T>(T(9), 1, 100), 0);
    EXPECT_EQ(kesh::primeq_trial_division<T>(T(541 * 541), 1, 100), 0);
}

}  // namespace
