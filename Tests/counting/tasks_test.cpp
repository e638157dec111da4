/**
 * @file   tasks_test.cpp
 * @brief  Counts as tasks: events, stopping, the one callback and the one table, and faults of the host.
 */
#include <gmock/gmock.h>

#include <stdexcept>
#include <thread>

#include "counting/counting.h"
#include "support/threads.h"

namespace kesh::test {
namespace {

class Tasks : public CountingTest {
  protected:
    /** Number of events of one task with this name. */
    static size_t number_of(mint task, const std::string& name) {
        size_t number = 0;
        for (const Event& event : events_of(task)) number += event.name == name ? 1 : 0;
        return number;
    }
};

TEST_F(Tasks, CreateGivesNewIdsWhateverIsPassed) {
    const IntegerCall first = call_integer("PrimeCount_CreateTask", {});
    const IntegerCall second = call_integer("PrimeCount_CreateTask", {1, 2, 3});
    EXPECT_EQ(first.code, 0);
    EXPECT_EQ(second.code, 0);
    EXPECT_NE(first.result, second.result);
}

TEST_F(Tasks, WrongArgumentCounts) {
    for (const char* name : {"PrimeCount_SubmitPrimePi", "PrimeCount_SubmitPrime"}) {
        for (const size_t arity : {size_t{0}, size_t{1}, size_t{3}}) {
            const IntegerCall call = call_integer(name, std::vector<mint>(arity, 7));
            EXPECT_EQ(call.code, LIBRARY_FUNCTION_ERROR);
            EXPECT_EQ(call.result, unwritten);
        }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(host.events().empty());
}

TEST_F(Tasks, SmallCounts) {
    const mint pi = submit("PrimeCount_SubmitPrimePi", 100);
    EXPECT_EQ(integer_of(report_of(pi)), 25);
    EXPECT_EQ(number_of(pi, "Result"), 1u);
    EXPECT_EQ(integer_of(report_of(submit("PrimeCount_SubmitPrime", 25))), 97);
    EXPECT_EQ(integer_of(report_of(submit("PrimeCount_SubmitPrimePi", -1))), 0);
}

TEST_F(Tasks, CountsOutOfRangeFail) {
    EXPECT_EQ(report_of(submit("PrimeCount_SubmitPrime", mint{0})).name, "Error");
    EXPECT_EQ(report_of(submit("PrimeCount_SubmitPrime", mint{1} << 62)).name, "Error");
}

TEST_F(Tasks, StopIgnoresItsArgumentsAndItsResult) {
    const IntegerCall call = call_integer("PrimeCount_StopTask", {1, 2, 3});
    EXPECT_EQ(call.code, 0);
    EXPECT_EQ(call.result, unwritten);
}

TEST_F(Tasks, ProgressArrivesInOrder) {
    for (const auto& [name, n] : {std::pair<std::string, mint>{"PrimeCount_SubmitPrimePi", power_of_ten(15)},
                                  {"PrimeCount_SubmitPrime", power_of_ten(13)}}) {
        const mint task = submit(name, n);
        EXPECT_EQ(report_of(task).name, "Result");
        const std::vector<Event> events = events_of(task);
        ASSERT_GE(events.size(), 6u) << name;
        EXPECT_LT(std::get<mreal>(*events.front().value), 5) << name;
        EXPECT_EQ(std::get<mreal>(*events[events.size() - 2].value), 100) << name;
    }
}

TEST_F(Tasks, StringCountsReportProgressToo) {
    const mint task = submit("PrimeCount_SubmitExprPrimePi", "10^14");
    const Event report = report_of(task);
    EXPECT_EQ(std::get<std::string>(report.value.value()), std::to_string(pi_of_power_of_ten[14]));
    EXPECT_GT(number_of(task, "Status"), 0u);
}

TEST_F(Tasks, TwoSubmitsRunOneAfterTheOther) {
    const mint first = submit("PrimeCount_SubmitPrimePi", power_of_ten(14));
    const mint second = submit("PrimeCount_SubmitPrimePi", power_of_ten(13));
    EXPECT_EQ(integer_of(report_of(first)), pi_of_power_of_ten[14]);
    EXPECT_EQ(integer_of(report_of(second)), pi_of_power_of_ten[13]);
    // That their events do not mix is checked after every test.
}

TEST_F(Tasks, ABurstOfAThousand) {
    report_of(submit("PrimeCount_SubmitPrimePi", power_of_ten(10)));
    const long threads_before = thread_count();
    std::vector<mint> tasks;
    for (mint i = 0; i < 1000; ++i) {
        switch (i % 3) {
            case 0:
                tasks.push_back(submit("PrimeCount_SubmitPrimePi", 1'000'000 + i));
                break;
            case 1:
                tasks.push_back(submit("PrimeCount_SubmitPrime", 1 + i));
                break;
            default:
                tasks.push_back(submit("PrimeCount_SubmitExprPrimePi", std::to_string(i % 2 == 0 ? i : -i)));
                break;
        }
    }
    for (const mint task : tasks) {
        EXPECT_EQ(report_of(task).name, "Result");
        EXPECT_EQ(number_of(task, "Result"), 1u);
    }
    EXPECT_TRUE(wait_for_threads(threads_before));
}

// --- stopping ---------------------------------------------------------------------------------------------------

TEST_F(Tasks, StopEndsARunningCount) {
    for (const char* name : {"PrimeCount_SubmitPrimePi", "PrimeCount_SubmitPrime"}) {
        const mint task = submit(name, power_of_ten(16));
        ASSERT_TRUE(wait_for_progress(task));
        stop();
        EXPECT_EQ(report_of(task).name, "Error");
    }
    const mint task = submit("PrimeCount_SubmitExprPrimePi", "10^17");
    ASSERT_TRUE(wait_for_progress(task));
    stop();
    EXPECT_EQ(report_of(task).name, "Error");
}

TEST_F(Tasks, StopWhileIdleHasNoEffectOnTheNextTask) {
    stop();
    EXPECT_EQ(integer_of(report_of(submit("PrimeCount_SubmitPrimePi", power_of_ten(13)))), pi_of_power_of_ten[13]);
}

TEST_F(Tasks, StopWhileIdleHasNoEffectOnSynchronousCounts) {
    // A request ends the counts that run when it is made. If it ended later ones, every synchronous count after a late
    // stop would fail until the next task.
    stop();
    EXPECT_EQ(call_integer("PrimeCount_PrimePi", {power_of_ten(13)}).result, pi_of_power_of_ten[13]);
    EXPECT_EQ(call_integer("PrimeCount_LMO", {power_of_ten(12)}).result, pi_of_power_of_ten[12]);
    EXPECT_EQ(call_string("PrimeCount_ExprPrimePi", "10^12").code, 0);
    EXPECT_EQ(integer_of(report_of(submit("PrimeCount_SubmitPrimePi", power_of_ten(12)))), pi_of_power_of_ten[12]);
}

TEST_F(Tasks, StopEndsARunningSynchronousCount) {
    std::thread stopper([this] {
        while (host.abort_calls == 0) std::this_thread::yield();
        stop();
    });
    EXPECT_EQ(call_integer("PrimeCount_PrimePi", {power_of_ten(16)}).code, LIBRARY_FUNCTION_ERROR);
    stopper.join();
}

TEST_F(Tasks, StopDoesNotReachQueuedTasks) {
    const mint running = submit("PrimeCount_SubmitPrimePi", power_of_ten(16));
    ASSERT_TRUE(wait_for_progress(running));
    const mint queued = submit("PrimeCount_SubmitPrimePi", power_of_ten(13));
    const mint queued_string = submit("PrimeCount_SubmitExprPrimePi", "10^12");
    stop();
    EXPECT_EQ(report_of(running).name, "Error");
    EXPECT_EQ(integer_of(report_of(queued)), pi_of_power_of_ten[13]);
    EXPECT_EQ(std::get<std::string>(report_of(queued_string).value.value()), std::to_string(pi_of_power_of_ten[12]));
}

// --- the one callback and the one table -------------------------------------------------------------------------

TEST_F(Tasks, ASynchronousCountTakesOverCallbackAndTable) {
    HeldProgress held;
    const mint task = submit("PrimeCount_SubmitPrimePi", power_of_ten(13));
    EXPECT_TRUE(held.wait());
    EXPECT_EQ(call_integer("PrimeCount_PrimePi", {10}).result, 4);
    const mint asked = host.abort_calls;
    held.release();
    EXPECT_EQ(integer_of(report_of(task)), pi_of_power_of_ten[13]);
    EXPECT_EQ(number_of(task, "Status"), 1u) << "only the report that was under way";
    EXPECT_GT(host.abort_calls, asked);
}

TEST_F(Tasks, AbortAfterTheTakeOverEndsTheTask) {
    HeldProgress held;
    const mint task = submit("PrimeCount_SubmitPrimePi", power_of_ten(13));
    EXPECT_TRUE(held.wait());
    host.abort = 1;
    EXPECT_EQ(call_string("PrimeCount_ExprPrimePi", "10").code, 0);
    held.release();
    EXPECT_EQ(report_of(task).name, "Error");
}

TEST_F(Tasks, ProgressOfLaterCountsGoesToTheLastTask) {
    // The progress callback stays installed after a task has ended; the exports that install none use it.
    const mint task = submit("PrimeCount_SubmitPrimePi", 10);
    EXPECT_EQ(integer_of(report_of(task)), 4);
    EXPECT_EQ(call_integer("PrimeCount_LMO", {power_of_ten(13)}).result, pi_of_power_of_ten[13]);
    EXPECT_GT(number_of(task, "Status"), 0u);
    EXPECT_EQ(host.abort_calls, 0);
}

TEST_F(Tasks, EventsOfTwoCountsDoNotOverlap) {
    std::atomic<bool> building{false}, overlapped{false};
    host.before("createDataStore", [&] {
        if (building.exchange(true)) overlapped = true;
    });
    host.before("raiseAsyncEvent", [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        building = false;
    });
    const mint task = submit("PrimeCount_SubmitPrimePi", power_of_ten(15));
    ASSERT_TRUE(wait_for_progress(task));
    EXPECT_EQ(call_integer("PrimeCount_LMO", {power_of_ten(13)}).result, pi_of_power_of_ten[13]);
    EXPECT_EQ(integer_of(report_of(task)), pi_of_power_of_ten[15]);
    EXPECT_FALSE(overlapped);
}

TEST_F(Tasks, TheTaskIsRemovedThroughTheTableItWasSubmittedWith) {
    static std::atomic<int> removed, results_raised;
    removed = results_raised = 0;
    st_VelmoraIOLibrary_Functions io = host.io;
    io.removeAsynchronousTask = [](mint task) {
        ++removed;
        return TestHost::instance().io.removeAsynchronousTask(task);
    };
    io.raiseAsyncEvent = [](mint task, char* name, DataStore store) {
        if (std::string(name) == "Result") ++results_raised;
        TestHost::instance().io.raiseAsyncEvent(task, name, store);
    };
    st_VelmoraLibraryData data = host.table;
    data.ioLibraryFunctions = &io;
    HeldProgress held;
    const mint task = call_integer("PrimeCount_CreateTask", {}).result;
    EXPECT_EQ(call_integer("PrimeCount_SubmitPrimePi", {task, power_of_ten(13)}, &data).code, 0);
    EXPECT_TRUE(held.wait());
    EXPECT_EQ(call_integer("PrimeCount_PrimePi", {10}).result, 4);  // later events use the ordinary table
    held.release();
    EXPECT_EQ(integer_of(report_of(task)), pi_of_power_of_ten[13]);
    EXPECT_EQ(removed, 1);
    EXPECT_EQ(results_raised, 0) << "\"Result\" goes through the table of the last call";
}

// --- faults of the host -----------------------------------------------------------------------------------------

TEST_F(Tasks, AHostThatThrowsWhileTheResultIsRaised) {
    host.before("DataStore_addInteger", [] { throw std::runtime_error("no room"); });
    const mint task = submit("PrimeCount_SubmitPrimePi", 100);
    EXPECT_EQ(report_of(task).name, "Error");
    EXPECT_EQ(number_of(task, "Result"), 0u);
    EXPECT_EQ(host.discarded_data_stores(), 1u) << "the one of the failed event";
    host.before("DataStore_addInteger", {});
    EXPECT_EQ(integer_of(report_of(submit("PrimeCount_SubmitPrimePi", 100))), 25);
}

TEST_F(Tasks, AHostThatThrowsAfterItTookTheResult) {
    // The task then receives both events: the one of the failed raise is not taken back.
    static std::atomic<bool> thrown{false};
    thrown = false;
    host.expect_breaches();
    st_VelmoraIOLibrary_Functions io = host.io;
    io.raiseAsyncEvent = [](mint task, char* name, DataStore store) {
        TestHost::instance().io.raiseAsyncEvent(task, name, store);
        if (!thrown.exchange(true)) throw std::runtime_error("after the fact");
    };
    st_VelmoraLibraryData data = host.table;
    data.ioLibraryFunctions = &io;
    const mint task = call_integer("PrimeCount_CreateTask", {}).result;
    EXPECT_EQ(call_integer("PrimeCount_SubmitPrimePi", {task, 100}, &data).code, 0);
    EXPECT_EQ(report_of(task).name, "Error");
    EXPECT_EQ(number_of(task, "Result"), 1u);
    EXPECT_THAT(host.breaches(), testing::ElementsAre(testing::HasSubstr("\"Error\" of task " + std::to_string(task) +
                                                                         " after its \"Result\"")));
}

TEST_F(Tasks, AHostThatThrowsWhileProgressIsRaised) {
    // The callback runs on primecount's threads, where no exception may pass; the count ends and the task fails.
    host.before("DataStore_addReal", [] { throw std::runtime_error("no room"); });
    const mint task = submit("PrimeCount_SubmitPrimePi", power_of_ten(14));
    EXPECT_EQ(report_of(task).name, "Error");
    EXPECT_EQ(number_of(task, "Status"), 0u);
    host.before("DataStore_addReal", {});
    EXPECT_EQ(integer_of(report_of(submit("PrimeCount_SubmitPrimePi", power_of_ten(12)))), pi_of_power_of_ten[12]);
}

TEST_F(Tasks, AHostWithoutDataStores) {
    // A null DataStore is passed on unchanged: the host has to deal with it.
    host.make_no_data_stores();
    const mint task = submit("PrimeCount_SubmitPrimePi", 100);
    const Event report = report_of(task);
    EXPECT_EQ(report.name, "Result");
    EXPECT_FALSE(report.value);
}

TEST_F(Tasks, ASlowHostDelaysOnlyItself) {
    host.before("raiseAsyncEvent", [] { std::this_thread::sleep_for(std::chrono::milliseconds(3)); });
    EXPECT_EQ(integer_of(report_of(submit("PrimeCount_SubmitPrimePi", power_of_ten(13)))), pi_of_power_of_ten[13]);
}

TEST_F(Tasks, EventsMayCallTheLibrary) {
    host.before("DataStore_addReal", [] { stop(); });
    const mint task = submit("PrimeCount_SubmitPrimePi", power_of_ten(16));
    EXPECT_EQ(report_of(task).name, "Error");
    EXPECT_EQ(number_of(task, "Status"), 1u);
}

}  // namespace
}  // namespace kesh::test
