/**
 * @file   edges_roots_test.cpp
 * @brief  By hand: integer square roots.
 */

#include "Shared/isqrt.h"
#include "engine/edges.h"

namespace kesh::test {
namespace {

KESH_TYPED_TEST(WordEdges, SmallRoots) {
    using T = TypeParam;
    const int expected[][3] = {{0, 0, 0}, {1, 1, 0}, {2, 1, 1}, {3, 1, 2},
                               {4, 2, 0}, {8, 2, 4}, {9, 3, 0}, {170, 13, 1}};
    for (const auto& [a, root, rest] : expected) {
        T s, r;
        math_isqrt(T(static_cast<umint>(a)), s, r);
        EXPECT_TRUE(equal(s, T(static_cast<umint>(root))) && equal(r, T(static_cast<umint>(rest)))) << a;
    }
}

TEST(LimbRoot, NearTheTop) {
    const umint m = 0xFFFFFFFF;
    umint s = 0, r = 0;
    math_isqrt(~umint{0}, s, r);
    EXPECT_TRUE(s == m && r == (umint{1} << 33) - 2);
    math_isqrt(m * m - 1, s, r);
    EXPECT_TRUE(s == m - 1 && r == (umint{1} << 33) - 4);
    math_isqrt(m * m, s, r);
    EXPECT_TRUE(s == m && r == 0);
    static_assert([] {
        umint root = 0, rest = 0;
        math_isqrt(umint{1} << 63, root, rest);
        return root == 3037000499 && rest == (umint{1} << 63) - umint{3037000499} * 3037000499;
    }());
}

KESH_TYPED_TEST(WideEdges, RootsOfSquaresAndTheirNeighbours) {
    using T = TypeParam;
    // 3 2^n, not 2^n: the latter's neighbours begin with a limb of ones, see TheTopOfTheRangeKeepsItsEstimate.
    for (mint n = 1; n < T::bits / 2 - 2; ++n) {
        for (const int offset : {-1, 0, 1}) {
            const T k = 3 * power_of_two<T>(n) + offset;
            T s, r;
            math_isqrt(k * k, s, r);
            EXPECT_TRUE(equal(s, k) && equal(r, T(0))) << n;
            math_isqrt(k * k - 1, s, r);
            EXPECT_TRUE(equal(s, k - 1) && equal(r, (k << 1) - 2)) << n;
        }
    }
}

KESH_TYPED_TEST(WideEdges, RootsDoNotDependOnTheWidth) {
    using T = TypeParam;
    using half = typename T::half_type;
    const half value = minus(power_of_two<half>(width_v<half> - 2), half(5));
    half s, r;
    T wide_s, wide_r;
    math_isqrt(value, s, r);
    math_isqrt(T(value), wide_s, wide_r);
    EXPECT_TRUE(equal(wide_s, T(s)) && equal(wide_r, T(r)));
}

TEST(WideRoot, TheTopOfTheRangeKeepsItsEstimate) {
    using T = uintx_t<128>;
    const T first = T(umint{0}, ~umint{0});  // 2^128 - 2^64
    for (const T& a : {T(-1), first}) {
        T s, r;
        math_isqrt(a, s, r);
        EXPECT_TRUE(equal(s, T(umint{0}, umint{1})) && equal(r, a));
    }
    T s, r;
    math_isqrt(first - 1, s, r);
    EXPECT_TRUE(equal(s, T(~umint{0})));

    // One level up, the half's root 2^64 and its rest, the half itself, enter the division: 2^128 + (2^192 - 1) / 2^65.
    using U = uintx_t<256>;
    U wide_s, wide_r;
    math_isqrt(U(-1), wide_s, wide_r);
    const U passed_up = (U(3) << 127) - 1;
    EXPECT_TRUE(equal(wide_s, passed_up) && equal(wide_r, U(-1) - passed_up * passed_up));
}

}  // namespace
}  // namespace kesh::test
