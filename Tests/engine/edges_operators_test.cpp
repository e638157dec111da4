/**
 * @file   edges_operators_test.cpp
 * @brief  By hand: operators with machine integers on either side, what does not compile, values from empty braces,
 *         signed words.
 */

#include <algorithm>
#include <limits>
#include <numeric>
#include <vector>

#include "engine/edges.h"

namespace kesh::test {
namespace {

KESH_TYPED_TEST(WideEdges, MachineIntegersOnEitherSideOfAProduct) {
    using T = TypeParam;
    const T x = this->top_bit + 12345;
    const umint large = ~umint{0} - 6;
    EXPECT_EQ(large * x, x * T(large));
    EXPECT_EQ(x * large, x * T(large));
    EXPECT_EQ(4'000'000'000U * x, x * T(4'000'000'000U));
    EXPECT_EQ(x * 4'000'000'000U, x * T(4'000'000'000U));
    EXPECT_EQ((mint{1} << 40) * x, x * T(mint{1} << 40));
    EXPECT_EQ(-3 * x, x * T(-3));
    EXPECT_EQ(std::numeric_limits<mint>::min() * x, x * T(std::numeric_limits<mint>::min()));
    T y = x;
    EXPECT_EQ(y *= large, x * T(large));
}

KESH_TYPED_TEST(WideEdges, MachineIntegersInAllOperators) {
    using T = TypeParam;
    const T x = this->top_bit + 12345;
    EXPECT_EQ(1 + x, x + T(1));
    EXPECT_EQ(1 - x, T(1) - x);
    EXPECT_EQ(-1 - x, ~x);
    EXPECT_EQ(x % 10, x % T(10));
    EXPECT_EQ(100 / T(7), 14);
    EXPECT_EQ(100UL % T(7), 2);
    EXPECT_EQ(x & 0xFF, 12345 & 0xFF);
    EXPECT_EQ(0xFFU & x, 12345 & 0xFF);
    EXPECT_EQ(x & -1, x) << "widened by its sign";
    EXPECT_EQ(x | 6, x + 6) << "12345 has these bits clear";
    EXPECT_EQ(6 | x, x + 6);
    EXPECT_EQ(x ^ x, 0);
    EXPECT_EQ(x ^ -1, ~x);
    EXPECT_EQ(1 ^ x, x - 1);
    EXPECT_EQ(~T(0), this->ones);
    EXPECT_EQ(-x + x, 0);
    T y = x;
    y %= 1000;
    EXPECT_EQ(y, x % T(1000));
    y = x;
    y &= 0xF0;
    y |= 1;
    y ^= 3;
    EXPECT_EQ(y, ((12345 & 0xF0) | 1) ^ 3);
    EXPECT_TRUE(5 < x && x > 5UL && 5 == T(5) && T(5) != 6);
}

template <class T, class I>
concept multiplies = requires(T a, I b) { a * b; };
template <class T, class I>
concept multiplies_from_left = requires(T a, I b) { b * a; };
template <class T, class I>
concept adds = requires(T a, I b) { a + b; };

KESH_TYPED_TEST(WideEdges, WhatWouldLoseBitsDoesNotCompile) {
    using T = TypeParam;
    __extension__ typedef __int128 long_integer;
    __extension__ typedef unsigned __int128 long_unsigned;
    static_assert(multiplies<T, umint> && multiplies_from_left<T, umint> && multiplies<T, int> && adds<T, short>);
    static_assert(!multiplies<T, double> && !multiplies_from_left<T, double> && !multiplies<T, float> &&
                  !adds<T, double>);
    static_assert(!multiplies<T, long_integer> && !multiplies_from_left<T, long_unsigned> && !adds<T, long_integer>);
    static_assert(!std::is_constructible_v<T, long_integer> && !std::is_constructible_v<T, long_unsigned> &&
                  !std::is_constructible_v<T, double> && !std::is_constructible_v<intx_t<T::bits>, long_integer>);
    static_assert(!std::is_constructible_v<T, std::nullptr_t, mint>, "no array is no pointer to limbs");
}

KESH_TYPED_TEST(WideEdges, APairOfLiteralsIsAPairOfHalves) {
    using T = TypeParam;
    EXPECT_EQ(T(0, 1), this->middle_bit);
    EXPECT_EQ(T(7, 0), 7);
    const umint limbs[T::limbs] = {9};
    EXPECT_EQ(T(limbs, static_cast<mint>(T::limbs)), 9);
}

KESH_TYPED_TEST(WideEdges, EmptyBracesAreZero) {
    using T = TypeParam;
    using S = intx_t<T::bits>;
    static_assert(std::is_trivially_default_constructible_v<T> && std::is_trivially_default_constructible_v<S>);
    // On storage that holds something else.
    alignas(T) unsigned char storage[sizeof(T)];
    std::fill(std::begin(storage), std::end(storage), static_cast<unsigned char>(0xA5));
    EXPECT_EQ(*new (storage) T{}, 0);
    std::fill(std::begin(storage), std::end(storage), static_cast<unsigned char>(0xA5));
    EXPECT_EQ(*new (storage) S{}, 0);
    std::vector<T> many(1000, T(-1));
    many.clear();
    many.resize(1000);
    EXPECT_TRUE(std::all_of(many.begin(), many.end(), [](const T& a) { return a == 0; }));
    EXPECT_EQ(std::accumulate(many.begin(), many.end(), T{}), 0);
}

KESH_TYPED_TEST(WideEdges, SignedWordsAreOrderedAndAdded) {
    using S = intx_t<TypeParam::bits>;
    const S least(this->top_bit), most(~this->top_bit);
    EXPECT_TRUE(least < -1 && S(-1) < S(0) && S(0) < S(1) && S(1) < most && most > least && least <= least);
    EXPECT_TRUE(S(-5) < S(-4) && S(-5) >= -5 && -6 < S(-5) && S(-5) == -5 && S(5) != -5);
    EXPECT_EQ(S(-5) + S(7), 2);
    EXPECT_EQ(S(5) - S(7), -2);
    EXPECT_EQ(S(-5) * S(7), -35);
    EXPECT_EQ(3 + S(-5), -2);
    EXPECT_EQ(S(-5) + 3L, -2);
    EXPECT_EQ(3 - S(-5), 8);
    EXPECT_EQ(-3 * S(-5), 15);
    EXPECT_EQ(S(-5) * -3, 15);
    EXPECT_EQ(-S(-5), 5);
    EXPECT_EQ(S(-17) / 5, -3);
    EXPECT_EQ(S(-17) % 5, -2);
    EXPECT_EQ(17 / S(-5), -3);
    EXPECT_EQ(-least, least) << "wraps";
    EXPECT_EQ(most + 1, least) << "wraps";
    S sum(0);
    sum += 10;
    sum -= S(3);
    sum *= -2;
    EXPECT_EQ(sum, -14);
    std::vector<S> values{S(3), S(-1), least, S(0), most};
    std::sort(values.begin(), values.end());
    EXPECT_TRUE(std::is_sorted(values.begin(), values.end()) && values.front() == least && values.back() == most);
}

}  // namespace
}  // namespace kesh::test
