/**
 * @file   select_sample.cpp
 * @brief  Picks the hardest of the enumerated pseudoprimes in every bucket as test data for the library's primality
 *         tests.
 */
#include <algorithm>
#include <array>

#include "commands.h"
#include "number_file.h"
#include "table_rule.h"

namespace prime_tables {
namespace {

constexpr std::array<u32, 17> trial_divisors = {3, 5, 7, 11, 13, 17, 19, 23, 29, 31, 37, 41, 43, 47, 53, 59, 61};

bool has_trial_divisor(u64 n) {
    return std::any_of(trial_divisors.begin(), trial_divisors.end(), [n](u32 p) { return n % p == 0; });
}

struct Scored {
    u64 n;
    int passed;  // of the strong tests to the bases 3, 5, ..., 61
};

Scored score(u64 n) {
    const Modulus mod(n);
    int passed = 0;
    for (const u32 base : trial_divisors) passed += is_strong_probable_prime(mod, base);
    return {n, passed};
}

/** Most numbers fail both of the first bases and would come last anyway. */
bool is_easy(u64 n) {
    const Modulus mod(n);
    return n >= third_base_from && !is_strong_probable_prime(mod, 3) && !is_strong_probable_prime(mod, 5);
}

/**
 * The hardest number that the second base must clear alone, so that a wrong base in this bucket is noticed, and then
 * the hardest of all.
 */
std::vector<u64> pick(const std::vector<u64>& bucket, std::size_t count) {
    std::vector<Scored> scored;
    for (const u64 n : bucket) {
        if (!is_easy(n)) scored.push_back(score(n));
    }
    const auto harder = [](const Scored& a, const Scored& b) { return a.passed > b.passed; };
    std::stable_sort(scored.begin(), scored.end(), harder);
    const auto alone =
        std::find_if(scored.begin(), scored.end(), [](const Scored& s) { return s.n < third_base_from; });
    if (alone != scored.end()) std::rotate(scored.begin(), alone, alone + 1);
    std::vector<u64> picked;
    for (std::size_t i = 0; i < std::min(count, scored.size()); ++i) picked.push_back(scored[i].n);
    return picked;
}

/**
 * Differences of the sorted numbers, seven bits a byte, the lowest first, the top bit set in all bytes but the last.
 */
std::string encode(std::vector<u64> numbers) {
    std::sort(numbers.begin(), numbers.end());
    std::string bytes;
    u64 previous = 0;
    for (const u64 n : numbers) {
        u64 difference = n - previous;
        for (; difference >= 128; difference >>= 7) bytes += static_cast<char>(difference | 128);
        bytes += static_cast<char>(difference);
        previous = n;
    }
    return bytes;
}

struct Selection {
    std::filesystem::path merged;
    std::filesystem::path output;
    std::size_t count = 7;
};

void run(const Selection& arguments) {
    std::vector<u64> numbers;
    read_numbers(arguments.merged, numbers);
    std::vector<std::vector<u64>> buckets(bucket_count);
    for (const u64 n : numbers) {
        if (!has_trial_divisor(n)) buckets[bucket_of(n)].push_back(n);
    }
    std::vector<u64> sample;
    for (const auto& bucket : buckets) {
        const std::vector<u64> picked = pick(bucket, arguments.count);
        sample.insert(sample.end(), picked.begin(), picked.end());
    }
    write_text(arguments.output, encode(sample));
}

}  // namespace

void add_sample(CLI::App& program) {
    const auto arguments = std::make_shared<Selection>();
    CLI::App& command = *program.add_subcommand(
        "sample", "Picks, in every bucket, the pseudoprimes without a prime factor up to 61 that pass most bases.");
    command.add_option("merged", arguments->merged, "file of all pseudoprimes, as derive --merged writes it")
        ->required();
    command.add_option("output", arguments->output, "file to write")->required();
    command.add_option("--count", arguments->count, "numbers per bucket")->capture_default_str();
    command.callback([arguments] { run(*arguments); });
}

}  // namespace prime_tables
