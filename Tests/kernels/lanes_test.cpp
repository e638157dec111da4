/**
 * @file   lanes_test.cpp
 * @brief  The tests of eight numbers side by side against the tests of each alone, at every number of digits, on
 *         skewed numbers of different lengths.
 */

#include "Shared/kernel/lanes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "Shared/kernel/narrow_lanes.h"
#include "Shared/kernel/pair_lanes.h"
#include "Shared/kernel/strong_word.h"
#include "Shared/kernel/word_vectors.h"
#include "kernels/repetitions.h"
#include "support/skewed.h"

namespace kesh::kernel {
namespace {

using test::from_mpz;
using test::Limbs;
using test::Skewed;
using test::to_mpz;

using Number = Limbs<16>;

int size_of(const Number& n) {
    int size = 16;
    while (size > 1 && n[static_cast<std::size_t>(size) - 1] == 0) --size;
    return size;
}

/** test(modulus) with a modulus of as many limbs as the kernels for one number are fast at. */
template <class Test>
bool alone(const Number& n, Test test) {
    const int size = size_of(n);
    if (size <= 2) return test(Modulus<2>(n.data()));
    if (size <= 4) return test(Modulus<4>(n.data()));
    if (size <= 8) return test(Modulus<8>(n.data()));
    return test(Modulus<16>(n.data()));
}

class Lanes : public testing::TestWithParam<int> {
  protected:
    void SetUp() override {
        if (!force(Level::ifma)) GTEST_SKIP() << "this processor has no " << name(Level::ifma);
        ASSERT_TRUE(has_lanes());
    }
    void TearDown() override {
        force(supported_level());
    }

    /** The largest number of bits that the lanes hold. */
    static unsigned most_bits() {
        return std::min(1024U, 52 * static_cast<unsigned>(GetParam()) - 4);
    }

    /** An odd number above 2^64 that fits: mostly of the largest size, skewed. */
    Number number() {
        mpz_class n = to_mpz(random.modulus<16>());
        const auto bits = static_cast<unsigned>(mpz_sizeinbase(n.get_mpz_t(), 2));
        const unsigned wanted =
            random.below(3) == 0 ? most_bits() : 65 + static_cast<unsigned>(random.below(most_bits() - 64));
        if (bits > wanted) n >>= bits - wanted;
        if (random.below(3) == 0) mpz_setbit(n.get_mpz_t(), wanted - 1);
        if (random.below(8) == 0) n = (mpz_class(1) << wanted) - 1 - 2 * mpz_class(random.below(50));
        if (random.below(4) == 0) mpz_nextprime(n.get_mpz_t(), n.get_mpz_t());
        mpz_setbit(n.get_mpz_t(), 0);
        if (mpz_sizeinbase(n.get_mpz_t(), 2) > most_bits() || mpz_sizeinbase(n.get_mpz_t(), 2) <= 64) return number();
        const Number limbs = from_mpz<16>(n);
        return fits_a_lane(limbs[0]) ? limbs : number();
    }

    static LaneGroup group_of(const std::array<Number, lanes>& numbers) {
        LaneGroup group;
        for (std::size_t c = 0; c < lanes; ++c) group[c] = {numbers[c].data(), size_of(numbers[c])};
        return group;
    }

    /** Returns the verdicts of the lanes, after comparing them. */
    static unsigned check_strong_test(const std::array<Number, lanes>& numbers) {
        const unsigned passed = strong_base2_in_lanes(group_of(numbers), GetParam());
        for (std::size_t c = 0; c < lanes; ++c)
            EXPECT_EQ(passed >> c & 1, alone(numbers[c], [](const auto& m) { return strong_base2(m); }) ? 1U : 0U)
                << to_mpz(numbers[c]) << " in lane " << c;
        return passed;
    }

    static unsigned check_lucas(const std::array<Number, lanes>& numbers, const std::array<mint, lanes>& q) {
        const unsigned passed = lucas_u_vanishes_in_lanes(group_of(numbers), q, GetParam());
        for (std::size_t c = 0; c < lanes; ++c)
            EXPECT_EQ(passed >> c & 1,
                      alone(numbers[c], [&](const auto& m) { return lucas_u_vanishes(m, q[c]); }) ? 1U : 0U)
                << to_mpz(numbers[c]) << " with Q = " << q[c] << " in lane " << c;
        return passed;
    }

    const int group_repetitions = std::max(repetitions(1500 / GetParam() / GetParam()), 3) + 1;

    Skewed random{20261122 + static_cast<std::uint64_t>(GetParam())};
};

TEST_P(Lanes, StrongBase2AgreesWithTheTestAlone) {
    unsigned passed = 0;
    for (int i = 0; i < group_repetitions; ++i) {
        std::array<Number, lanes> numbers;
        for (Number& n : numbers) n = number();
        passed |= check_strong_test(numbers);
    }
    EXPECT_NE(passed, 0);
}

TEST_P(Lanes, LucasConditionAgreesWithTheTestAlone) {
    unsigned passed = 0;
    for (int i = 0; i < group_repetitions; ++i) {
        std::array<Number, lanes> numbers;
        std::array<mint, lanes> q;
        for (std::size_t c = 0; c < lanes; ++c) {
            numbers[c] = number();
            do {
                q[c] = static_cast<mint>(random.below(20)) - 10;
                if (random.below(4) == 0) q[c] *= static_cast<mint>(random.below(1 << 20));
            } while (q[c] == 0 || gcd(to_mpz(numbers[c]), mpz_class(q[c])) != 1);
        }
        passed |= check_lucas(numbers, q);
    }
    EXPECT_NE(passed, 0);
}

/**
 * Numbers that pass: Mersenne numbers with prime exponents; and m - 1 with many trailing zeros, where some lanes have
 * long squarings at the end and others none.
 */
TEST_P(Lanes, PowersOfTwoNearby) {
    std::vector<Number> all;
    const unsigned bits = most_bits();
    for (unsigned p : {67U, 71U, 89U, 97U, 101U, 107U, 127U, 251U, 257U, 509U, 521U, 607U, 1021U})
        if (p <= bits) all.push_back(from_mpz<16>((mpz_class(1) << p) - 1));
    // Fewer of the long ones: the model of the instructions takes a second for a group of them.
    for (unsigned s = 1; s < 52; s += GetParam() < 6 ? 1 : 10)
        for (unsigned factor : {3U, 5U})
            for (unsigned top : {65U, bits - 4})
                if (top > 64 && top > s)
                    all.push_back(from_mpz<16>((mpz_class(factor) << s) + (mpz_class(1) << top) + 1));
    while (all.size() % lanes != 0) all.push_back(all.front());
    for (std::size_t i = 0; i < all.size(); i += lanes) {
        std::array<Number, lanes> numbers;
        std::copy_n(all.begin() + static_cast<std::ptrdiff_t>(i), lanes, numbers.begin());
        check_strong_test(numbers);
        check_lucas(numbers, {1, -1, 2, -2, -1, -1, 4, -1});
    }
}

std::vector<int> every_number_of_digits() {
    std::vector<int> all;
    for (int bits = 65; bits <= 1024; ++bits)
        if (all.empty() || all.back() != lane_digits(bits)) all.push_back(lane_digits(bits));
    return all;
}

/** Four numbers of two limbs in general registers, on every processor. */
TEST(NarrowLanes, AgreeWithTheTestsAlone) {
    Skewed random{128};
    for (int i = 0; i < 4000; ++i) {
        std::array<Limbs<2>, narrow_lanes> numbers;
        std::array<mint, narrow_lanes> q;
        for (std::size_t c = 0; c < narrow_lanes; ++c) {
            do {
                mpz_class n = to_mpz(random.modulus<2>());
                if (random.below(3) == 0) mpz_nextprime(n.get_mpz_t(), n.get_mpz_t());
                numbers[c] = from_mpz<2>(n);
                numbers[c][0] |= 1;
                q[c] = static_cast<mint>(random.below(40)) - 20;
            } while (to_mpz(numbers[c]) <= 3 || q[c] == 0);
        }
        NarrowGroup group;
        for (std::size_t c = 0; c < narrow_lanes; ++c) group[c] = numbers[c].data();
        const unsigned strong = strong_base2_narrow(group), lucas = lucas_u_vanishes_narrow(group, q);
        for (std::size_t c = 0; c < narrow_lanes; ++c) {
            const Modulus<2> modulus(numbers[c].data());
            ASSERT_EQ(strong >> c & 1, strong_base2(modulus) ? 1U : 0U) << to_mpz(numbers[c]) << " in lane " << c;
            ASSERT_EQ(lucas >> c & 1, lucas_u_vanishes(modulus, q[c]) ? 1U : 0U)
                << to_mpz(numbers[c]) << " with Q = " << q[c] << " in lane " << c;
        }
    }
}

/** Two numbers of n limbs in turns; some are shorter than their limbs, so that one exponent begins later. */
template <int n>
void check_pairs() {
    Skewed random{static_cast<std::uint64_t>(n)};
    unsigned passed = 0;
    for (int i = 0; i < 1500 / n; ++i) {
        std::array<Limbs<n>, pair_lanes> numbers;
        std::array<mint, pair_lanes> q;
        for (std::size_t c = 0; c < pair_lanes; ++c) {
            do {
                mpz_class m = to_mpz(random.modulus<n>());
                if (random.below(4) == 0) m >>= static_cast<unsigned>(random.below(64 * n));
                if (random.below(3) == 0) mpz_nextprime(m.get_mpz_t(), m.get_mpz_t());
                mpz_setbit(m.get_mpz_t(), 0);
                if (mpz_sizeinbase(m.get_mpz_t(), 2) > 64 * n) m = 1;
                numbers[c] = from_mpz<n>(m);
                q[c] = static_cast<mint>(random.below(40)) - 20;
            } while (to_mpz(numbers[c]) <= 3 || q[c] == 0);
        }
        const NumberPair pair = {numbers[0].data(), numbers[1].data()};
        const unsigned strong = strong_base2_of_pair(pair, n), lucas = lucas_u_vanishes_of_pair(pair, q, n);
        passed |= strong & lucas;
        for (std::size_t c = 0; c < pair_lanes; ++c) {
            const Modulus<n> modulus(numbers[c].data());
            ASSERT_EQ(strong >> c & 1, strong_base2(modulus) ? 1U : 0U) << to_mpz(numbers[c]) << " in lane " << c;
            ASSERT_EQ(lucas >> c & 1, lucas_u_vanishes(modulus, q[c]) ? 1U : 0U)
                << to_mpz(numbers[c]) << " with Q = " << q[c] << " in lane " << c;
        }
    }
    EXPECT_EQ(passed, 3U) << "a number that passes in either place";
}

TEST(PairLanes, AgreeWithTheTestsAlone) {
    if (!force(Level::adx)) GTEST_SKIP() << "this processor has no " << name(Level::adx);
    EXPECT_FALSE(has_pairs(2));
    EXPECT_FALSE(has_pairs(9));
    check_pairs<3>();
    check_pairs<4>();
    check_pairs<5>();
    check_pairs<6>();
    check_pairs<7>();
    check_pairs<8>();
    force(supported_level());
}

/** 64-bit numbers. */
class WordVectorLanes : public testing::Test {
  protected:
    void SetUp() override {
        if (!force(Level::ifma)) GTEST_SKIP() << "this processor has no " << name(Level::ifma);
    }
    void TearDown() override {
        force(supported_level());
    }

    /** Odd, of 2^32 or more, every third time prime, with many trailing zeros of n - 1 or near 2^64. */
    umint number() {
        const unsigned bits = random.below(3) == 0 ? 64 : 33 + static_cast<unsigned>(random.below(32));
        mpz_class n = to_mpz(random.limbs<1>());
        n >>= 64 - bits;
        mpz_setbit(n.get_mpz_t(), bits - 1);
        switch (random.below(6)) {
            case 0:
            case 1:
                mpz_nextprime(n.get_mpz_t(), n.get_mpz_t());
                break;
            case 2: {
                const auto zeros = static_cast<unsigned>(random.below(bits));
                n = (n >> zeros << zeros) + 1;
                break;
            }
            case 3:
                n = (mpz_class(1) << bits) - 1 - mpz_class(random.below(200));
                break;
            default:
                break;
        }
        return mpz_sizeinbase(n.get_mpz_t(), 2) > 64 ? number() : from_mpz<1>(n)[0] | 1;
    }

    Skewed random{64};
};

TEST_F(WordVectorLanes, StrongTestsAgreeWithTheTestAlone) {
    for (int i = 0; i < 2000; ++i) {
        WordVector numbers, first, second;
        for (std::size_t c = 0; c < word_vector_lanes; ++c) {
            numbers[c] = number();
            first[c] = 1 + random.below(0xFFFF);
            second[c] = i % 2 == 0 ? 2 : 1 + random.below(200);
        }
        const std::size_t count = 1 + static_cast<std::size_t>(i) % word_vector_lanes;
        const unsigned to_2 = strong_base2_in_lanes(numbers, count),
                       to_both = strong_tests_in_lanes(numbers, first, second, count);
        for (std::size_t c = 0; c < count; ++c) {
            ASSERT_EQ(to_2 >> c & 1, strong_test(numbers[c], 2) ? 1U : 0U) << numbers[c] << " in lane " << c;
            ASSERT_EQ(to_both >> c & 1,
                      strong_test(numbers[c], first[c]) && strong_test(numbers[c], second[c]) ? 1U : 0U)
                << numbers[c] << " to bases " << first[c] << " and " << second[c];
        }
    }
}

TEST_F(WordVectorLanes, DivisorsAreFound) {
    std::vector<ExactDivisor> primes;
    for (const umint p : {3U, 5U, 139U}) primes.emplace_back(p);
    for (int i = 0; i < 2000; ++i) {
        std::array<umint, lanes> numbers;
        for (umint& n : numbers) n = number();
        const unsigned divided = divisors_in_lanes(numbers, primes);
        for (std::size_t c = 0; c < lanes; ++c) {
            const umint n = numbers[c];
            ASSERT_EQ(divided >> c & 1, n % 3 == 0 || n % 5 == 0 || n % 139 == 0 ? 1U : 0U) << n;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Digits, Lanes, testing::ValuesIn(every_number_of_digits()), testing::PrintToStringParamName());

}  // namespace
}  // namespace kesh::kernel
