/**
 * @file   enumerate_pseudoprimes.cpp
 * @brief  The two searches for base-2 strong pseudoprimes.
 */
#include <algorithm>
#include <cmath>

#include "chunk_runner.h"
#include "commands.h"
#include "progression_search.h"
#include "smooth_search.h"

namespace prime_tables {
namespace {

constexpr u64 prime_limit = u64{1} << 32;

struct Enumeration {
    std::string search = "progression";
    u64 from = u64{1} << 24;
    u64 to = prime_limit;
    u64 least = prime_limit;
    u64 largest = ~u64{0};
    u64 ratio = 0;
    std::vector<u32> buckets;
    BucketBlock block;
    RunnerOptions runner;
};

/**
 * Ranges of primes from `to` down to `from`, each about an equal share of the work: the progression of p has some
 * largest / p^2 members, and finding the order of 2 costs as much as a hundred.
 */
std::vector<Chunk> progression_chunks(const Enumeration& arguments) {
    constexpr double share = 1e10;
    std::vector<Chunk> chunks;
    u64 hi = arguments.to;
    while (hi > arguments.from) {
        const double p = static_cast<double>(hi);
        const double members = static_cast<double>(arguments.largest) / (p * p);
        const double limited = arguments.ratio == 0 ? members : std::min(members, static_cast<double>(arguments.ratio));
        const double per_number = (4 * limited + 100) / std::log(p);
        const double width = std::min(share / per_number, p / 4);
        const u64 lo = std::max(arguments.from, hi - static_cast<u64>(width));
        chunks.push_back({arguments.search, lo, hi, per_number * static_cast<double>(hi - lo)});
        hi = lo;
    }
    return chunks;
}

std::vector<u64> progression_work(const Chunk& chunk, const PauseGate& gate, const Enumeration& arguments) {
    std::vector<u64> found;
    FermatFilter filter(found, arguments.least);
    ProgressionSearch search(arguments.largest, arguments.ratio, arguments.block);
    constexpr u64 window = u64{1} << 20;
    constexpr u64 poll_after = u64{1} << 25;  // a tenth of a second
    u64 polled = 0;
    for (u64 lo = chunk.lo; lo < chunk.hi; lo += window) {
        for (const PrimeOrder& p : orders_of_two(lo, std::min(lo + window, chunk.hi))) {
            search.search(p, filter);
            if (search.visited() - polled > poll_after) {
                polled = search.visited();
                gate.wait();
            }
        }
    }
    filter.flush();
    return found;
}

/** Ranges of equal length, ascending: the numbers with the smallest primes decide most buckets. */
std::vector<Chunk> smooth_chunks(const Enumeration& arguments) {
    constexpr u64 width = u64{1} << 16;
    std::vector<Chunk> chunks;
    for (u64 lo = arguments.from; lo < arguments.to; lo += width) {
        const u64 hi = std::min(lo + width, arguments.to);
        chunks.push_back({arguments.search, lo, hi, static_cast<double>(hi - lo) / std::log(static_cast<double>(hi))});
    }
    return chunks;
}

std::vector<u64> smooth_work(const Chunk& chunk, const PauseGate& gate, const Enumeration& arguments,
                             const SmoothSearch& search) {
    std::vector<u64> found;
    FermatFilter filter(found, arguments.least);
    constexpr int poll_after = 64;  // primes: a tenth of a second
    int searched = 0;
    for (const PrimeOrder& p : orders_of_two(chunk.lo, chunk.hi)) {
        search.search(p, filter);
        if (++searched % poll_after == 0) gate.wait();
    }
    filter.flush();
    std::erase_if(found, [&](u64 n) { return !arguments.block.contains(n); });
    return found;
}

void run(Enumeration& arguments) {
    arguments.block = block_of(arguments.buckets);
    if (arguments.search == "smooth") {
        const SmoothSearch search(arguments.largest, arguments.to);
        run_chunks(smooth_chunks(arguments), arguments.runner, [&](const Chunk& chunk, const PauseGate& gate) {
            return smooth_work(chunk, gate, arguments, search);
        });
    } else {
        run_chunks(progression_chunks(arguments), arguments.runner,
                   [&](const Chunk& chunk, const PauseGate& gate) { return progression_work(chunk, gate, arguments); });
    }
}

}  // namespace

void add_enumerate(CLI::App& program) {
    const auto arguments = std::make_shared<Enumeration>();
    CLI::App& command = *program.add_subcommand(
        "enumerate", "Enumerates base-2 strong pseudoprimes by their prime factors, in resumable chunks.");
    command
        .add_option(
            "--search", arguments->search,
            "progression: every n with a prime factor in [from, to); smooth: every n whose largest prime factor is "
            "in [from, to), to at most 2^24")
        ->capture_default_str()
        ->check(CLI::IsMember({"progression", "smooth"}));
    command.add_option("--from", arguments->from, "smallest prime factor that is searched")->capture_default_str();
    command.add_option("--to", arguments->to, "end of the range of prime factors, not included")->capture_default_str();
    command.add_option("--least", arguments->least, "smallest pseudoprime that is kept")->capture_default_str();
    command.add_option("--largest", arguments->largest, "largest pseudoprime that is searched")->capture_default_str();
    command.add_option("--ratio", arguments->ratio, "progression: only n with n / p <= ratio * p; 0 means all n")
        ->capture_default_str();
    add_buckets(command, arguments->buckets);
    command.add_option("--output", arguments->runner.output, "folder of the results")->required();
    command.add_option("--pause-file", arguments->runner.pause_file, "wait while this file exists");
    command.add_option("--threads", arguments->runner.threads, "threads")->capture_default_str();
    command.callback([arguments] { run(*arguments); });
}

}  // namespace prime_tables
