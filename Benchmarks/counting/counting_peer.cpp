/**
 * @file   counting_peer.cpp
 * @brief  pi(x) by libprimecount alone: for every line "THREADS X" on standard input, one line with the seconds and
 *         the processor seconds that the count took, and its result.
 */
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <primecount.hpp>

int main() {
    int threads = 0;
    int64_t x = 0;
    while (std::scanf("%d %" SCNd64, &threads, &x) == 2) {
        primecount::set_num_threads(threads);
        const std::clock_t processor_start = std::clock();
        const auto start = std::chrono::steady_clock::now();
        const int64_t count = primecount::pi(x);
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        const double processor = static_cast<double>(std::clock() - processor_start) / CLOCKS_PER_SEC;
        std::printf("%.6f %.6f %" PRId64 "\n", seconds.count(), processor, count);
        std::fflush(stdout);
    }
}
