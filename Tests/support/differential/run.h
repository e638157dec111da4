/**
 * @file   run.h
 * @brief  Runs a check on skewed random operands and on all pairs of hard cases, at each level of the engine.
 */
#pragma once

#include "Shared/intx/level.h"
#include "support/agreement.h"
#include "support/typed_tests.h"
#include "support/widths.h"

namespace kesh::test {

/**
 * The number of sets of operands up to 256 bits in every run; at 512 bits it is half of this, at 1024 a quarter,
 * because the cost of a set grows with the square of the width. The flag --sets=N of the test program sets it, --seed=N
 * makes another stream, and --stride=N takes every N-th pair of hard cases.
 */
inline std::uint64_t usual_sets = 100'000;
inline std::uint64_t seed = 0;
inline std::uint64_t stride = 1;

template <engine_word T>
std::uint64_t usual_sets_of() {
    return width_v<T> <= 256 ? usual_sets : usual_sets * 256 / static_cast<std::uint64_t>(width_v<T>);
}

/** The number of sets of operands in the tests named Long_. */
constexpr std::uint64_t long_sets = 10'000'000;

/** The engine has forms for all levels. */
inline constexpr Level engine_levels[] = {Level::portable, Level::adx, Level::ifma};

/** Forces the level, or the highest one of a processor that lacks it. */
inline void at_level(Level wanted) {
    force(std::min(wanted, supported_level()));
}

template <engine_word T, class Check>
void run_random(std::uint64_t sets, Check check) {
    OperandSource source(seed + sets + static_cast<std::uint64_t>(width_v<T>));
    for (std::uint64_t i = 0; i < sets; ++i) {
        at_level(engine_levels[i % 3]);
        const Verdict v = check(source.set<T>());
        ASSERT_TRUE(v.empty()) << v << " at level " << name(level());
    }
    at_level(supported_level());
}

/** All ordered pairs of hard cases, as operands of each other and as (high word, divisor). */
template <engine_word T, class Check>
void run_hard_cases(Check check) {
    const std::vector<T>& cases = hard_cases<T>();
    mint count = 0;
    std::uint64_t pair = 0;
    for (const T& x : cases) {
        for (const T& y : cases) {
            if (pair++ % stride != 0) continue;
            const umint limb = limbs_of(y)[0];
            const T& other = cases[static_cast<std::size_t>(count) % cases.size()];
            at_level(engine_levels[count % 3]);
            for (const Operands<T>& s : {Operands<T>{x, y, y, x, limb, count % (width_v<T> + 2), 0},
                                         Operands<T>{other, x, x, y, limb, count % (width_v<T> + 2), 1}}) {
                const Verdict v = check(s);
                ASSERT_TRUE(v.empty()) << v << " at level " << name(level());
            }
            count += 7;
        }
    }
    at_level(supported_level());
}

}  // namespace kesh::test

/** One family of operations on the given type list: random operands, hard cases, and the long run. */
#define KESH_DIFFERENTIAL_TESTS(name, types, check)                                                      \
    template <class T>                                                                                   \
    class name : public ::testing::Test {};                                                              \
    KESH_TYPED_SUITE(name, types, ::kesh::test::WidthNames);                                             \
    KESH_TYPED_TEST(name, RandomOperands) {                                                              \
        ::kesh::test::run_random<TypeParam>(::kesh::test::usual_sets_of<TypeParam>(), check<TypeParam>); \
    }                                                                                                    \
    KESH_TYPED_TEST(name, HardCases) {                                                                   \
        ::kesh::test::run_hard_cases<TypeParam>(check<TypeParam>);                                       \
    }                                                                                                    \
    KESH_TYPED_TEST(name, Long_RandomOperands) {                                                         \
        ::kesh::test::run_random<TypeParam>(::kesh::test::long_sets, check<TypeParam>);                  \
    }
