/**
 * @file   stop_test.cpp
 * @brief  Counts ended at random moments: the process survives, no wrong number is returned, the event protocol holds
 *         and the next count is right.
 */
#include <chrono>
#include <random>
#include <thread>

#include "counting/counting.h"

namespace kesh::test {
namespace {

using Microseconds = std::chrono::microseconds;

class Stops : public CountingTest {
  protected:
    void SetUp() override {
        CountingTest::SetUp();
        call_integer("PrimeCount_PrimePi", {10});  // AbortQ is called from now on
    }

    /** A waiting time of a few milliseconds to `longest`, short ones more often: phases near the start are short. */
    Microseconds moment(Microseconds longest) {
        const double share = std::uniform_real_distribution<double>(0, 1)(random_);
        return Microseconds(static_cast<int64_t>(static_cast<double>(longest.count()) * share * share));
    }

    /**
     * Tasks stopped at random moments. Each ends with an error or with the right number. A stop before the worker's
     * turn has no effect, and on a busy machine that turn may be late: so stops are repeated until the task is over. A
     * count that is longer than most of the moments therefore ends with an error.
     */
    void stop_tasks(mint threads, int repetitions, Microseconds longest) {
        call_integer("PrimeCount_SetThreads", {threads});
        int ended = 0;
        for (int i = 0; i < repetitions; ++i) {
            mint task = 0;
            mint expected = 0;
            switch (i % 3) {
                case 0:
                    task = submit("PrimeCount_SubmitPrimePi", power_of_ten(14));
                    expected = pi_of_power_of_ten[14];
                    break;
                case 1:
                    task = submit("PrimeCount_SubmitPrime", power_of_ten(12));
                    expected = prime_of_power_of_ten[12];
                    break;
                default:
                    task = submit("PrimeCount_SubmitExprPrimePi", "10^14");
                    expected = pi_of_power_of_ten[14];
                    break;
            }
            std::this_thread::sleep_for(moment(longest));
            do stop();
            while (!host.wait_for_removal(task, Microseconds(500)));
            const Event report = report_of(task);
            if (report.name == "Error") {
                ++ended;
            } else if (i % 3 == 2) {
                EXPECT_EQ(std::get<std::string>(report.value.value()), std::to_string(expected));
            } else {
                EXPECT_EQ(integer_of(report), expected);
            }
            if (i % 10 == 9) check_next_counts();
        }
        EXPECT_GT(ended, repetitions / 10);
    }

    /** Synchronous counts of every kind, aborted when AbortQ has been called a random number of times. */
    void abort_counts(mint threads, int repetitions) {
        call_integer("PrimeCount_SetThreads", {threads});
        const std::vector<std::pair<std::string, int>> counts = {
            {"PrimeCount_PrimePi", 14},  {"PrimeCount_DelegliseRivat", 13}, {"PrimeCount_LMO", 13},
            {"PrimeCount_Prime", 12},    {"PrimeCount_Meissel", 12},        {"PrimeCount_Lehmer", 12},
            {"PrimeCount_Legendre", 12}, {"PrimeCount_PrimeSieve", 10}};
        for (int i = 0; i < repetitions; ++i) {
            const auto& [name, k] = counts[static_cast<size_t>(i) % counts.size()];
            // The sieve calls it once in 2 10^9 numbers, the others up to a hundred times a second.
            const mint most = name == "PrimeCount_PrimeSieve" ? 2 : 12;
            const mint patience = std::uniform_int_distribution<mint>(0, most)(random_);
            std::atomic<mint> asked{0};
            host.before("AbortQ", [&] {
                if (asked++ >= patience) host.abort = 1;
            });
            const auto index = static_cast<size_t>(k);
            const mint expected = name == "PrimeCount_Prime" ? prime_of_power_of_ten[index] : pi_of_power_of_ten[index];
            try {
                const IntegerCall call = call_integer(name, {power_of_ten(k)});
                if (call.code == 0) {
                    EXPECT_EQ(call.result, expected) << name;
                } else {
                    EXPECT_EQ(call.code, LIBRARY_FUNCTION_ERROR);
                    EXPECT_EQ(call.result, unwritten);
                }
            } catch (const std::exception&) {
                EXPECT_EQ(host.abort, 1) << name;
            }
            host.before("AbortQ", {});
            host.abort = 0;
            if (i % 10 == 9) check_next_counts();
        }
    }

    static void check_next_counts() {
        EXPECT_EQ(call_integer("PrimeCount_PrimePi", {power_of_ten(11)}).result, pi_of_power_of_ten[11]);
        EXPECT_EQ(call_integer("PrimeCount_DelegliseRivat", {power_of_ten(10)}).result, pi_of_power_of_ten[10]);
        EXPECT_EQ(call_integer("PrimeCount_Prime", {power_of_ten(9)}).result, prime_of_power_of_ten[9]);
        EXPECT_EQ(integer_of(report_of(submit("PrimeCount_SubmitPrimePi", power_of_ten(11)))), pi_of_power_of_ten[11]);
        call_integer("PrimeCount_PrimePi", {10});  // the next counts call AbortQ and report no progress
    }

  private:
    std::mt19937 random_{20240611};
};

TEST_F(Stops, TasksOnOneThread) {
    stop_tasks(1, 50, std::chrono::milliseconds(60));
}

TEST_F(Stops, TasksOnTwoThreads) {
    stop_tasks(2, 50, std::chrono::milliseconds(60));
}

TEST_F(Stops, TasksOnFourThreads) {
    stop_tasks(4, 50, std::chrono::milliseconds(60));
}

TEST_F(Stops, SynchronousCountsOnOneThread) {
    abort_counts(1, 48);
}

TEST_F(Stops, SynchronousCountsOnTwoThreads) {
    abort_counts(2, 48);
}

TEST_F(Stops, SynchronousCountsOnFourThreads) {
    abort_counts(4, 48);
}

TEST_F(Stops, RequestsFromManyThreads) {
    std::atomic<bool> done{false};
    std::vector<std::thread> stoppers;
    for (int i = 0; i < 3; ++i) {
        stoppers.emplace_back([&done] {
            while (!done) {
                stop();
                std::this_thread::sleep_for(Microseconds(700));
            }
        });
    }
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(report_of(submit("PrimeCount_SubmitPrimePi", power_of_ten(16))).name, "Error");
    }
    done = true;
    for (std::thread& stopper : stoppers) stopper.join();
    check_next_counts();
}

TEST_F(Stops, StopsBesideQueuesAndSynchronousCounts) {
    std::mt19937 random(5);
    for (int round = 0; round < 8; ++round) {
        std::vector<mint> tasks;
        for (int i = 0; i < 4; ++i) tasks.push_back(submit("PrimeCount_SubmitPrimePi", power_of_ten(14)));
        std::this_thread::sleep_for(Microseconds(random() % 50'000));
        const IntegerCall call = call_integer("PrimeCount_PrimePi", {power_of_ten(11)});
        if (call.code == 0) {
            EXPECT_EQ(call.result, pi_of_power_of_ten[11]);
        }
        stop();
        std::this_thread::sleep_for(Microseconds(random() % 50'000));
        stop();
        for (const mint task : tasks) {
            const Event report = report_of(task);
            if (report.name == "Result") {
                EXPECT_EQ(integer_of(report), pi_of_power_of_ten[14]);
            }
        }
    }
    check_next_counts();
}

TEST_F(Stops, Long_ThousandsOfStops) {
    for (const mint threads : {1, 2, 4}) {
        stop_tasks(threads, 600, std::chrono::milliseconds(1200));
        abort_counts(threads, 400);
    }
}

}  // namespace
}  // namespace kesh::test
