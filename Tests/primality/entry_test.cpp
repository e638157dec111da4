/**
 * @file   entry_test.cpp
 * @brief  The entry points: lengths, upper limbs, and both ends of the host export.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Prime/prime_testing.h"
#include "kesh_prime.h"
#include "primality/numbers.h"

namespace {

using namespace kesh::test;

constexpr mbool untouched = -77;

TEST(KeshPrimeQ, LengthsOutsideTheRangeAreRefused) {
    const Limbs<16> limbs = from_mpz<16>(7);
    for (mint length : {mint{-1}, mint{0}, mint{17}, mint{18}, INT64_MIN, INT64_MAX}) {
        mbool r = untouched;
        EXPECT_EQ(KESH_PrimeQ(limbs.data(), length, &r), 0) << length;
        EXPECT_EQ(r, untouched) << length;
        EXPECT_EQ(KESH_PrimeQ(nullptr, length, &r), 0) << length;
    }
}

TEST(KeshPrimeQ, EveryLengthGivesTheVerdictOnItsLimbs) {
    number_source source(51);
    for (mint length = 1; length <= 16; ++length) {
        const unsigned bits = static_cast<unsigned>(64 * length);
        // Each number has storage for exactly its limbs, so that the address sanitizer sees a read beyond them.
        for (const mpz_class& n : {source.prime(bits), source.close_semiprime(bits), mpz_class(7), mpz_class(1),
                                   mpz_class(0), mpz_class(power_of_2(bits) - 1)}) {
            const Limbs<16> limbs = from_mpz<16>(n);
            const std::vector<umint> given(limbs.begin(), limbs.begin() + length);
            mbool r = untouched;
            ASSERT_EQ(KESH_PrimeQ(given.data(), length, &r), 1);
            ASSERT_EQ(r, gmp_says_prime(n) ? 1 : 0) << n << " in " << length << " limbs";
        }
    }
}

TEST(KeshPrimeQ, ZeroLimbsOnTopChangeNothing) {
    number_source source(52);
    for (unsigned bits : {3u, 64u, 65u, 128u, 129u, 192u, 256u, 300u, 512u}) {
        for (int i = 0; i < 5; ++i) {
            for (const mpz_class& n : {source.prime(bits), source.odd(bits)}) {
                const Limbs<16> limbs = from_mpz<16>(n);
                for (mint length = (bits + 63) / 64; length <= 16; ++length) {
                    mbool r = untouched;
                    ASSERT_EQ(KESH_PrimeQ(limbs.data(), length, &r), 1);
                    ASSERT_EQ(r, gmp_says_prime(n) ? 1 : 0) << n << " in " << length << " limbs";
                }
            }
        }
    }
}

TEST(KeshPrimeQ, LimbsAboveTheLengthAreNotRead) {
    Limbs<16> limbs;
    for (mint length = 1; length < 16; ++length) {
        limbs.fill(0xFFFFFFFFFFFFFFFF);
        const Limbs<16> seven = from_mpz<16>(7);
        std::copy_n(seven.begin(), length, limbs.begin());
        mbool r = untouched;
        ASSERT_EQ(KESH_PrimeQ(limbs.data(), length, &r), 1);
        ASSERT_EQ(r, 1) << length;
    }
}

TEST(IsPrime, TakesTheLimbsItIsGiven) {
    const umint limbs[] = {13, 1};  // 2^64 + 13
    EXPECT_TRUE(kesh::isPrime<kesh::umint>(limbs, 1));
    EXPECT_TRUE(kesh::isPrime<kesh::uintx_t<128>>(limbs, 2));
    EXPECT_TRUE(kesh::isPrime<kesh::uintx_t<256>>(limbs, 2));
    EXPECT_TRUE(kesh::isPrime<kesh::uintx_t<512>>(limbs, 2));
    EXPECT_TRUE(kesh::isPrime<kesh::uintx_t<1024>>(limbs, 1));
    const umint composite[] = {15, 1};
    EXPECT_FALSE(kesh::isPrime<kesh::uintx_t<1024>>(composite, 2));
}

/** A host whose element read leaves a given length and returns a given code. */
class HostExport : public testing::Test {
  protected:
    static inline mint length_left;
    static inline int code;
    static inline int reads;
    static inline MTensor read_from;
    static inline mint* destination;

    static int get_integer(MTensor tensor, mint* position, mint* out) {
        ++reads;
        read_from = tensor;
        destination = out;
        *position = length_left;
        return code;
    }

    int call(mint Argc) {
        reads = 0;
        destination = &length_left;
        st_VelmoraLibraryData table{};
        table.MTensor_getInteger = get_integer;
        MTensor tensor = reinterpret_cast<MTensor>(&table);
        MArgument argument, result;
        argument.tensor = &tensor;
        r = untouched;
        result.boolean = &r;
        const int error = KESH_RT_PrimeQ(&table, Argc, &argument, result);
        EXPECT_TRUE(reads == 0 || read_from == tensor);
        return error;
    }

    mbool r = untouched;
};

TEST_F(HostExport, WrongArgumentCount) {
    for (mint Argc : {mint{0}, mint{2}, mint{-1}}) {
        EXPECT_EQ(call(Argc), LIBRARY_FUNCTION_ERROR);
        EXPECT_EQ(reads, 0);
        EXPECT_EQ(r, untouched);
    }
}

TEST_F(HostExport, AFailingElementReadIsPassedOn) {
    length_left = 1;
    for (int failing : {1, 2, 3, 7, -5}) {
        code = failing;
        EXPECT_EQ(call(1), failing);
        EXPECT_EQ(reads, 1);
        EXPECT_EQ(destination, nullptr) << "the read has no place to put an element";
        EXPECT_EQ(r, untouched);
    }
}

TEST_F(HostExport, AnUnusableLengthIsAFunctionError) {
    code = LIBRARY_NO_ERROR;
    for (mint left : {mint{0}, mint{-1}, mint{17}, mint{1} << 40}) {
        length_left = left;
        EXPECT_EQ(call(1), LIBRARY_FUNCTION_ERROR);
        EXPECT_EQ(reads, 1);
        EXPECT_EQ(r, untouched);
    }
}

TEST_F(HostExport, AUsableLengthMeetsTheNullLimbPointer) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    code = LIBRARY_NO_ERROR;
    length_left = 1;
    EXPECT_DEATH(call(1), "");
}

}  // namespace
