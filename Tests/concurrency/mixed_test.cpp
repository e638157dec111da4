/**
 * @file   mixed_test.cpp
 * @brief  Exports called from several threads at once, first calls included, while tasks run and are stopped at random.
 *
 * Counts that replace the host's table, and the string count, belong to one thread: the host's evaluation. Everything
 * else may be called from any thread.
 */
#include <barrier>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>
#include <thread>

#include "counting/counting.h"

namespace kesh::test {
namespace {

class Mixed : public CountingTest {
  protected:
    static bool prime_q(const umint* limbs, mint length) {
        static const auto function = Library::instance().get<mbool (*)(const umint*, mint, mbool*)>("KESH_PrimeQ");
        mbool answer = -1;
        EXPECT_EQ(function(limbs, length, &answer), 1);
        return answer == 1;
    }

    /** Sieving and primality, with answers that are known. */
    static void stateless_calls() {
        EXPECT_EQ(call_integer("PrimeSieve_CountPrimes", {0, 1'000'000}).result, 78498);
        EXPECT_EQ(call_integer("PrimeSieve_NthPrime", {10'000}).result, 104729);
        EXPECT_EQ(call_integer("PrimeSieve_NextPrime", {power_of_ten(12)}).result, 1'000'000'000'039);
        EXPECT_EQ(call_integer("PrimeSieve_PrimeSum", {1000}).result, 76127);
        EXPECT_EQ(call_integer("PrimeSieve_CountTwins", {0, 1'000'000}).result, 8169);
        const umint mersenne89[2] = {~umint{0}, (umint{1} << 25) - 1};
        EXPECT_TRUE(prime_q(mersenne89, 2));
        umint mersenne521[16] = {};
        for (size_t i = 0; i < 9; ++i) mersenne521[i] = i < 8 ? ~umint{0} : 0x1FF;
        EXPECT_TRUE(prime_q(mersenne521, 16));
        mersenne521[0] -= 2;
        EXPECT_FALSE(prime_q(mersenne521, 16));
        const umint fermat6[2] = {1, 1};
        EXPECT_FALSE(prime_q(fermat6, 2));
    }

    /**
     * The first call that needs them builds the table of small primes and the divisors of the square test, chooses the
     * kernels, and finds out whether primecount's calls arrive. Exits with 0 if all results are right.
     */
    [[noreturn]] static void race_first_calls(std::chrono::microseconds apart) {
        constexpr int threads = 8;
        std::barrier start(threads);
        std::vector<std::jthread> all;
        for (int i = 0; i < threads; ++i) {
            all.emplace_back([&start, apart, i] {
                start.arrive_and_wait();
                std::this_thread::sleep_for(i * apart);
                if (i % 2 == 0) {
                    EXPECT_EQ(call_integer("PrimeCount_LMO", {power_of_ten(9)}).result, pi_of_power_of_ten[9]);
                }
                stateless_calls();
                if (i % 2 == 1) {
                    EXPECT_EQ(call_integer("PrimeCount_Coprime", {power_of_ten(9), 100}).result, 88'905'088);
                }
            });
        }
        all.clear();
        const testing::TestResult& result = *testing::UnitTest::GetInstance()->current_test_info()->result();
        for (int i = 0; i < result.total_part_count(); ++i) std::cerr << result.GetTestPartResult(i).message() << '\n';
        std::exit(result.Failed() ? 1 : 0);
    }
};

TEST_F(Mixed, FirstCallsOfEveryKindRace) {
    // Each process can have only one such race. So there are ten processes, with longer and longer times between
    // threads.
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    for (int run = 0; run < 10; ++run) {
        EXPECT_EXIT(race_first_calls(std::chrono::microseconds(30 * run)), testing::ExitedWithCode(0), "^$");
    }
}

TEST_F(Mixed, CallsWhileTasksRunAndAreStopped) {
    constexpr int rounds = 6;
    std::atomic<int> working{0};
    std::vector<std::jthread> all;
    const auto work = [&](auto body) {
        ++working;
        all.emplace_back([&working, body] {
            for (int round = 0; round < rounds; ++round) body(round);
            --working;
        });
    };
    for (int i = 0; i < 2; ++i) work([](int) { stateless_calls(); });

    std::mutex mutex;
    std::vector<std::pair<mint, bool>> tasks;  // and whether their result is a string
    for (int i = 0; i < 2; ++i) {
        work([&](int round) {
            const bool text = round % 2 == 0;
            const mint task = text ? submit("PrimeCount_SubmitExprPrimePi", "10^13")
                                   : submit("PrimeCount_SubmitPrimePi", power_of_ten(13));
            const std::lock_guard lock(mutex);
            tasks.emplace_back(task, text);
        });
    }
    std::jthread stopper([&working] {
        std::mt19937 random(11);
        while (working > 0) {
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 30'000));
            stop();
        }
    });
    work([](int) {  // the host's evaluation
        const IntegerCall pi = call_integer("PrimeCount_PrimePi", {power_of_ten(12)});
        if (pi.code == 0) {
            EXPECT_EQ(pi.result, pi_of_power_of_ten[12]);
        } else {
            EXPECT_EQ(pi.code, LIBRARY_FUNCTION_ERROR);
        }
        const StringCall text = call_string("PrimeCount_ExprPrimePi", "10^12");
        if (text.code == 0) {
            EXPECT_STREQ(text.text, "37607912018");
        } else {
            EXPECT_EQ(text.code, LIBRARY_FUNCTION_ERROR);
        }
        EXPECT_EQ(call_integer("PrimeCount_GetThreads", {}).code, 0);
    });
    all.clear();
    stopper.join();

    EXPECT_EQ(tasks.size(), 2U * rounds);
    for (const auto& [task, text] : tasks) {
        const Event report = report_of(task);
        if (report.name == "Result") {
            EXPECT_EQ(text ? std::get<std::string>(report.value.value()) : std::to_string(integer_of(report)),
                      "346065536839");
        } else {
            EXPECT_EQ(report.name, "Error");
        }
    }
    EXPECT_EQ(call_integer("PrimeCount_PrimePi", {power_of_ten(11)}).result, pi_of_power_of_ten[11]);
}

}  // namespace
}  // namespace kesh::test
