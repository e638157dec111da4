/**
 * @file   edges_division_test.cpp
 * @brief  By hand: products and division at the ends of the range, the paths of the reciprocal series, prepared
 *         divisors.
 */

#include <bit>

#include "Shared/fastdiv.h"
#include "engine/edges.h"

namespace kesh::test {
namespace {

KESH_TYPED_TEST(WordEdges, Products) {
    using T = TypeParam;
    T lo, hi;
    math_mul(this->ones, this->ones, lo, hi);
    EXPECT_TRUE(equal(lo, this->one) && equal(hi, minus(this->ones, T(1))));
    math_mul(this->ones, this->zero, lo, hi);
    EXPECT_TRUE(equal(lo, this->zero) && equal(hi, this->zero));
    math_mul(this->one, this->ones, lo, hi);
    EXPECT_TRUE(equal(lo, this->ones) && equal(hi, this->zero));
    math_mul(this->middle_bit, this->middle_bit, lo, hi);
    EXPECT_TRUE(equal(lo, this->zero) && equal(hi, this->one));
    math_mul(this->middle_bit, this->middle_bit, lo);
    EXPECT_TRUE(equal(lo, this->zero));
    math_mul(this->ones, this->ones, lo);
    EXPECT_TRUE(equal(lo, this->one));
    math_mul(this->ones, this->one, lo);
    EXPECT_TRUE(equal(lo, this->ones));
    math_mul_21(this->ones, this->ones, this->ones, lo, hi);
    EXPECT_TRUE(equal(lo, this->ones) && equal(hi, minus(this->ones, T(1)))) << "(2^2N - 1)(2^N - 1) / 2^N";
}

KESH_TYPED_TEST(WordEdges, DivisionByPowersOfTwo) {
    using T = TypeParam;
    constexpr mint N = width_v<T>;
    OperandSource source(2);
    for (mint n = 0; n < N; ++n) {
        const T lo = source.value<T>(), hi = source.value<T>();
        T q, r, shifted, dropped, mask = minus(power_of_two<T>(n), T(1));
        reference::DivisionSteps steps;
        reference::math_divmod_imp(lo, hi, power_of_two<T>(n), q, r, &steps);
        math_right_shift(lo, hi, n, shifted, dropped);
        EXPECT_TRUE(equal(q, shifted));
        for (std::size_t i = 0; i < limbs_v<T>; ++i) limbs_of(mask)[i] &= limbs_of(lo)[i];
        EXPECT_TRUE(equal(r, mask));
        EXPECT_EQ(steps.taken, reference::DivisionSteps::Path::power_of_two);
        EXPECT_EQ(steps.iterations, 0);
        math_divmod_imp(lo, hi, power_of_two<T>(n), q, r);
        EXPECT_TRUE(equal(q, shifted) && equal(r, mask));
    }
}

KESH_TYPED_TEST(WordEdges, DivisionAtTheEndsOfTheRange) {
    using T = TypeParam;
    T q, r;
    // Every form of division gives these.
    const auto divides = [&](const T& lo, const T& hi, const T& d, const T& expected_q, const T& expected_r) {
        reference::math_divmod_imp(lo, hi, d, q, r);
        EXPECT_TRUE(equal(q, expected_q) && equal(r, expected_r));
        math_divmod_imp(lo, hi, d, q, r);
        EXPECT_TRUE(equal(q, expected_q) && equal(r, expected_r));
        math_divmod(lo, hi, d, q, r);
        EXPECT_TRUE(equal(q, expected_q) && equal(r, expected_r));
    };
    divides(T(7), T(0), T(3), T(2), T(1));
    divides(T(7), this->ones, T(1), T(7), T(0));
    divides(T(5), T(0), T(6), T(0), T(5));
    divides(this->ones, T(0), this->ones, T(1), T(0));
    divides(this->ones, minus(this->ones, T(1)), this->ones, this->ones, minus(this->ones, T(1)));
    // hi = d + 1, lo = 0 at d = 2^N - 2: 2^N mod d = 2, (d + 1) 2^N = d 2^N + 2^N.
    divides(T(0), this->ones, minus(this->ones, T(1)), T(1), T(2));
    // d = 3 with a high word far above it: 2^2N - 1 = 3 q.
    T third;
    math_divmod(this->ones, T(3), third, r);
    EXPECT_TRUE(equal(r, this->zero));
    divides(this->ones, this->ones, T(3), third, T(0));
    // The estimate from the top limbs is too large by two here: d = 2^(N-1) + 2^(N/2) - 1, n = d 2^N - 1.
    const T d = minus(plus(this->top_bit, this->middle_bit), T(1));
    divides(this->ones, minus(d, T(1)), d, this->ones, minus(d, T(1)));
}

KESH_TYPED_TEST(WordEdges, SmallNumeratorsSkipTheSeries) {
    using T = TypeParam;
    T q, r;
    reference::DivisionSteps steps;
    reference::math_divmod_imp(minus(this->top_bit, T(1)), this->zero, this->ones, q, r, &steps);
    EXPECT_TRUE(equal(q, this->zero) && equal(r, minus(this->top_bit, T(1))));
    EXPECT_EQ(steps.taken, reference::DivisionSteps::Path::small_numerator);
    EXPECT_EQ(steps.iterations, 0);
}

KESH_TYPED_TEST(WordEdges, TheSeriesRunsAtLeastOnceAndAtMostLogNTimes) {
    using T = TypeParam;
    const int most = std::countr_zero(static_cast<umint>(width_v<T>));
    T q, r;
    reference::DivisionSteps steps;
    reference::math_divmod_imp(this->ones, this->one, this->ones, q, r, &steps);  // x = 1 vanishes at once
    EXPECT_EQ(steps.iterations, 1);
    steps = reference::DivisionSteps();
    const T slowest = plus(this->top_bit, T(1));  // x = 2^(N-1) - 1
    reference::math_divmod_imp(this->ones, this->one, slowest, q, r, &steps);
    EXPECT_EQ(steps.iterations, most);
}

KESH_TYPED_TEST(WordEdges, ZeroDivisorsReturn) {
    using T = TypeParam;
    T q, r;
    for (const T& lo : {this->zero, this->one, this->ones}) {
        for (const T& hi : {this->zero, this->one, this->ones}) {
            reference::math_divmod_imp(lo, hi, this->zero, q, r);
            math_divmod_imp(lo, hi, this->zero, q, r);
            math_divmod(lo, hi, this->zero, q, r);
            math_divmod(lo, this->zero, q, r);
        }
    }
    if constexpr (wide_word<T>) {
        intx_t<T::bits> sq, sr;
        intx_t<T::bits>::divmod(intx_t<T::bits>(-7), intx_t<T::bits>(0), sq, sr);
        r = this->one / this->zero + this->one % this->zero + this->one / 0;
    }
    SUCCEED() << "no trap and no endless loop";
}

KESH_TYPED_TEST(WideEdges, DivisionByMachineIntegers) {
    using T = TypeParam;
    EXPECT_TRUE(T(100) / 7 == 14);
    EXPECT_TRUE(this->ones / -1 == 1) << "-1 stands for 2^N - 1";
    T a(100);
    EXPECT_TRUE((a /= T(7)) == 14 && (a %= T(5)) == 4);
    T b(100);
    EXPECT_TRUE((b /= 7) == 14);
    EXPECT_TRUE(T(100) / 4294967298UL == 0 && T(100) / 4294967296L == 0) << "a divisor is not narrowed to an int";
    EXPECT_TRUE(this->ones / ~umint{0} == this->ones / T(~umint{0}));
    EXPECT_TRUE(this->ones / -7 == 1 && T(100) / -7 == 0) << "-7 stands for 2^N - 7";
    EXPECT_TRUE(T(1) * -1 == T(~umint{0})) << "the factor on the right is a limb";
    EXPECT_TRUE(-1 * T(1) == this->ones) << "the one on the left is not";
}

KESH_TYPED_TEST(WideEdges, PreparedDivisors) {
    using T = TypeParam;
    for (const umint m : {umint{3}, umint{541}, umint{3989930175}, umint{1} << 63 | 1, ~umint{0}}) {
        const fastdiv_data<T, unsigned long> divisor(m);
        EXPECT_EQ(divisor.s, math_num_bits(m) - 1);
        const T largest = minus(this->top_bit, T(1));
        EXPECT_TRUE(equal(largest / divisor, largest / T(m)));
        EXPECT_TRUE(equal(T(0) / divisor, T(0)));
        EXPECT_TRUE(equal(T(m - 1) / divisor, T(0)));
        EXPECT_TRUE(equal(T(m) / divisor, T(1)));
        const T k = this->ones / T(m);
        EXPECT_TRUE(equal((k * divisor) / divisor, k));
    }
    const fastdiv_data<T, unsigned long> m(3989930175);
    EXPECT_EQ(m.s, 31);
}

}  // namespace
}  // namespace kesh::test
