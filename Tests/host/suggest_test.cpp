/**
 * @file   suggest_test.cpp
 * @brief  The names that are suggested for a mistyped one.
 */

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "commands/suggest.h"

namespace {

using kesh_host::edit_distance;
using kesh_host::nearest_names;

TEST(Suggest, Distances) {
    EXPECT_EQ(edit_distance("", ""), 0U);
    EXPECT_EQ(edit_distance("", "abc"), 3U);
    EXPECT_EQ(edit_distance("Prime", "prime"), 0U);
    EXPECT_EQ(edit_distance("prime", "pirme"), 1U);
    EXPECT_EQ(edit_distance("kitten", "sitting"), 3U);
}

TEST(Suggest, FindsTheMistypedAndTheShort) {
    const std::vector<std::string> names = {"PrimeSieve_CountPrimes", "PrimeSieve_CountTwins", "KESH_PrimeQ", "list"};
    EXPECT_EQ(nearest_names("PrimeSieve_CountPrims", names).front(), "PrimeSieve_CountPrimes");
    EXPECT_THAT(nearest_names("counttwins", names), testing::ElementsAre("PrimeSieve_CountTwins"));
    EXPECT_THAT(nearest_names("lsit", names), testing::ElementsAre("list"));
    EXPECT_THAT(nearest_names("primesieve_counttwins", names), testing::ElementsAre("PrimeSieve_CountTwins"));
    EXPECT_THAT(nearest_names("PrimeSieve_Co", names),
                testing::ElementsAre("PrimeSieve_CountPrimes", "PrimeSieve_CountTwins"));
    EXPECT_THAT(nearest_names("KES", names), testing::IsEmpty()) << "too little to go by";
    EXPECT_THAT(nearest_names("something else", names), testing::IsEmpty());
    EXPECT_THAT(nearest_names("", names), testing::IsEmpty());
}

}  // namespace
