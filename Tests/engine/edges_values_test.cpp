/**
 * @file   edges_values_test.cpp
 * @brief  By hand: construction, widening, comparison, carries out, shift counts out of range, bit counts.
 */

#include <fstream>
#include <iterator>
#include <limits>
#include <set>
#include <sstream>
#include <string>

#include "Shared/intx/level.h"
#include "engine/edges.h"

namespace kesh::test {
namespace {

template <wide_word T>
bool limbs_are(const T& a, umint lowest, umint others) {
    bool all = a.limb[0] == lowest;
    for (std::size_t i = 1; i < T::limbs; ++i) all = all && a.limb[i] == others;
    return all;
}

/** What the processor and the system have, as the kernel lists it. */
std::set<std::string> processor_flags() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("flags", 0) != 0) continue;
        std::istringstream words(line.substr(line.find(':') + 1));
        return {std::istream_iterator<std::string>(words), {}};
    }
    return {};
}

TEST(Level, IsThatOfTheProcessor) {
    const std::set<std::string> flags = processor_flags();
    if (flags.empty()) GTEST_SKIP() << "the system does not list the processor's flags";
    const auto has = [&](auto... names) { return (flags.contains(names) && ...); };
    const Level expected = !has("bmi2", "adx", "avx2")                             ? Level::portable
                           : !has("avx512f", "avx512dq", "avx512vl", "avx512ifma") ? Level::adx
                                                                                   : Level::ifma;
    EXPECT_EQ(supported_level(), expected) << name(supported_level());
    EXPECT_EQ(detail::detect_level(), expected);
}

KESH_TYPED_TEST(WideEdges, MachineIntegersWiden) {
    using T = TypeParam;
    EXPECT_TRUE(limbs_are(T(5), 5, 0));
    EXPECT_TRUE(limbs_are(T(5L), 5, 0));
    EXPECT_TRUE(limbs_are(T(-1), ~umint{0}, ~umint{0}));
    EXPECT_TRUE(limbs_are(T(-1L), ~umint{0}, ~umint{0}));
    EXPECT_TRUE(limbs_are(T(std::numeric_limits<int>::min()), 0xFFFFFFFF80000000, ~umint{0}));
    EXPECT_TRUE(limbs_are(T(std::numeric_limits<mint>::min()), umint{1} << 63, ~umint{0}));
    EXPECT_TRUE(limbs_are(T(~umint{0}), ~umint{0}, 0));
    EXPECT_TRUE(limbs_are(T(static_cast<unsigned char>(200)), 200, 0));
}

KESH_TYPED_TEST(WideEdges, StorageIsLimbsAndHalves) {
    using T = TypeParam;
    using half = typename T::half_type;
    const half lo(7), hi(9);
    const T a(lo, hi);
    EXPECT_TRUE(equal(a.half[0], lo) && equal(a.half[1], hi) && equal(a.lo(), lo) && equal(a.hi(), hi));
    EXPECT_EQ(a.limb[0], 7U);
    EXPECT_EQ(a.limb[T::limbs / 2], 9U);
    EXPECT_TRUE(equal(T(lo), T(7)));
    EXPECT_TRUE(equal(T(uintx_t<128>(11)), T(11)));
}

KESH_TYPED_TEST(WideEdges, ArraysAreCopiedAndNothingIsCleared) {
    using T = TypeParam;
    umint limbs[T::limbs];
    for (std::size_t i = 0; i < T::limbs; ++i) limbs[i] = i + 1;
    const T whole(limbs, static_cast<mint>(T::limbs));
    for (std::size_t i = 0; i < T::limbs; ++i) EXPECT_EQ(whole.limb[i], i + 1);
    T partly(-1);
    intx_from_array(partly, limbs, 1);
    EXPECT_TRUE(limbs_are(partly, 1, ~umint{0}));
}

KESH_TYPED_TEST(WideEdges, Conversions) {
    using T = TypeParam;
    const T a = plus(this->top_bit, T(3));
    EXPECT_EQ(static_cast<umint>(a), 3U);
    EXPECT_EQ(static_cast<long>(T(-2)), -2L);
    EXPECT_TRUE(static_cast<bool>(this->top_bit));
    EXPECT_FALSE(static_cast<bool>(this->zero));
    EXPECT_TRUE(!this->zero);
    EXPECT_FALSE(!a);
}

KESH_TYPED_TEST(WideEdges, ComparisonWithMachineIntegersWidensThem) {
    using T = TypeParam;
    EXPECT_TRUE(this->ones == -1);
    EXPECT_TRUE(T(~umint{0}) != -1);
    EXPECT_TRUE(T(~umint{0}) == ~umint{0});
    EXPECT_TRUE(this->ones > 5 && T(4) < 5 && T(5) < -1 && this->top_bit < -1);
    EXPECT_TRUE(this->middle_bit > ~umint{0} - 1 || T::bits == 128);
    EXPECT_TRUE(T(4) <= 4 && T(4) >= 4);
    // The most significant limb decides.
    EXPECT_TRUE(this->top_bit > minus(this->top_bit, T(1)));
}

KESH_TYPED_TEST(WideEdges, IncrementAndDecrementWrap) {
    using T = TypeParam;
    T a = this->ones;
    EXPECT_TRUE(a++ == this->ones && a == 0 && --a == this->ones && ++a == 0 && a-- == 0 && a == this->ones);
    EXPECT_TRUE(T(0) - 1 == this->ones && T(0) + -1 == this->ones && (a += 2L) == 1 && (a -= 2) == this->ones);
}

TEST(LimbPrimitives, PortableFormsEqualTheBuiltins) {
    OperandSource source(1);
    for (int i = 0; i < 100000; ++i) {
        const umint a = source.value<umint>(), b = source.value<umint>();
        for (const std::uint8_t c : {std::uint8_t{0}, std::uint8_t{1}}) {
            umint r = 0, s = 0;
            ASSERT_EQ(math_addcarry(c, a, b, r), reference::math_addcarry(c, a, b, s));
            ASSERT_EQ(r, s);
            ASSERT_EQ(math_subborrow(c, a, b, r), reference::math_subborrow(c, a, b, s));
            ASSERT_EQ(r, s);
        }
        umint lo = 0, hi = 0, portable_lo = 0, portable_hi = 0;
        math_mul(a, b, lo, hi);
        reference::math_mul(a, b, portable_lo, portable_hi);
        ASSERT_TRUE(lo == portable_lo && hi == portable_hi);
        ASSERT_EQ(math_count_leading_zeros(a), reference::math_count_leading_zeros(a));
        ASSERT_EQ(math_count_trailing_zeros(a), reference::math_count_trailing_zeros(a));
    }
}

KESH_TYPED_TEST(WordEdges, CarriesAndBorrows) {
    using T = TypeParam;
    T r;
    EXPECT_EQ(math_addcarry(0, this->ones, this->one, r), 1);
    EXPECT_TRUE(equal(r, this->zero));
    EXPECT_EQ(math_addcarry(1, this->ones, this->ones, r), 1);
    EXPECT_TRUE(equal(r, this->ones));
    EXPECT_EQ(math_addcarry(1, this->zero, this->zero, r), 0);
    EXPECT_TRUE(equal(r, this->one));
    EXPECT_EQ(math_subborrow(0, this->zero, this->one, r), 1);
    EXPECT_TRUE(equal(r, this->ones));
    EXPECT_EQ(math_subborrow(1, this->zero, this->zero, r), 1);
    EXPECT_TRUE(equal(r, this->ones));
    EXPECT_EQ(math_subborrow(1, this->zero, this->ones, r), 1);
    EXPECT_TRUE(equal(r, this->zero));
}

KESH_TYPED_TEST(WordEdges, BitCounts) {
    using T = TypeParam;
    constexpr mint N = width_v<T>;
    EXPECT_EQ(math_count_leading_zeros(this->zero), N);
    EXPECT_EQ(math_count_trailing_zeros(this->zero), N);
    EXPECT_EQ(math_num_bits(this->zero), 0);
    EXPECT_EQ(math_num_bits(this->one), 1);
    EXPECT_EQ(math_num_bits(this->ones), N);
    for (mint n = 0; n < N; ++n) {
        const T bit = power_of_two<T>(n);
        EXPECT_EQ(math_count_trailing_zeros(bit), n);
        EXPECT_EQ(math_count_leading_zeros(bit), N - 1 - n);
    }
}

KESH_TYPED_TEST(WordEdges, EveryShiftCount) {
    using T = TypeParam;
    constexpr mint N = width_v<T>;
    for (mint n = 0; n < N; ++n) {
        T left, right;
        math_left_shift(this->ones, n, left);
        EXPECT_EQ(math_count_trailing_zeros(left), n);
        EXPECT_EQ(math_num_bits(left), N);
        math_right_shift(this->ones, n, right);
        EXPECT_EQ(math_num_bits(right), N - n);
        math_left_shift_equal(right, n);
        EXPECT_TRUE(equal(left, right));
        T lo, hi;
        math_left_shift(this->ones, this->zero, n, lo, hi);
        EXPECT_EQ(math_num_bits(hi), n);
        math_right_shift(lo, hi, n, lo, hi);
        EXPECT_TRUE(equal(lo, this->ones) && equal(hi, this->zero));
    }
}

KESH_TYPED_TEST(WordEdges, LeftShiftOutOfRangeGivesZero) {
    using T = TypeParam;
    constexpr mint N = width_v<T>;
    for (const mint n : {N, N + 1, 2 * N, std::numeric_limits<mint>::max()}) {
        T r = this->ones;
        math_left_shift(this->ones, n, r);
        EXPECT_TRUE(equal(r, this->zero));
        r = this->ones;
        math_left_shift_equal(r, n);
        EXPECT_TRUE(equal(r, this->zero));
    }
}

KESH_TYPED_TEST(WordEdges, RightShiftOutOfRangeWritesNothing) {
    using T = TypeParam;
    constexpr mint N = width_v<T>;
    for (const mint n : {N, N + 1, 2 * N, mint{-1}, std::numeric_limits<mint>::min()}) {
        T r = this->top_bit;
        math_right_shift(this->ones, n, r);
        EXPECT_TRUE(equal(r, this->top_bit));
        r = this->ones;
        math_right_shift_equal(r, n);
        EXPECT_TRUE(equal(r, this->ones));
    }
}

KESH_TYPED_TEST(WideEdges, WholeLimbShifts) {
    using T = TypeParam;
    T a;
    for (std::size_t i = 0; i < T::limbs; ++i) a.limb[i] = i + 1;
    for (std::size_t moved = 0; moved < T::limbs; ++moved) {
        const T left = a << static_cast<mint>(64 * moved), right = a >> static_cast<mint>(64 * moved);
        for (std::size_t i = 0; i < T::limbs; ++i) {
            EXPECT_EQ(left.limb[i], i < moved ? 0 : i - moved + 1);
            EXPECT_EQ(right.limb[i], i + moved < T::limbs ? i + moved + 1 : 0);
        }
    }
    EXPECT_TRUE((T(1) << T::bits) == 0 && (a >> T::bits) == a);
}

}  // namespace
}  // namespace kesh::test
