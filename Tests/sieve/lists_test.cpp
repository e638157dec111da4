/**
 * @file   lists_test.cpp
 * @brief  Lists of primes as tensors: values, narrowing, and errors of the host.
 */
#include <gtest/gtest.h>

#include <primesieve.hpp>
#include <stdexcept>

#include "sieve/plain_sieve.h"
#include "support/test_host.h"

namespace {

using kesh::test::call_tensor;
using kesh::test::plain_primes;
using kesh::test::TestHost;

class Lists : public testing::Test {
  protected:
    void SetUp() override {
        TestHost::instance().reset();
    }

    static std::vector<mint> list(const std::string& name, std::vector<mint> arguments) {
        const auto call = call_tensor(name, std::move(arguments));
        EXPECT_EQ(call.code, LIBRARY_NO_ERROR);
        if (call.tensor == nullptr) return std::vector<mint>{-1};
        return std::vector<mint>(call.tensor->data().begin(), call.tensor->data().end());
    }
};

TEST_F(Lists, SmallRanges) {
    EXPECT_EQ(list("PrimeSieve_ListPrimes", {0, 10}), (std::vector<mint>{2, 3, 5, 7}));
    EXPECT_EQ(list("PrimeSieve_ListPrimes", {7, 7}), (std::vector<mint>{7}));
    EXPECT_EQ(list("PrimeSieve_ListPrimes", {8, 10}), std::vector<mint>{});
    EXPECT_EQ(list("PrimeSieve_ListNPrimes", {5}), (std::vector<mint>{2, 3, 5, 7, 11}));
}

TEST_F(Lists, AnEmptyCollectionIsATensorOfLengthZero) {
    const auto range = call_tensor("PrimeSieve_ListPrimes", {10, 1});
    const auto first = call_tensor("PrimeSieve_ListNPrimes", {0});
    for (const auto* call : {&range, &first}) {
        EXPECT_EQ(call->code, LIBRARY_NO_ERROR);
        ASSERT_NE(call->tensor, nullptr);
        EXPECT_TRUE(call->tensor->data().empty());
    }
}

TEST_F(Lists, AgreeWithAPlainSieve) {
    const auto& primes = plain_primes();
    const std::vector<mint> all(primes.begin(), primes.end());
    EXPECT_EQ(list("PrimeSieve_ListPrimes", {0, mint(kesh::test::plain_limit)}), all);
    EXPECT_EQ(list("PrimeSieve_ListNPrimes", {mint(all.size())}), all);
}

TEST_F(Lists, PrimesAbove2To31AreNarrowed) {
    // 2^31 - 1 is prime and arrives unchanged; the next one, 2^31 + 11, arrives as its low 32 bits with sign.
    EXPECT_EQ(list("PrimeSieve_ListPrimes", {2147483647, 2147483659}), (std::vector<mint>{2147483647, -2147483637}));
    // 2^32 + 15 arrives as 15.
    EXPECT_EQ(list("PrimeSieve_ListPrimes", {4294967296, 4294967311}), (std::vector<mint>{15}));
}

TEST_F(Lists, TheLargestPrimeIsListed) {
    EXPECT_EQ(list("PrimeSieve_ListPrimes", {-60, -1}), (std::vector<mint>{-59}));
}

TEST_F(Lists, EveryHostErrorIsPassedOn) {
    for (int code = 1; code <= 7; ++code) {
        TestHost::instance().fail("MTensor_new", code);
        const auto range = call_tensor("PrimeSieve_ListPrimes", {0, 10});
        const auto first = call_tensor("PrimeSieve_ListNPrimes", {5});
        for (const auto* call : {&range, &first}) {
            EXPECT_EQ(call->code, code);
            EXPECT_EQ(call->tensor, nullptr);
        }
    }
    EXPECT_EQ(TestHost::instance().tensors(), 0u);
}

TEST_F(Lists, ANegativeCountIsALengthError) {
    try {
        call_tensor("PrimeSieve_ListNPrimes", {-1});
        FAIL();
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "vector::reserve");
    }
}

TEST_F(Lists, AVastRangeFailsToReserve) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer's operator new ends the process where the standard one throws";
#endif
    EXPECT_THROW(call_tensor("PrimeSieve_ListPrimes", {0, -1}), std::exception);
}

}  // namespace
