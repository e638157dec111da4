/**
 * @file   cycle.h
 * @brief  The length of one processor cycle, measured: the time stamp counter runs at a fixed rate of its own.
 */
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace kesh::bench {

/**
 * Nanoseconds a cycle at the speed that the processor runs at now: the best of several runs of a chain of additions,
 * each of which needs the one before it and takes one cycle.
 */
inline double nanoseconds_per_cycle() {
    constexpr int rounds = 20, chain = 200000, adds = 10;
    double best = 1e9;
    for (int round = 0; round < rounds; ++round) {
        std::uint64_t x = 1;
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < chain; ++i)
            asm volatile(
                "add %0, %0\n add %0, %0\n add %0, %0\n add %0, %0\n add %0, %0\n"
                "add %0, %0\n add %0, %0\n add %0, %0\n add %0, %0\n add %0, %0"
                : "+r"(x));
        const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
        best = std::min(best, taken.count() / (double{chain} * adds));
    }
    return best;
}

}  // namespace kesh::bench
