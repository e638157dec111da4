/**
 * @file   lifecycle_test.cpp
 * @brief  The lifecycle exports, and the number of arguments that every export requires.
 */
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "support/library.h"
#include "support/test_host.h"

namespace {

using kesh::test::Library;

TEST(Lifecycle, VersionIsSeven) {
    EXPECT_EQ(Library::instance().get<mint (*)()>("VelmoraLibrary_getVersion")(), 7);
}

TEST(Lifecycle, InitialiseSucceedsWhateverTheTable) {
    const auto initialize = Library::instance().get<int (*)(VelmoraLibraryData)>("VelmoraLibrary_initialize");
    EXPECT_EQ(initialize(nullptr), 0);
    EXPECT_EQ(initialize(kesh::test::TestHost::instance().data()), 0);
}

/** Exports with their fixed argument counts. */
const std::vector<std::pair<std::string, int>> fixed_counts = {
    {"PrimeSieve_NthPrime", 1},         {"PrimeSieve_CountPrimes", 2},      {"PrimeSieve_CountTwins", 2},
    {"PrimeSieve_CountTriplets", 2},    {"PrimeSieve_CountQuadruplets", 2}, {"PrimeSieve_CountQuintuplets", 2},
    {"PrimeSieve_CountSextuplets", 2},  {"PrimeSieve_NextPrime", 1},        {"PrimeSieve_PreviousPrime", 1},
    {"PrimeSieve_NextKthPrime", 2},     {"PrimeSieve_PreviousKthPrime", 2}, {"PrimeSieve_PrimeSum", 1},
    {"PrimeSieve_PrimeSumInterval", 2}, {"PrimeSieve_ListPrimes", 2},       {"PrimeSieve_ListNPrimes", 1},
};

class ArgumentCount : public testing::TestWithParam<std::pair<std::string, int>> {};

/** With a wrong count no slot is read: the slots are null here, so that a read would end the test. */
TEST_P(ArgumentCount, WrongCountReadsNothingAndWritesNothing) {
    const auto& [name, count] = GetParam();
    for (const mint wrong : {count - 1, count + 1, -1, 1000}) {
        mint result = kesh::test::unwritten;
        MArgument slot;
        slot.integer = &result;
        EXPECT_EQ(Library::instance().get(name)(nullptr, wrong, nullptr, slot), LIBRARY_FUNCTION_ERROR) << wrong;
        EXPECT_EQ(result, kesh::test::unwritten);
    }
}

INSTANTIATE_TEST_SUITE_P(AllFixed, ArgumentCount, testing::ValuesIn(fixed_counts),
                         [](const auto& test) { return test.param.first; });

}  // namespace
