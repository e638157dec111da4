/**
 * @file   chunk_runner.cpp
 * @brief  The threads that process the chunks, the files of results, and the progress line.
 */
#include "chunk_runner.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <thread>

#include "number_file.h"

namespace prime_tables {

std::string Chunk::file_name() const {
    return fmt::format("{}-{:010}-{:010}.u64", search, lo, hi);
}

void PauseGate::wait() const {
    if (file_.empty()) return;
    std::error_code ignored;
    while (std::filesystem::exists(file_, ignored)) std::this_thread::sleep_for(std::chrono::milliseconds(500));
}

void run_chunks(const std::vector<Chunk>& chunks, const RunnerOptions& options,
                const std::function<std::vector<u64>(const Chunk&, const PauseGate&)>& work) {
    std::filesystem::create_directories(options.output);
    std::vector<Chunk> open;
    double open_cost = 0;
    for (const Chunk& chunk : chunks) {
        if (std::filesystem::exists(options.output / chunk.file_name())) continue;
        open.push_back(chunk);
        open_cost += chunk.cost;
    }
    fmt::print("{} of {} chunks are left to do\n", open.size(), chunks.size());
    std::fflush(stdout);
    const PauseGate gate(options.pause_file);
    const auto start = std::chrono::steady_clock::now();
    std::mutex mutex;
    std::size_t next = 0;
    std::size_t done = 0;
    double done_cost = 0;
    u64 found = 0;
    const auto worker = [&] {
        while (true) {
            const Chunk* chunk = nullptr;
            {
                const std::lock_guard lock(mutex);
                if (next == open.size()) return;
                chunk = &open[next++];
            }
            std::vector<u64> numbers = work(*chunk, gate);
            std::sort(numbers.begin(), numbers.end());
            numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
            const std::filesystem::path path = options.output / chunk->file_name();
            const std::filesystem::path unfinished = path.string() + ".part";
            write_numbers(unfinished, numbers);
            std::filesystem::rename(unfinished, path);

            const std::lock_guard lock(mutex);
            ++done;
            done_cost += chunk->cost;
            found += numbers.size();
            const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            fmt::print("{}: {} found; {} of {} chunks, {} found, {:.0f} s, about {:.0f} s left\n", chunk->file_name(),
                       numbers.size(), done, open.size(), found, seconds,
                       seconds * (open_cost - done_cost) / done_cost);
            std::fflush(stdout);
        }
    };
    std::vector<std::jthread> threads;
    for (unsigned i = 0; i < options.threads; ++i) threads.emplace_back(worker);
}

}  // namespace prime_tables
