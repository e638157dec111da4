/**
 * @file   adapter_test.cpp
 * @brief  The primecount adapter alone, linked into this program: the effect of its callback and its exit call on the
 *         libprimecount that was found, and that other users of that library are not affected.
 */
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "expression.h"  // int128_t
#include "primecount_adapter.h"
#include "running_count.h"

// The interposed functions, as libprimecount calls them.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" int64_t _ZN10primecount7S2_easyEllllib(int64_t x, int64_t y, int64_t z, int64_t c, int threads, bool print);
extern "C" void _ZN10primecount10verify_pixESt17basic_string_viewIcSt11char_traitsIcEEnn(std::string_view algorithm,
                                                                                         kesh::counting::int128_t x,
                                                                                         kesh::counting::int128_t pix);
// NOLINTEND(bugprone-reserved-identifier)

namespace {

constexpr int64_t x14 = 100'000'000'000'000;
constexpr int64_t pi14 = 3'204'941'750'802;
constexpr int64_t x12 = 1'000'000'000'000;
constexpr int64_t pi12 = 37'607'912'018;

std::atomic<int> calls{0};
std::atomic<double> last{0};

bool note(double percent) {
    ++calls;
    EXPECT_GE(percent, last);
    last = percent;
    return false;
}

class Adapter : public testing::Test {
  protected:
    void SetUp() override {
        primecount::set_callback(nullptr);
        primecount::set_num_threads(2);
        calls = 0;
        last = 0;
    }
};

TEST_F(Adapter, WithoutACallbackCountsRunToTheirEnd) {
    EXPECT_EQ(primecount::pi(x12), pi12);
    EXPECT_EQ(primecount::pi("1000000000000"), std::to_string(pi12));
    EXPECT_EQ(primecount::pi_lmo(x12), pi12);
}

TEST_F(Adapter, ProgressRunsFromTheStartToAHundred) {
    primecount::set_callback([](double percent) {
        if (calls == 0) {
            EXPECT_LT(percent, 5);
        }
        return note(percent);
    });
    EXPECT_EQ(primecount::pi(x14), pi14);
    EXPECT_GT(calls, 3);
    EXPECT_EQ(last, 100);
}

TEST_F(Adapter, EveryKindOfLongCountReports) {
    const std::vector<int64_t (*)(int64_t)> counts = {primecount::pi, primecount::pi_deleglise_rivat,
                                                      primecount::pi_lmo, primecount::pi_meissel,
                                                      primecount::pi_lehmer};
    for (const auto count : counts) {
        SetUp();
        primecount::set_callback(note);
        EXPECT_EQ(count(x12), pi12);
        EXPECT_GT(calls, 0);
        EXPECT_EQ(last, 100);
    }
    SetUp();
    primecount::set_callback(note);
    EXPECT_EQ(primecount::nth_prime(pi12), 999'999'999'989);
    EXPECT_GT(calls, 0);
    EXPECT_EQ(last, 100);
    SetUp();
    primecount::set_callback(note);
    EXPECT_EQ(primecount::pi_primesieve(10'000'000'000), 455'052'511);
    EXPECT_GT(calls, 0);
    EXPECT_EQ(last, 100);
}

TEST_F(Adapter, ATrueResultEndsTheCount) {
    primecount::set_callback([](double) { return ++calls >= 3; });
    EXPECT_THROW(primecount::pi(x14), primecount::primecount_error);
    EXPECT_EQ(calls, 3) << "an ended count asks no more";
    EXPECT_THROW(primecount::pi(x14), std::exception) << "the callback stays";
    primecount::set_callback(nullptr);
    EXPECT_EQ(primecount::pi(x14), pi14);
}

/** Inside a work item primecount counts, and uses the result as the index of a prime: it must be right at any time. */
TEST_F(Adapter, NestedCountsRunToTheirEndAlsoWhenTheWholeIsToEnd) {
    using Count = int64_t(int64_t, int);
    static auto* const nested = reinterpret_cast<Count*>(dlsym(RTLD_DEFAULT, "_ZN10primecount10pi_noprintEli"));
    ASSERT_NE(nested, nullptr);
    static std::vector<int64_t> numbers;
    numbers.clear();
    primecount::set_callback([](double) {
        primecount::set_exitcall(true);
        numbers.push_back(nested(x12, 1));
        return false;
    });
    EXPECT_THROW(primecount::pi(x14), primecount::primecount_error);
    EXPECT_EQ(numbers, std::vector<int64_t>{pi12});
}

TEST_F(Adapter, CountsEndInEveryPhase) {
    // After the last phase the n-th prime would continue with a sieve that starts from a meaningless pi(x).
    static double threshold = 0;
    primecount::set_callback([](double percent) { return percent >= threshold; });
    for (const double percent : {1.0, 20.0, 48.0, 60.0, 80.0, 95.0, 100.0}) {
        threshold = percent;
        EXPECT_THROW(primecount::pi(x14), primecount::primecount_error) << percent;
        EXPECT_THROW(primecount::nth_prime(pi14), primecount::primecount_error) << percent;
        EXPECT_THROW(primecount::pi_lmo(x14), primecount::primecount_error) << percent;
    }
    primecount::set_callback(nullptr);
    EXPECT_EQ(primecount::nth_prime(pi12), 999'999'999'989);
}

TEST_F(Adapter, AnExceptionOfTheCallbackArrivesAsItIs) {
    struct Own {};
    primecount::set_callback([](double) -> bool { throw Own(); });
    EXPECT_THROW(primecount::pi(x14), Own);
    EXPECT_THROW(primecount::nth_prime(pi12), Own);
    EXPECT_THROW(primecount::pi_primesieve(x12), Own);
}

TEST_F(Adapter, ARequestEndsTheRunningCount) {
    primecount::set_callback([](double) {
        primecount::set_exitcall(true);
        return false;
    });
    EXPECT_THROW(primecount::pi(x14), primecount::primecount_error);
    EXPECT_THROW(primecount::pi("10^15"), primecount::primecount_error);
    EXPECT_THROW(primecount::nth_prime(pi12), primecount::primecount_error);
    EXPECT_THROW(primecount::pi_deleglise_rivat(x14), primecount::primecount_error);
    EXPECT_THROW(primecount::pi_primesieve(x12), primecount::primecount_error);
}

TEST_F(Adapter, ARequestMadeWhileNothingRunsEndsNothing) {
    primecount::set_exitcall(true);
    EXPECT_EQ(primecount::pi(x12), pi12);
    primecount::set_exitcall(true);
    primecount::set_exitcall(false);
    EXPECT_EQ(primecount::pi(x12), pi12);
}

TEST(RunningCount, AProbeIsNeitherEndedNorUsesAWithdrawalUp) {
    using kesh::counting::RunningCount;
    RunningCount::withdraw_requests();
    {
        RunningCount probe(RunningCount::Purpose::probe);
        RunningCount::request_end();
        EXPECT_FALSE(probe.ended());
    }
    const RunningCount count;
    EXPECT_TRUE(count.ended()) << "the request came after the withdrawal, while the probe ran";
}

/** A balancer is identified by its address alone. */
const int balancer = 0;

TEST_F(Adapter, ACountWithinAnotherLeavesItsThreadAsItWas) {
    using kesh::counting::RunningCount;
    RunningCount outer;
    EXPECT_EQ(RunningCount::called_here(), &outer);
    {
        const RunningCount inner;
    }
    EXPECT_EQ(RunningCount::called_here(), &outer);

    // The same while the thread works on an item of the outer count, as when a callback counts.
    outer.begin_phase(RunningCount::Phase::ac, &balancer, 100);
    ASSERT_EQ(RunningCount::enlist(&balancer), &outer);
    {
        RunningCount inner;
        EXPECT_EQ(RunningCount::called_here(), &inner);
    }
    EXPECT_EQ(RunningCount::called_here(), nullptr) << "it serves the outer count";
    EXPECT_EQ(RunningCount::enlist(&balancer), &outer);
    RunningCount::stop_serving();
    EXPECT_EQ(RunningCount::called_here(), &outer);
}

TEST_F(Adapter, NoPhaseBeginsAfterARequest) {
    using kesh::counting::RunningCount;
    RunningCount count;
    count.begin_phase(RunningCount::Phase::ac, &balancer, 100);
    RunningCount::request_end();
    EXPECT_THROW(count.begin_phase(RunningCount::Phase::p2, &balancer, 100), primecount::primecount_error);
}

TEST_F(Adapter, StepsWithoutWorkItemsDoNotBeginAfterARequest) {
    kesh::counting::RunningCount count;
    const int64_t leaves = _ZN10primecount7S2_easyEllllib(1'000'000, 1'000, 1'000, 5, 1, false);
    kesh::counting::RunningCount::request_end();
    EXPECT_THROW(_ZN10primecount7S2_easyEllllib(1'000'000, 1'000, 1'000, 5, 1, false), primecount::primecount_error)
        << leaves;
}

/** primecount 8 ends the process when a result is too far from Li(x). */
TEST_F(Adapter, AnEndedCountLeavesBeforeItsResultIsChecked) {
    const kesh::counting::RunningCount count;
    kesh::counting::RunningCount::request_end();
    EXPECT_THROW(_ZN10primecount10verify_pixESt17basic_string_viewIcSt11char_traitsIcEEnn("a count", 1'000'000, 1),
                 primecount::primecount_error);
}

TEST_F(Adapter, OnlyLongPhasesAreCutFiner) {
    using kesh::counting::RunningCount;
    using Phase = RunningCount::Phase;
    RunningCount count;
    for (const auto& [phase, longest_short] :
         {std::pair{Phase::ac, 20'000'000}, {Phase::p2, 1'000'000'000}, {Phase::s2, 200'000'000}}) {
        count.begin_phase(phase, &balancer, longest_short);
        EXPECT_FALSE(count.phase_is_long());
        count.begin_phase(phase, &balancer, longest_short + 1);
        EXPECT_TRUE(count.phase_is_long());
    }
}

TEST_F(Adapter, ReportsNeverFallAndEndAtAHundred) {
    using kesh::counting::RunningCount;
    static std::vector<double> reports;
    RunningCount::install_callback([](double percent) {
        reports.push_back(percent);
        return false;
    });
    RunningCount count;
    for (const double percent : {50.0, 20.0, 60.0}) {
        // A report comes only after a pause since the last one.
        for (const size_t before = reports.size(); reports.size() == before;) count.report(percent);
    }
    count.finish();
    RunningCount::install_callback(nullptr);
    EXPECT_EQ(reports, (std::vector<double>{50, 50, 60, 100}));
}

TEST_F(Adapter, PhasesHaveTheirSharesOfThePercentage) {
    using kesh::counting::RunningCount;
    using Phase = RunningCount::Phase;
    static std::vector<double> reports;
    RunningCount::install_callback([](double percent) {
        reports.push_back(percent);
        return false;
    });
    // A phase that begins reports the end of the one before.
    const auto reported = [](const std::vector<Phase>& phases) {
        reports.clear();
        RunningCount count;
        for (const Phase phase : phases) {
            count.begin_phase(phase, &balancer, 100);
            std::this_thread::sleep_for(std::chrono::milliseconds(15));  // longer than the pause between two reports
        }
        count.finish();
        return reports;
    };
    EXPECT_EQ(reported({Phase::ac, Phase::p2, Phase::s2}), (std::vector<double>{0, 45, 57, 100}));
    EXPECT_EQ(reported({Phase::p2, Phase::s2}), (std::vector<double>{0, 50, 100}));
    RunningCount::install_callback(nullptr);
}

TEST_F(Adapter, ARequestBetweenWithdrawalAndCountIsNotLost) {
    primecount::set_exitcall(false);
    std::thread([] { primecount::set_exitcall(true); }).join();
    EXPECT_THROW(primecount::pi(x12), primecount::primecount_error);
    EXPECT_EQ(primecount::pi(x12), pi12) << "one count per withdrawal";
}

TEST_F(Adapter, NegativeNumbers) {
    EXPECT_EQ(primecount::pi(-1), 0);
    EXPECT_EQ(primecount::pi(INT64_MIN), 0);
    EXPECT_EQ(primecount::pi("-1"), "0");
    EXPECT_EQ(primecount::pi("-1e30"), "0");
    EXPECT_EQ(primecount::pi_primesieve(-1), 0);
}

TEST_F(Adapter, ErrorsOfPrimecountPass) {
    EXPECT_THROW(primecount::nth_prime(0), primecount::primecount_error);
    EXPECT_THROW(primecount::pi("12a"), std::exception);
    EXPECT_EQ(primecount::pi(x12), pi12);
}

TEST_F(Adapter, OtherUsersOfTheLibraryAreLeftAlone) {
    // Their calls go to libprimecount's own entry points, and its inner calls then pass through this program.
    void* const library = dlopen(KESH_PRIMECOUNT_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(library, nullptr);
    const auto foreign_pi = reinterpret_cast<int64_t (*)(int64_t)>(dlsym(library, "_ZN10primecount2piEl"));
    const auto foreign_nth = reinterpret_cast<int64_t (*)(int64_t)>(dlsym(library, "_ZN10primecount9nth_primeEl"));
    ASSERT_NE(foreign_pi, nullptr);
    ASSERT_NE(foreign_nth, nullptr);
    primecount::set_callback([](double) {
        ++calls;
        return true;
    });
    std::atomic<bool> done{false};
    std::thread stopper([&done] {
        while (!done) primecount::set_exitcall(true);
    });
    std::thread own([&done] {
        while (!done) EXPECT_THROW(primecount::pi(x14), std::exception);
    });
    EXPECT_EQ(foreign_pi(x14), pi14);
    EXPECT_EQ(foreign_nth(pi12), 999'999'999'989);
    done = true;
    stopper.join();
    own.join();
    calls = 0;
    EXPECT_EQ(foreign_pi(x14), pi14);
    EXPECT_EQ(calls, 0);
}

}  // namespace
