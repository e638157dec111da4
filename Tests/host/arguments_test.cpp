/**
 * @file   arguments_test.cpp
 * @brief  Binding of words to parameters, and the lines that refuse them.
 */

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "HostKit/export_table.h"
#include "calls/arguments.h"
#include "terminal/bad_input.h"

namespace {

using namespace kesh_host;

std::vector<ArgumentValue> bind(const char* name, const std::vector<std::string>& words, bool any_count = false) {
    return bind_arguments(*find_export(name), words, any_count);
}

std::string refusal(const char* name, const std::vector<std::string>& words) {
    try {
        bind(name, words);
        return "";
    } catch (const BadInput& error) {
        EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
        return error.what();
    }
}

mint integer(const ArgumentValue& argument) {
    return std::get<mint>(argument.value);
}

TEST(Arguments, SignedRange) {
    EXPECT_EQ(integer(bind("PrimeCount_PrimePi", {"2^63-1"})[0]), std::numeric_limits<mint>::max());
    EXPECT_EQ(integer(bind("PrimeCount_PrimePi", {"-2^63"})[0]), std::numeric_limits<mint>::min());
    EXPECT_EQ(value_text(bind("PrimeCount_PrimePi", {"-5"})[0]), "-5");
    EXPECT_THAT(refusal("PrimeCount_PrimePi", {"2^63"}),
                testing::HasSubstr("PrimeCount_ExprPrimePi takes larger numbers"));
    EXPECT_THAT(refusal("PrimeCount_Prime", {"2^63"}), testing::HasSubstr("-2^63 to 2^63-1"));
}

TEST(Arguments, PatternRange) {
    const auto high = bind("PrimeSieve_NextPrime", {"2^64-1"});
    EXPECT_EQ(integer(high[0]), -1);
    EXPECT_EQ(value_text(high[0]), "18446744073709551615");
    const auto negative = bind("PrimeSieve_NextPrime", {"-1"});
    EXPECT_EQ(integer(negative[0]), -1);
    EXPECT_EQ(value_text(negative[0]), "-1");
    EXPECT_THAT(refusal("PrimeSieve_NextPrime", {"2^64"}), testing::HasSubstr("2^64-1"));
}

TEST(Arguments, Counts) {
    EXPECT_THAT(refusal("PrimeSieve_CountPrimes", {"0", "1", "2"}),
                testing::AllOf(testing::HasSubstr("takes 2 arguments (a b), 3 given"), testing::HasSubstr("10^6")));
    EXPECT_THAT(refusal("PrimeCount_Coprime", {"5"}), testing::HasSubstr("takes 2 arguments (a b), 1 given"));
    EXPECT_THAT(refusal("PrimeCount_GetThreads", {"0"}), testing::HasSubstr("takes no arguments, 1 given"));
    EXPECT_EQ(bind("PrimeSieve_CountPrimes", {"1", "2", "3"}, true).size(), 3U);
    EXPECT_TRUE(bind("PrimeSieve_CountPrimes", {}, true).empty());
}

TEST(Arguments, TheEndOfARangeAloneBeginsItAtZero) {
    for (const char* name : {"PrimeSieve_CountPrimes", "PrimeSieve_CountTwins", "PrimeSieve_ListPrimes"}) {
        const auto both = bind(name, {"100"});
        ASSERT_EQ(both.size(), 2U) << name;
        EXPECT_EQ(integer(both[0]), 0);
        EXPECT_EQ(integer(both[1]), 100);
    }
    EXPECT_EQ(integer(bind("PrimeSieve_PrimeSumInterval", {"100"})[0]), 1)
        << "from 0 the library would begin at the top";
    EXPECT_EQ(bind("PrimeSieve_CountPrimes", {"100"}, true).size(), 1U);
}

TEST(Arguments, TextPassesUntouched) {
    EXPECT_EQ(std::get<std::string>(bind("PrimeCount_ExprPrimePi", {"12 a"})[0].value), "12 a");
}

TEST(Arguments, Tasks) {
    EXPECT_TRUE(std::holds_alternative<NewTask>(bind("PrimeCount_SubmitPrimePi", {"new", "5"})[0].value));
    EXPECT_EQ(integer(bind("PrimeCount_SubmitPrimePi", {"3", "5"})[0]), 3);
}

TEST(Arguments, Tensors) {
    using Values = std::vector<mint>;
    EXPECT_EQ(std::get<Values>(bind("KESH_RT_PrimeQ", {"{}"})[0].value), Values{});
    EXPECT_EQ(std::get<Values>(bind("KESH_RT_PrimeQ", {"{1, 2^64-1,-3}"})[0].value), (Values{1, -1, -3}));
    EXPECT_EQ(std::get<Values>(bind("KESH_RT_PrimeQ", {"2^64+7"})[0].value), (Values{7, 1}));
    EXPECT_THAT(refusal("KESH_RT_PrimeQ", {"2^1024"}), testing::HasSubstr("2^1024-1"));
    EXPECT_THAT(refusal("KESH_RT_PrimeQ", {"{1,}"}), testing::HasSubstr("empty"));
}

}  // namespace
