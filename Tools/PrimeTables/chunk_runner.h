/**
 * @file   chunk_runner.h
 * @brief  Processes a list of prime ranges on several threads, with a progress line; a run can be paused, interrupted
 *         and resumed.
 */
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "strong_test.h"

namespace prime_tables {

/** Primes lo <= p < hi of one search. `cost` is in any unit, for the estimate of the time left. */
struct Chunk {
    std::string search;
    u64 lo;
    u64 hi;
    double cost;
    [[nodiscard]] std::string file_name() const;
};

struct RunnerOptions {
    std::filesystem::path output;      ///< folder of the results
    std::filesystem::path pause_file;  ///< while this file exists every thread waits; empty: never
    unsigned threads = 1;
};

/** Blocks while the pause file exists. To be called every fraction of a second. */
class PauseGate {
  public:
    explicit PauseGate(std::filesystem::path file) : file_(std::move(file)) {}
    void wait() const;

  private:
    std::filesystem::path file_;
};

/**
 * Runs `work` for every chunk without a result yet, in order. A result is a file of little-endian 64-bit numbers,
 * sorted, and gets its name only when it is complete, so an interrupted run continues where it stopped.
 */
void run_chunks(const std::vector<Chunk>& chunks, const RunnerOptions& options,
                const std::function<std::vector<u64>(const Chunk&, const PauseGate&)>& work);

}  // namespace prime_tables
