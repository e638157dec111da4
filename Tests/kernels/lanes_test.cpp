/**
 * @file   lanes_test.cpp
 * @brief  The tests of numbers side by side against the tests of each alone, at every size and level, on skewed numbers
 *         of different lengths.
 */

#include "Shared/kernel/lanes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "Shared/kernel/narrow_lanes.h"
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

/** A level and a size of numbers in its lanes. */
struct LaneSize {
    Level level;
    int size;
};

void PrintTo(const LaneSize& lane, std::ostream* out) {
    *out << name(lane.level) << ", size " << lane.size;
}

class Lanes : public testing::TestWithParam<LaneSize> {
  protected:
    void SetUp() override {
        if (!force(GetParam().level)) GTEST_SKIP() << "this processor has no " << name(GetParam().level);
        ASSERT_TRUE(has_lanes(GetParam().level));
    }
    void TearDown() override {
        force(supported_level());
    }

    static int size() {
        return GetParam().size;
    }
    /** The largest number of bits that the lanes hold. */
    static unsigned most_bits() {
        const auto digits = static_cast<unsigned>(size());
        return std::min(1024U, GetParam().level == Level::ifma ? 52 * digits - 4 : 64 * digits);
    }
    static std::size_t most_to_base_2() {
        return lanes_to_base_2(GetParam().level, size());
    }
    static std::size_t most_in_lucas() {
        return lanes_in_lucas(GetParam().level, size());
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

    /** Returns the verdicts of the lanes, after comparing them: those of all lanes, or of the first `count`. */
    static unsigned check_strong_test(const std::array<Number, lanes>& numbers, std::size_t count = most_to_base_2()) {
        const unsigned passed = strong_base2_in_lanes(GetParam().level, group_of(numbers), size(), count);
        for (std::size_t c = 0; c < count; ++c)
            EXPECT_EQ(passed >> c & 1, alone(numbers[c], [](const auto& m) { return strong_base2(m); }) ? 1U : 0U)
                << to_mpz(numbers[c]) << " in lane " << c;
        return passed;
    }

    static unsigned check_lucas(const std::array<Number, lanes>& numbers, const LaneParameters& q,
                                std::size_t count = most_in_lucas()) {
        const unsigned passed = lucas_u_vanishes_in_lanes(GetParam().level, group_of(numbers), q, size(), count);
        for (std::size_t c = 0; c < count; ++c)
            EXPECT_EQ(passed >> c & 1,
                      alone(numbers[c], [&](const auto& m) { return lucas_u_vanishes(m, q[c]); }) ? 1U : 0U)
                << to_mpz(numbers[c]) << " with Q = " << q[c] << " in lane " << c;
        return passed;
    }

    const int group_repetitions = std::max(repetitions(1500 / size() / size()), 3) + 1;

    Skewed random{20261122 + static_cast<std::uint64_t>(size())};
};

/** The sizes whose Lucas test is done in lanes. */
class LucasLanes : public Lanes {};

TEST_P(Lanes, StrongBase2AgreesWithTheTestAlone) {
    unsigned passed = 0;
    for (int i = 0; i < group_repetitions; ++i) {
        std::array<Number, lanes> numbers;
        for (Number& n : numbers) n = number();
        passed |= check_strong_test(numbers, most_to_base_2() - static_cast<std::size_t>(i) % most_to_base_2());
    }
    EXPECT_NE(passed, 0);
}

TEST_P(LucasLanes, ConditionAgreesWithTheTestAlone) {
    unsigned passed = 0;
    for (int i = 0; i < group_repetitions; ++i) {
        std::array<Number, lanes> numbers;
        LaneParameters q;
        for (std::size_t c = 0; c < lanes; ++c) {
            numbers[c] = number();
            do {
                q[c] = static_cast<mint>(random.below(20)) - 10;
                if (random.below(4) == 0) q[c] *= static_cast<mint>(random.below(1 << 20));
            } while (q[c] == 0 || gcd(to_mpz(numbers[c]), mpz_class(q[c])) != 1);
        }
        passed |= check_lucas(numbers, q, most_in_lucas() - static_cast<std::size_t>(i) % most_in_lucas());
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
    for (unsigned s = 1; s < 52; s += size() < 6 ? 1 : 10)
        for (unsigned factor : {3U, 5U})
            for (unsigned top : {65U, bits - 4})
                if (top > 64 && top > s)
                    all.push_back(from_mpz<16>((mpz_class(factor) << s) + (mpz_class(1) << top) + 1));
    while (all.size() % lanes != 0) all.push_back(all.front());
    const bool in_lucas = most_in_lucas() > 1;
    for (std::size_t i = 0; i < all.size(); i += in_lucas ? most_in_lucas() : most_to_base_2()) {
        std::array<Number, lanes> numbers;
        for (std::size_t c = 0; c < lanes; ++c) numbers[c] = all[(i + c) % all.size()];
        check_strong_test(numbers);
        if (in_lucas) check_lucas(numbers, {1, -1, 2, -2, -1, -1, 4, -1, 1, -1, 2, -2, -1, -1, 4, -1});
    }
}

std::vector<LaneSize> every_size() {
    std::vector<LaneSize> all;
    for (const Level level : {Level::adx, Level::ifma})
        for (int bits = 65; bits <= 1024; ++bits)
            if (all.empty() || all.back().size != lane_size(level, bits))
                all.push_back({level, lane_size(level, bits)});
    return all;
}

std::vector<LaneSize> sizes_in_lucas() {
    std::vector<LaneSize> sizes = every_size();
    std::erase_if(sizes, [](const LaneSize& lane) { return lanes_in_lucas(lane.level, lane.size) == 1; });
    return sizes;
}

std::string name_of(const testing::TestParamInfo<LaneSize>& info) {
    return std::string(name(info.param.level)) + "_" + std::to_string(info.param.size);
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
        std::array<umint, vector_words> numbers;
        for (umint& n : numbers) n = number();
        const unsigned divided = divisors_in_lanes(numbers, primes);
        for (std::size_t c = 0; c < vector_words; ++c) {
            const umint n = numbers[c];
            ASSERT_EQ(divided >> c & 1, n % 3 == 0 || n % 5 == 0 || n % 139 == 0 ? 1U : 0U) << n;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, Lanes, testing::ValuesIn(every_size()), name_of);
INSTANTIATE_TEST_SUITE_P(Sizes, LucasLanes, testing::ValuesIn(sizes_in_lucas()), name_of);

}  // namespace
}  // namespace kesh::kernel
