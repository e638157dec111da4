/**
 * @file   edges_modular_test.cpp
 * @brief  By hand: inverses and the Montgomery context.
 */

#include "Shared/mont.h"
#include "engine/edges.h"

namespace kesh::test {
namespace {

KESH_TYPED_TEST(WordEdges, Inverses) {
    using T = TypeParam;
    EXPECT_TRUE(equal(math_mod_inv_2(T(1)), this->ones));
    T product;
    math_mul(math_mod_inv_2(T(3)), T(3), product);
    EXPECT_TRUE(equal(product, this->ones));
    EXPECT_TRUE(equal(math_mod_inv_2(this->ones), this->one));

    EXPECT_TRUE(equal(math_invmod(T(3), T(7)), T(5)));
    EXPECT_TRUE(equal(math_invmod(T(10), T(7)), T(5)));
    EXPECT_TRUE(equal(math_invmod(T(2), T(4)), T(0)));
    EXPECT_TRUE(equal(math_invmod(T(0), T(7)), T(0)));
    EXPECT_TRUE(equal(math_invmod(T(5), T(1)), T(0)));
    EXPECT_TRUE(equal(math_invmod(T(1), this->ones), T(1)));
    EXPECT_TRUE(equal(math_invmod(minus(this->ones, T(1)), this->ones), minus(this->ones, T(1))))
        << "-1 is its own inverse";
    EXPECT_TRUE(equal(math_invmod(T(2), this->ones), this->top_bit)) << "2 2^(N-1) = 2^N = 1 modulo 2^N - 1";
}

/** The largest prime below 2^N. */
template <engine_word T>
T largest_prime() {
    constexpr int distance = width_v<T> == 64    ? 59
                             : width_v<T> == 128 ? 159
                             : width_v<T> == 256 ? 189
                             : width_v<T> == 512 ? 569
                                                 : 105;
    return minus(T(0), T(static_cast<umint>(distance)));
}

KESH_TYPED_TEST(WordEdges, MontgomeryConstants) {
    using T = TypeParam;
    const mp_mont_data<T> three(T(3));
    EXPECT_TRUE(equal(three.one(), T(1)) && equal(three.getr2(), T(1)) &&
                equal(three.mul(three.one(), three.one()), three.one()));
    mp_mont_data<T> largest;
    largest.init(this->ones);
    EXPECT_TRUE(equal(largest.one(), T(1)) && equal(largest.getr2(), T(1)) && equal(largest.getM(), this->ones));
    T copy;
    largest.getM(copy);
    EXPECT_TRUE(equal(copy, this->ones));
    largest.one(copy);
    EXPECT_TRUE(equal(copy, T(1)));
    largest.copy(this->top_bit, copy);
    EXPECT_TRUE(equal(copy, this->top_bit));
}

KESH_TYPED_TEST(WordEdges, MontgomerySumsThatCarryOut) {
    using T = TypeParam;
    // Modulo 2^N - 1 the Montgomery form of a is a itself; -1 times -1 is 1 and the intermediate sum exceeds 2^2N.
    const mp_mont_data<T> M(this->ones);
    const T minus_one = minus(this->ones, T(1));
    EXPECT_TRUE(equal(M.mul(minus_one, minus_one), T(1)));
    EXPECT_TRUE(equal(M.add(minus_one, minus_one), minus(minus_one, T(1))));
    EXPECT_TRUE(equal(M.div2(T(1)), this->top_bit));
    T lo, hi, r;
    math_mul(minus_one, minus_one, lo, hi);
    math_mont_reduce(lo, hi, M.m, M.mprime, r);
    EXPECT_TRUE(equal(r, T(1)));
}

KESH_TYPED_TEST(WordEdges, MontgomeryFormsOfOneAndZero) {
    using T = TypeParam;
    const mp_mont_data<T> M(largest_prime<T>());
    EXPECT_TRUE(equal(M.toMontMod(T(1)), M.one()));
    EXPECT_TRUE(equal(M.fromMontMod(M.one()), T(1)));
    EXPECT_TRUE(equal(M.toMontMod(M.getM()), T(0))) << "values need not be reduced";
    EXPECT_TRUE(equal(M.sub(M.one(), M.one()), T(0)));
    EXPECT_TRUE(equal(M.sub(T(0), M.one()), minus(M.getM(), M.one())));
    EXPECT_TRUE(equal(M.mul(T(0), M.one()), T(0)));
}

KESH_TYPED_TEST(WordEdges, PowersByFermat) {
    using T = TypeParam;
    const T p = largest_prime<T>();
    const mp_mont_data<T> M(p);
    const T a = M.toMontMod(T(2)), b = M.toMontMod(minus(p, T(3)));
    EXPECT_TRUE(equal(M.pow(a, minus(p, T(1))), M.one()));
    EXPECT_TRUE(equal(M.pow(b, p), b));
    EXPECT_TRUE(equal(M.pow(a, T(0)), M.one()));
    EXPECT_TRUE(equal(M.pow(T(0), T(5)), T(0)));
    // The inverse by Fermat is the one by Euclid.
    T quotient;
    M.div(M.one(), minus(p, T(3)), quotient);
    EXPECT_TRUE(equal(M.pow(b, minus(p, T(2))), quotient));
}

TEST(MontgomeryContext, PrintsItsFields) {
    ::testing::internal::CaptureStderr();
    mp_mont_data<uintx_t<128>>(uintx_t<128>(7)).dbg_print();
    const std::string text = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(text.find("m      = 0x7\n"), std::string::npos) << text;
    EXPECT_NE(text.find("r1     = 0x4\n"), std::string::npos) << text;
    EXPECT_NE(text.find("r2     = 0x2\n"), std::string::npos) << text;
}

}  // namespace
}  // namespace kesh::test
