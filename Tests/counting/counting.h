/**
 * @file   counting.h
 * @brief  The common parts of the tests of the counting exports: known values, calls with strings, and tasks.
 */
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/test_host.h"

namespace kesh::test {

/** pi(10^k), k = 0 .. 18 (OEIS A006880). */
inline constexpr std::array<mint, 19> pi_of_power_of_ten = {0,
                                                            4,
                                                            25,
                                                            168,
                                                            1229,
                                                            9592,
                                                            78498,
                                                            664579,
                                                            5761455,
                                                            50847534,
                                                            455052511,
                                                            4118054813,
                                                            37607912018,
                                                            346065536839,
                                                            3204941750802,
                                                            29844570422669,
                                                            279238341033925,
                                                            2623557157654233,
                                                            24739954287740860};

/** The 10^k-th prime, k = 0 .. 17 (OEIS A006988). */
inline constexpr std::array<mint, 18> prime_of_power_of_ten = {2,
                                                               29,
                                                               541,
                                                               7919,
                                                               104729,
                                                               1299709,
                                                               15485863,
                                                               179424673,
                                                               2038074743,
                                                               22801763489,
                                                               252097800623,
                                                               2760727302517,
                                                               29996224275833,
                                                               323780508946331,
                                                               3475385758524527,
                                                               37124508045065437,
                                                               394906913903735329,
                                                               4185296581467695669};

constexpr mint power_of_ten(int k) {
    mint power = 1;
    while (k-- > 0) power *= 10;
    return power;
}

/** One call of an export with a string argument, or a task and a string. `text` is null if nothing was written. */
struct StringCall {
    int code = 0;
    const char* text = nullptr;
};

inline StringCall call_string_at(const std::string& name, char* argument,
                                 VelmoraLibraryData data = TestHost::instance().data()) {
    MArgument slot;
    slot.utf8string = &argument;
    StringCall call;
    char* result = nullptr;
    MArgument result_slot;
    result_slot.utf8string = &result;
    call.code = TestHost::instance().announced(
        name, std::nullopt, [&] { return Library::instance().get(name)(data, 1, &slot, result_slot); });
    call.text = result;
    return call;
}

inline StringCall call_string(const std::string& name, const std::string& argument) {
    return call_string_at(name, TestHost::instance().new_string(argument));
}

inline int submit_string(mint task, char* argument, VelmoraLibraryData data = TestHost::instance().data()) {
    MArgument slots[2];
    slots[0].integer = &task;
    slots[1].utf8string = &argument;
    const std::string name = "PrimeCount_SubmitExprPrimePi";
    return TestHost::instance().announced(name, task,
                                          [&] { return Library::instance().get(name)(data, 2, slots, MArgument{}); });
}

/** A new task with one count submitted to it: the export's name, and its argument. */
inline mint submit(const std::string& name, mint n) {
    const mint task = call_integer("PrimeCount_CreateTask", {}).result;
    const IntegerCall call = call_integer(name, {task, n});
    EXPECT_EQ(call.code, 0);
    EXPECT_EQ(call.result, unwritten);
    return task;
}

inline mint submit(const std::string& name, const std::string& n) {
    const mint task = call_integer("PrimeCount_CreateTask", {}).result;
    EXPECT_EQ(name, "PrimeCount_SubmitExprPrimePi");
    EXPECT_EQ(submit_string(task, TestHost::instance().new_string(n)), 0);
    return task;
}

inline void stop() {
    EXPECT_EQ(call_integer("PrimeCount_StopTask", {}).code, 0);
}

/** The events of one task in order, without its removal. */
inline std::vector<Event> events_of(mint task) {
    std::vector<Event> selected;
    for (Event& event : TestHost::instance().events()) {
        if (event.task == task && !event.removal()) selected.push_back(std::move(event));
    }
    return selected;
}

/** Waits for the removal of a task and returns its report: the last event that is not "Status". */
inline Event report_of(mint task) {
    EXPECT_TRUE(TestHost::instance().wait_for_removal(task)) << "task " << task << " was not removed";
    Event report;
    report.name = "nothing";
    for (Event& event : events_of(task)) {
        if (event.name != "Status") report = std::move(event);
    }
    return report;
}

inline mint integer_of(const Event& event) {
    return event.name == "Result" ? std::get<mint>(event.value.value()) : -1;
}

/** Waits for the first progress of a task; false if the task ended without any. */
inline bool wait_for_progress(mint task) {
    bool progressed = false;
    TestHost::instance().wait_until([&](const std::vector<Event>& events) {
        for (const Event& event : events) {
            if (event.task != task) continue;
            progressed = progressed || event.name == "Status";
            if (progressed || event.removal()) return true;
        }
        return false;
    });
    return progressed;
}

/**
 * Stops every count at its next report of progress until release(), so that a test can act in the middle of a count.
 * The test must wait for the removal of its tasks before this object is destroyed.
 */
class HeldProgress {
  public:
    HeldProgress() {
        TestHost::instance().before("DataStore_addReal", [this] {
            reached_ = true;
            released_.wait(false);
        });
    }
    /** Waits until a count is held; false when none is within twenty minutes. */
    [[nodiscard]] bool wait() const {
        for (int i = 0; i < 120'000 && !reached_; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return reached_;
    }
    void release() {
        released_ = true;
        released_.notify_all();
    }

  private:
    std::atomic<bool> reached_{false}, released_{false};
};

/** Starts each test with an empty record. Breaches of the event protocol fail it. */
class CountingTest : public testing::Test {
  protected:
    void SetUp() override {
        host.reset();
    }
    void TearDown() override {
        EXPECT_EQ(kesh_host::host().tasks.open_stores(), 0U) << "DataStores that were never handed over";
    }

    TestHost& host = TestHost::instance();
};

}  // namespace kesh::test
