/**
 * @file   derive_table.cpp
 * @brief  Derives the second bases of the 64-bit primality test from enumerated base-2 strong pseudoprimes.
 */
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>

#include "bucket_walk.h"
#include "commands.h"
#include "header_writer.h"
#include "number_file.h"
#include "table_rule.h"

namespace prime_tables {
namespace {

constexpr u64 least = u64{1} << 32;

struct Derivation {
    std::vector<std::filesystem::path> folders;
    std::filesystem::path output;
    std::filesystem::path compare;
    std::filesystem::path merged;
    std::filesystem::path earlier;
    std::vector<u32> buckets;
    unsigned threads = 1;
};

std::vector<u64> read_folders(const std::vector<std::filesystem::path>& folders) {
    std::vector<u64> numbers;
    for (const auto& folder : folders) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().extension() == ".u64") read_numbers(entry.path(), numbers);
        }
    }
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    std::erase_if(numbers, [](u64 n) { return n < least; });
    return numbers;
}

void print_counts(const std::vector<u64>& numbers) {
    const auto below = [&](u64 bound) {
        return std::lower_bound(numbers.begin(), numbers.end(), bound) - numbers.begin();
    };
    u64 power = 10;
    for (int exponent = 1; exponent < 20; ++exponent, power *= 10) {
        if (power > least) fmt::print("2^32 <= n < 10^{}: {}\n", exponent, below(power));
    }
    fmt::print("2^32 <= n < 2^50: {}\n2^32 <= n < 2^64: {}\n", below(third_base_from_with_margin), numbers.size());
}

/**
 * More pseudoprimes can only raise the least base with margin: if the base derived from some of them clears all, it is
 * still the least.
 */
bool still_clears(u32 base, const std::vector<u64>& pseudoprimes) {
    return std::all_of(pseudoprimes.begin(), pseudoprimes.end(),
                       [base](u64 n) { return clears(base, n, third_base_from_with_margin); });
}

/**
 * Keeps the bases of `earlier` that are below the end of those with margin and still clear their bucket; 0 means not
 * derived.
 */
std::vector<u32> derive(const std::vector<u64>& numbers, const BucketBlock& block, const std::vector<u32>& earlier,
                        unsigned thread_count) {
    std::vector<std::vector<u64>> buckets(bucket_count);
    for (const u64 n : numbers) {
        if (block.contains(n)) buckets[bucket_of(n)].push_back(n);
    }
    std::vector<u32> table(bucket_count);
    std::atomic<u32> next = block.first;
    const auto worker = [&] {
        for (u32 bucket; (bucket = next++) < block.first + block.count;) {
            const u32 known = earlier[bucket];
            table[bucket] = known != 0 && known < bases_with_margin && still_clears(known, buckets[bucket])
                                ? known
                                : least_base(bucket, buckets[bucket]);
            if (bucket % 1024 == 0) fmt::print(stderr, "bucket {} of {}\n", bucket, bucket_count);
        }
    };
    std::vector<std::jthread> threads;
    for (unsigned i = 0; i < thread_count; ++i) threads.emplace_back(worker);
    threads.clear();
    return table;
}

bool compare_tables(const std::vector<u32>& table, const BucketBlock& block, const std::filesystem::path& path) {
    const std::vector<u32> others = read_table(path);
    if (others.size() != bucket_count) throw std::runtime_error("not 16384 values in " + path.string());
    std::size_t equal = 0;
    std::size_t smaller = 0;
    std::size_t larger = 0;
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        if (bucket - block.first >= block.count) continue;
        const u32 other = others[bucket];
        equal += table[bucket] == other;
        smaller += table[bucket] < other;
        larger += table[bucket] > other;
        if (table[bucket] != other) fmt::print("bucket {}: {} instead of {}\n", bucket, table[bucket], other);
    }
    fmt::print("{} equal, {} smaller, {} larger\n", equal, smaller, larger);
    return smaller + larger == 0;
}

/** Whether the table is the one to compare with, if there is one. */
bool run(const Derivation& arguments) {
    const std::vector<u64> numbers = read_folders(arguments.folders);
    print_counts(numbers);
    if (!arguments.merged.empty()) write_numbers(arguments.merged, numbers);
    const std::vector<u32> earlier =
        arguments.earlier.empty() ? std::vector<u32>(bucket_count) : read_table(arguments.earlier);
    const BucketBlock block = block_of(arguments.buckets);
    const std::vector<u32> table = derive(numbers, block, earlier, arguments.threads);
    const bool same = arguments.compare.empty() || compare_tables(table, block, arguments.compare);
    if (!arguments.output.empty()) write_text(arguments.output, fmt::format("{}\n", fmt::join(table, "\n")));
    return same;
}

}  // namespace

void add_derive(CLI::App& program) {
    const auto arguments = std::make_shared<Derivation>();
    CLI::App& command = *program.add_subcommand(
        "derive",
        "Derives, for each bucket, the smallest base that rejects the enumerated strong pseudoprimes to base 2.");
    command.add_option("folders", arguments->folders, "folders with the results of the enumeration")->required();
    command.add_option("--output", arguments->output, "table to write, one decimal value per line");
    command.add_option("--compare", arguments->compare,
                       "table to compare with, in the same form; exit status 2 when it differs");
    command.add_option("--earlier", arguments->earlier,
                       "table that was derived from a part of these pseudoprimes; it saves time");
    command.add_option("--merged", arguments->merged, "write all pseudoprimes, sorted, into this file");
    add_buckets(command, arguments->buckets);
    command.add_option("--threads", arguments->threads, "threads")->capture_default_str();
    command.callback([arguments] {
        if (!run(*arguments)) throw CLI::RuntimeError(2);
    });
}

}  // namespace prime_tables
