/**
 * @file   contracts_test.cpp
 * @brief  Each precondition of the engine's public functions is checked where contracts are on: what breaks one ends
 *         the program with one line that names the function.
 */

#include "Shared/fastdiv.h"
#include "Shared/isqrt.h"
#include "Shared/jacobi.h"
#include "Shared/mont.h"
#include "engine/edges.h"

static_assert(KESH_CONTRACTS == 1, "this program is built with contracts on");

namespace kesh::test {
namespace {

#define EXPECT_BROKEN(function, ...) EXPECT_DEATH(__VA_ARGS__, function ": precondition broken")

template <class T>
class Contracts : public Edges<T> {};
KESH_TYPED_SUITE(Contracts, AllWords, WidthNames);

template <class T>
class WideContracts : public Edges<T> {};
KESH_TYPED_SUITE(WideContracts, WideWords, WidthNames);

KESH_TYPED_TEST(Contracts, CarriesAreBits) {
    using T = TypeParam;
    T r(0);
    unsigned char co = 0;
    EXPECT_BROKEN("math_addcarry", math_addcarry(2, T(1), T(1), r));
    EXPECT_BROKEN("math_subborrow", math_subborrow(2, T(1), T(1), r));
    EXPECT_BROKEN("math_mul_ui", math_mul_ui(2, 0, T(1), 1, co, r));
}

KESH_TYPED_TEST(Contracts, ShiftCounts) {
    using T = TypeParam;
    constexpr mint N = width_v<T>;
    T r(0), lo(0), hi(0);
    EXPECT_BROKEN("math_left_shift", math_left_shift(T(1), -1, r));
    EXPECT_BROKEN("math_left_shift", math_left_shift(T(1), T(1), N, lo, hi));
    EXPECT_BROKEN("math_left_shift", math_left_shift(T(1), T(1), -1, lo, hi));
    EXPECT_BROKEN("math_right_shift", math_right_shift(T(1), T(1), N, lo, hi));
    EXPECT_BROKEN("math_right_shift", math_right_shift(T(1), T(1), -1, lo, hi));
}

KESH_TYPED_TEST(WideContracts, ResultsOfProductsAreOtherObjects) {
    using T = TypeParam;
    T a(3), b(5), hi(0);
    EXPECT_BROKEN("math_mul", math_mul(a, b, a, hi));
    EXPECT_BROKEN("math_mul", math_mul(a, b, b, hi));
    EXPECT_BROKEN("math_mul", math_mul(a, b, hi, a));
    EXPECT_BROKEN("math_mul", math_mul(a, b, hi, hi));
    EXPECT_BROKEN("math_mul", math_mul(a, b, b));
}

KESH_TYPED_TEST(WideContracts, LengthsOfArrays) {
    using T = TypeParam;
    constexpr mint limbs = static_cast<mint>(T::limbs);
    const umint in[T::limbs + 1] = {1};
    T a(0);
    EXPECT_BROKEN("intx_from_array", intx_from_array(a, in, limbs + 1));
    EXPECT_BROKEN("intx_from_array", intx_from_array(a, in, -1));
    EXPECT_BROKEN("intx_from_array", a = T(in, limbs + 1));
}

KESH_TYPED_TEST(Contracts, BasesOfText) {
    EXPECT_BROKEN("to_string", (void)to_string(TypeParam(1), 8));
}

KESH_TYPED_TEST(Contracts, Inverses) {
    using T = TypeParam;
    EXPECT_BROKEN("math_mod_inv_2", (void)math_mod_inv_2(T(2)));
    EXPECT_BROKEN("math_invmod", (void)math_invmod(T(3), T(0)));
    EXPECT_BROKEN("math_invmod", (void)reference::math_invmod(T(3), T(0)));
}

KESH_TYPED_TEST(Contracts, MontgomeryModuliAreOddAndAboveOne) {
    using T = TypeParam;
    EXPECT_BROKEN("init", (void)mp_mont_data<T>(T(4)));
    EXPECT_BROKEN("init", (void)mp_mont_data<T>(T(1)));
    EXPECT_BROKEN("init", (void)mp_mont_data<T>(T(0)));
}

KESH_TYPED_TEST(Contracts, MontgomeryOperandsAreResidues) {
    using T = TypeParam;
    const mp_mont_data<T> M(T(7));
    T r(0);
    EXPECT_BROKEN("add", (void)M.add(T(7), T(1)));
    EXPECT_BROKEN("add", (void)M.add(T(1), T(7)));
    EXPECT_BROKEN("sub", (void)M.sub(T(1), T(8)));
    EXPECT_BROKEN("sub", (void)M.sub(T(8), T(1)));
    EXPECT_BROKEN("div2", (void)M.div2(T(7)));
    EXPECT_BROKEN("pow", (void)M.pow(T(7), T(2)));
    EXPECT_BROKEN("pow", (void)reference::pow(M, T(7), T(2)));
    EXPECT_BROKEN("math_mont_mul", (void)M.mul(this->ones, this->ones)) << "a b is not below m 2^N";
    EXPECT_BROKEN("math_mont_mul", math_mont_mul(T(1), T(1), T(7), T(3), r)) << "the inverse of another modulus";
    EXPECT_BROKEN("math_mont_reduce", math_mont_reduce(T(1), T(7), M.m, M.mprime, r));
    EXPECT_BROKEN("math_mont_reduce", math_mont_reduce(T(1), T(1), T(6), M.mprime, r));
}

KESH_TYPED_TEST(Contracts, JacobiSymbolsHaveOddLowerNumbers) {
    using T = TypeParam;
    EXPECT_BROKEN("Jacobi", (void)Jacobi(T(3), T(8)));
    EXPECT_BROKEN("Jacobi", (void)Jacobi(T(3), T(0)));
    EXPECT_BROKEN("Jacobi", (void)(Jacobi<long, T>(3, T(8))));
    EXPECT_BROKEN("Jacobi", (void)(Jacobi<long, T>(std::numeric_limits<long>::min(), T(7))));
}

TEST(LimbContracts, JacobiSymbolsOfSmallNumbers) {
    EXPECT_BROKEN("jacobi_of_small", (void)jacobi_of_small(4, 1, 7));
    EXPECT_BROKEN("jacobi_of_small", (void)jacobi_of_small(5, 1, 8));
    EXPECT_BROKEN("jacobi_of_small", (void)jacobi_of_small(1, 0, 7));
    EXPECT_BROKEN("jacobi_of_small", (void)jacobi_of_small(-5, 5, 7)) << "n modulo x is below x";
}

KESH_TYPED_TEST(WideContracts, PreparedDivisors) {
    using T = TypeParam;
    using Divisor = fastdiv_data<T, unsigned long>;
    EXPECT_BROKEN("math_magic_shift", (void)Divisor(6));
    EXPECT_BROKEN("math_magic_shift", (void)Divisor(1));
    EXPECT_BROKEN("math_magic_shift", (void)Divisor(0));
}

TEST(LimbContracts, PreparedDivisorsOfTwoLimbs) {
    using Divisor = fastdiv2x1<unsigned long, unsigned long>;
    EXPECT_BROKEN("math_magic_shift", (void)Divisor(0));
    const Divisor even(6), seven(7);
    EXPECT_BROKEN("sub", (void)seven.sub(7, 1));
    EXPECT_BROKEN("div2", (void)even.div2(1));
    EXPECT_BROKEN("div2", (void)seven.div2(7));
    EXPECT_BROKEN("div", (void)even.div(1, 5));
}

TEST(Postconditions, AreChecked) {
    const auto broken = [](int result) { KESH_ENSURE(result < 5); };
    broken(4);
    EXPECT_DEATH(broken(5), "postcondition broken: result < 5");
}

}  // namespace
}  // namespace kesh::test
