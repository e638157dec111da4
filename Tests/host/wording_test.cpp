/**
 * @file   wording_test.cpp
 * @brief  Numbers and lists in sentences.
 */

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "terminal/wording.h"

namespace {

using namespace kesh_host;

TEST(Wording, OneIsNotMany) {
    EXPECT_EQ(counted(0, "prime", "primes"), "0 primes");
    EXPECT_EQ(counted(1, "prime", "primes"), "1 prime");
    EXPECT_EQ(counted(2, "prime", "primes"), "2 primes");
}

TEST(Wording, ListsEndWithAConjunction) {
    using Words = std::vector<std::string>;
    EXPECT_EQ(listed(Words{}, "or"), "");
    EXPECT_EQ(listed(Words{"pi"}, "or"), "pi");
    EXPECT_EQ(listed(Words{"pi", "gaps"}, "or"), "pi or gaps");
    EXPECT_EQ(listed(Words{"json", "quiet", "all"}, "and"), "json, quiet and all");
}

}  // namespace
