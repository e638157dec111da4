/**
 * @file   completion_test.cpp
 * @brief  The completions that Tab offers.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "prompt/completion.h"

namespace {

using kesh_host::completions;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(Completion, NamesAtTheHeadOfTheLine) {
    std::size_t begin = 99;
    EXPECT_THAT(completions("PrimeSieve_Count", begin), SizeIs(6));
    EXPECT_EQ(begin, 0U);
    EXPECT_THAT(completions("  KESH_R", begin), ElementsAre("KESH_RT_PrimeQ"));
    EXPECT_EQ(begin, 2U);
    EXPECT_THAT(completions("tas", begin), ElementsAre("tasks"));
    EXPECT_THAT(completions("", begin), Contains("PrimeCount_PrimePi"));
}

TEST(Completion, InLettersOfEitherCaseAndInTheMiddle) {
    std::size_t begin = 0;
    EXPECT_THAT(completions("primesieve_nth", begin), ElementsAre("PrimeSieve_NthPrime"));
    EXPECT_THAT(completions("NthP", begin), ElementsAre("PrimeSieve_NthPrime"));
    EXPECT_THAT(completions("?nthp", begin), ElementsAre("PrimeSieve_NthPrime"));
    EXPECT_EQ(begin, 1U);
    EXPECT_THAT(completions("counttw", begin), ElementsAre("PrimeSieve_CountTwins"));
    EXPECT_THAT(completions("KESH_", begin), SizeIs(2)) << "a beginning comes before a middle";
    EXPECT_THAT(completions("xyz", begin), IsEmpty());
}

TEST(Completion, NamesAfterAQuestionMark) {
    std::size_t begin = 0;
    EXPECT_THAT(completions("?PrimeSieve_Nth", begin), ElementsAre("PrimeSieve_NthPrime"));
    EXPECT_EQ(begin, 1U);
    EXPECT_THAT(completions("help PrimeSieve_Nth", begin), ElementsAre("PrimeSieve_NthPrime"));
    EXPECT_EQ(begin, 5U);
}

TEST(Completion, OptionsAndWordsOfCommands) {
    std::size_t begin = 0;
    EXPECT_THAT(completions("PrimeCount_PrimePi 10^9 --js", begin), ElementsAre("--json"));
    EXPECT_EQ(begin, 24U);
    EXPECT_THAT(completions("plot t", begin), ElementsAre("twins"));
    EXPECT_THAT(completions("set qu", begin), ElementsAre("quiet"));
    EXPECT_THAT(completions("PrimeCount_PrimePi Prime", begin), IsEmpty());
}

}  // namespace
