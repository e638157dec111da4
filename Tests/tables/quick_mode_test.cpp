/**
 * @file   quick_mode_test.cpp
 * @brief  Derives a block of buckets from the beginning, with the programs that derived the table.
 */
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

namespace {

int run(const std::string& command) {
    return std::system((command + " >&2").c_str());
}

TEST(QuickMode, Long_DerivesABlockOfSixteenBucketsWhole) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("prime-tables-" + std::to_string(::getpid()));
    const std::string threads = " --threads " + std::to_string(std::max(1U, std::thread::hardware_concurrency()));
    const std::string common = " --buckets 4096 16 --output " + folder.string() + threads;
    EXPECT_EQ(run(KESH_PRIME_TABLES " enumerate --search smooth --from 3 --to 2097152" + common), 0);
    EXPECT_EQ(run(KESH_PRIME_TABLES " enumerate --search progression --from 2097152 --to 4294967296" + common), 0);
    EXPECT_EQ(run(KESH_PRIME_TABLES " derive " + folder.string() + " --buckets 4096 16" + threads +
                  " --compare " KESH_SOURCE_DIR "/Tools/PrimeTables/data/bases_64_derived.txt"),
              0);
    std::filesystem::remove_all(folder);
}

}  // namespace
