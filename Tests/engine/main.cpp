/**
 * @file   main.cpp
 * @brief  The test program's flags --sets=N, --seed=N and --stride=N, and the number of results compared.
 */

#include <iostream>
#include <string>

#include "support/differential/run.h"

namespace {

/** The number after `flag` in an argument "--flag=N", or `otherwise`. */
std::uint64_t number_after(const std::string& flag, int argc, char** argv, std::uint64_t otherwise) {
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument.rfind(flag, 0) == 0) return std::stoull(argument.substr(flag.size()));
    }
    return otherwise;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace kesh::test;
    ::testing::InitGoogleTest(&argc, argv);
    usual_sets = number_after("--sets=", argc, argv, usual_sets);
    stride = number_after("--stride=", argc, argv, stride);
    seed = number_after("--seed=", argc, argv, seed);
    const int result = RUN_ALL_TESTS();
    std::cout << agreements << " results compared\n";
    return result;
}
