/**
 * @file   exit_test.cpp
 * @brief  The process exits at random moments while threads work inside the library: it ends with the status that was
 *         given to exit.
 */
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

#include "concurrency/inert_host.h"
#include "counting/counting.h"

namespace kesh::test {
namespace {

constexpr int exit_code = 23;

/** Starts long work, waits for the given time and exits. */
template <typename Work>
[[noreturn]] void exit_amid(Work work, int microseconds) {
    call_integer("PrimeCount_SetThreads", {2}, inert_host());
    work();
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
    std::exit(exit_code);
}

void submit_long_count(mint task) {
    call_integer("PrimeCount_SubmitPrimePi", {task, power_of_ten(16)}, inert_host());
}

/** Exits at moments up to 0.1 s after the start, each time in a separate process. */
template <typename Work>
void expect_clean_exits(Work work) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    std::mt19937 random(3);
    for (int run = 0; run < 12; ++run) {
        const int moment = static_cast<int>(random() % 100'000);
        SCOPED_TRACE(moment);
        EXPECT_EXIT(exit_amid(work, moment), testing::ExitedWithCode(exit_code), "^$");
    }
}

TEST(Exit, WhileATaskCounts) {
    expect_clean_exits([] { submit_long_count(1); });
}

TEST(Exit, WhileTasksWaitForTheirTurn) {
    expect_clean_exits([] {
        for (mint task = 1; task <= 8; ++task) submit_long_count(task);
    });
}

TEST(Exit, WhileATaskIsBeingStopped) {
    expect_clean_exits([] {
        submit_long_count(1);
        std::thread([] {
            for (;;) call_integer("PrimeCount_StopTask", {}, inert_host());
        }).detach();
    });
}

TEST(Exit, WhileOtherThreadsCallSieveAndPrimality) {
    expect_clean_exits([] {
        submit_long_count(1);
        std::thread([] { call_integer("PrimeSieve_CountPrimes", {0, power_of_ten(12)}, inert_host()); }).detach();
        const auto test_wide_prime = [] {
            const auto prime_q = Library::instance().get<mbool (*)(const umint*, mint, mbool*)>("KESH_PrimeQ");
            umint mersenne521[16] = {};
            for (size_t i = 0; i < 9; ++i) mersenne521[i] = i < 8 ? ~umint{0} : 0x1FF;
            mbool answer = 0;
            prime_q(mersenne521, 16, &answer);
        };
        // The first wide test builds the table of small primes, which the exit releases: it must be finished before the
        // exit.
        test_wide_prime();
        std::thread([test_wide_prime] {
            for (;;) test_wide_prime();
        }).detach();
    });
}

}  // namespace
}  // namespace kesh::test
