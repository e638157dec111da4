/**
 * @file   lifecycle_test.cpp
 * @brief  The lifecycle exports, and the number of arguments that every export requires.
 */
#include <gtest/gtest.h>

#include <string>
#include <utility>
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

/** The sieve's exports with their numbers of arguments, which are fixed. */
std::vector<std::pair<std::string, int>> fixed_counts() {
    std::vector<std::pair<std::string, int>> counts;
    for (const kesh_host::Export& entry : kesh_host::export_table()) {
        if (entry.family == kesh_host::Family::sieve)
            counts.emplace_back(entry.name, static_cast<int>(entry.parameters.size()));
    }
    return counts;
}

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

INSTANTIATE_TEST_SUITE_P(AllFixed, ArgumentCount, testing::ValuesIn(fixed_counts()),
                         [](const auto& test) { return test.param.first; });

}  // namespace
