/**
 * @file   prime_data_test.cpp
 * @brief  Facts about the three tables of the primality tests, and that the header is what its generator writes.
 */
#include "Prime/prime_data.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>

#include "header_writer.h"
#include "table_rule.h"

namespace prime_tables {
namespace {

const std::filesystem::path data_folder = KESH_SOURCE_DIR "/Tools/PrimeTables/data";

TEST(OddPrimeBit, AgreesWithAPlainSieve) {
    constexpr u64 last = 1048577;
    std::vector<bool> composite(last + 1);
    for (u64 p = 3; p * p <= last; p += 2) {
        for (u64 k = p * p; !composite[p] && k <= last; k += 2 * p) composite[k] = true;
    }
    EXPECT_EQ(std::size(kesh::odd_prime_bit), 16384U);
    EXPECT_EQ(kesh::odd_prime_bit[0], 844785079U);
    for (u64 n = 3; n <= last; n += 2) {
        const u64 k = (n - 3) / 2;
        EXPECT_EQ(kesh::odd_prime_bit[k / 32] >> (k % 32) & 1, composite[n] ? 0U : 1U) << n;
    }
}

TEST(PrimeData32, IsTheGivenList) {
    const std::vector<u32> table(std::begin(kesh::prime_data32), std::end(kesh::prime_data32));
    ASSERT_EQ(table.size(), 256U);
    EXPECT_EQ(table, read_table(data_folder / "bases_32.txt"));
    EXPECT_EQ(std::vector<u32>(table.begin(), table.begin() + 4), (std::vector<u32>{1216, 1836, 8885, 4564}));
    EXPECT_EQ(std::vector<u32>(table.end() - 4, table.end()), (std::vector<u32>{562, 11745, 163, 11951}));
    EXPECT_EQ(*std::min_element(table.begin(), table.end()), 115U);
    EXPECT_EQ(*std::max_element(table.begin(), table.end()), 61814U);
}

TEST(PrimeData64, HasTheKnownEndsRangeAndDistribution) {
    const std::vector<u32> table(std::begin(kesh::prime_data64), std::end(kesh::prime_data64));
    ASSERT_EQ(table.size(), 16384U);
    EXPECT_EQ(std::vector<u32>(table.begin(), table.begin() + 16),
              (std::vector<u32>{1814, 1307, 1714, 6838, 1801, 179, 219, 1317, 6834, 3281, 8345, 4034, 1899, 5746, 4977,
                                117}));
    EXPECT_EQ(std::vector<u32>(table.end() - 16, table.end()),
              (std::vector<u32>{32053, 523, 5721, 9608, 955, 11766, 49919, 1982, 66, 3347, 9508, 439, 145, 5697, 1026,
                                1569}));
    EXPECT_EQ(*std::min_element(table.begin(), table.end()), 3U);
    EXPECT_EQ(*std::max_element(table.begin(), table.end()), 64850U);
    std::array<int, 8> count{};
    for (const u32 base : table) ++count[third_index(base)];
    EXPECT_THAT(count, testing::ElementsAre(12678, 2880, 419, 247, 131, 11, 15, 3));
}

/** SHA-256 of a text, through the sha256sum of the system. */
std::string sha256(const std::string& text) {
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("prime-data-" + std::to_string(::getpid()) + ".txt");
    std::ofstream(path) << text;
    const std::string command = "sha256sum " + path.string();
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::array<char, 65> digest{};
    const bool read = pipe && std::fgets(digest.data(), static_cast<int>(digest.size()), pipe.get()) != nullptr;
    std::filesystem::remove(path);
    return read ? digest.data() : "";
}

TEST(PrimeData64, HasTheKnownSum) {
    std::string lines;
    for (const u32 base : kesh::prime_data64) lines += std::to_string(base) + '\n';
    EXPECT_EQ(sha256(lines), "fe63e7fc9162eb78f051c721265ef2788458d15d493105b530015e0409c9ea48");
}

TEST(PrimeData64, DiffersFromTheDerivedTableInTheListedBucketsOnly) {
    const std::vector<u32> derived = read_table(data_folder / "bases_64_derived.txt");
    const std::vector<TableException> exceptions = read_exceptions(data_folder / "bases_64_exceptions.txt");
    ASSERT_EQ(derived.size(), 16384U);
    std::set<u32> listed;
    for (const TableException& exception : exceptions) listed.insert(exception.bucket);
    EXPECT_EQ(listed.size(), exceptions.size());
    EXPECT_EQ(exceptions.size(), 0U);
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        EXPECT_EQ(derived[bucket] != kesh::prime_data64[bucket], listed.contains(bucket)) << bucket;
    }
}

TEST(Header, IsWhatTheGeneratorWrites) {
    std::ifstream in(KESH_SOURCE_DIR "/CSource/Prime/prime_data.h");
    const std::string committed{std::istreambuf_iterator<char>(in), {}};
    EXPECT_TRUE(committed == prime_data_header(data_folder)) << "run the target prime-data";
}

}  // namespace
}  // namespace prime_tables
