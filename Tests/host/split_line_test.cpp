/**
 * @file   split_line_test.cpp
 * @brief  Words of a line at the prompt.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "prompt/split_line.h"
#include "terminal/bad_input.h"

namespace {

using kesh_host::split_line;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(SplitLine, PlainWords) {
    EXPECT_THAT(split_line(""), IsEmpty());
    EXPECT_THAT(split_line("   "), IsEmpty());
    EXPECT_THAT(split_line("  tasks "), ElementsAre("tasks"));
    EXPECT_THAT(split_line("PrimeSieve_CountPrimes 0 10^10 --json"),
                ElementsAre("PrimeSieve_CountPrimes", "0", "10^10", "--json"));
    EXPECT_THAT(split_line("PrimeCount_ExprPrimePi '10 ^ 3' \"\""),
                ElementsAre("PrimeCount_ExprPrimePi", "10 ^ 3", ""));
    EXPECT_THAT(split_line("KESH_RT_PrimeQ {7, 0}"), ElementsAre("KESH_RT_PrimeQ", "{7, 0}"));
}

TEST(SplitLine, BracketForms) {
    EXPECT_THAT(split_line("PrimeSieve_CountPrimes(0, 10^10)"), ElementsAre("PrimeSieve_CountPrimes", "0", "10^10"));
    EXPECT_THAT(split_line("PrimeSieve_CountPrimes[0, 3*(1 + 2)] -q"),
                ElementsAre("PrimeSieve_CountPrimes", "0", "3*(1 + 2)", "-q"));
    EXPECT_THAT(split_line("PrimeCount_GetThreads()"), ElementsAre("PrimeCount_GetThreads"));
    EXPECT_THAT(split_line("PrimeCount_ExprPrimePi[\"1000\"]"), ElementsAre("PrimeCount_ExprPrimePi", "1000"));
    EXPECT_THAT(split_line("KESH_RT_PrimeQ({1, 2})"), ElementsAre("KESH_RT_PrimeQ", "{1, 2}"));
}

TEST(SplitLine, ACommaBetweenBracketsSeparatesArguments) {
    EXPECT_THAT(split_line("PrimeSieve_CountPrimes 0 1,000,000"),
                ElementsAre("PrimeSieve_CountPrimes", "0", "1,000,000"));
    EXPECT_THAT(split_line("PrimeSieve_CountPrimes(100,200)"), ElementsAre("PrimeSieve_CountPrimes", "100", "200"));
    EXPECT_THAT(split_line("PrimeSieve_CountPrimes(1, 007)"), ElementsAre("PrimeSieve_CountPrimes", "1", "007"));
    EXPECT_THROW(split_line("PrimeSieve_CountPrimes(1,000)"), kesh_host::BadInput);
    EXPECT_THROW(split_line("PrimeSieve_CountPrimes(0, 1,000,000)"), kesh_host::BadInput);
}

TEST(SplitLine, UnfinishedFormsAreNamed) {
    EXPECT_THROW(split_line("PrimeSieve_NthPrime(5"), kesh_host::BadInput);
    EXPECT_THROW(split_line("PrimeSieve_NthPrime '5"), kesh_host::BadInput);
}

}  // namespace
