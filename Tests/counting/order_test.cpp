/**
 * @file   order_test.cpp
 * @brief  The counting exports with a primecount that records its calls: what a worker, a stop and a text count call,
 *         and in which order.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Prime/prime_count.h"
#include "primecount_adapter.h"
#include "support/test_host.h"

namespace {

using Log = std::vector<std::string>;

/** The recorded calls of primecount. */
class Record {
  public:
    void add(const std::string& what) {
        const std::lock_guard lock(mutex_);
        log_.push_back(what);
    }
    Log taken() {
        const std::lock_guard lock(mutex_);
        return std::exchange(log_, {});
    }

  private:
    std::mutex mutex_;
    Log log_;
};
Record record;
bool (*installed)(double) = nullptr;

/** Counts of this number wait until the test lets them go. */
constexpr int64_t held_count = 42;
std::atomic<bool> held{false}, let_go{false};

/** A string of the host whose first character is changed when the callback is installed. */
char* string_to_change = nullptr;

int64_t counted(const std::string& name, int64_t n) {
    record.add(name + " " + std::to_string(n));
    if (n == held_count) {
        held = true;
        held.notify_all();
        let_go.wait(false);
    }
    return n;
}

}  // namespace

namespace primecount {

void set_callback(bool (*callback)(double)) {
    installed = callback;
    record.add(callback == nullptr ? "no callback" : "callback");
    if (string_to_change != nullptr) *string_to_change = '7';
}
void set_exitcall(bool request) {
    record.add(request ? "end" : "no end");
}
int get_num_threads() {
    return 1;
}
void set_num_threads(int threads) {
    counted("threads", threads);
}
int64_t pi(int64_t x) {
    return counted("pi", x);
}
std::string pi(const std::string& x) {
    record.add("pi of text " + x);
    return x;
}
int64_t nth_prime(int64_t n) {
    return counted("prime", n);
}
int64_t phi(int64_t x, int64_t a) {
    return counted("phi", x + a);
}
int64_t pi_meissel(int64_t x) {
    return counted("meissel", x);
}
int64_t pi_deleglise_rivat(int64_t x) {
    return counted("deleglise_rivat", x);
}
int64_t pi_legendre(int64_t x) {
    return counted("legendre", x);
}
int64_t pi_lehmer(int64_t x) {
    return counted("lehmer", x);
}
int64_t pi_lmo(int64_t x) {
    return counted("lmo", x);
}
int64_t pi_primesieve(int64_t x) {
    return counted("primesieve", x);
}

}  // namespace primecount

namespace kesh::test {
namespace {

class Order : public testing::Test {
  protected:
    void SetUp() override {
        host.reset();
        record.taken();
        held = let_go = false;
        string_to_change = nullptr;
    }

    /** A new task with a count: the task's id. */
    template <typename Export>
    mint submit(const char* name, Export function, MArgument argument) {
        mint task = host.io.createAsynchronousTaskWithoutThread();
        MArgument slots[2];
        slots[0].integer = &task;
        slots[1] = argument;
        EXPECT_EQ(host.announced(name, task, [&] { return function(host.data(), 2, slots, MArgument{}); }), 0);
        return task;
    }
    mint submit_pi(mint n) {
        return submit("PrimeCount_SubmitPrimePi", PrimeCount_SubmitPrimePi, {.integer = &n});
    }
    mint submit_prime(mint n) {
        return submit("PrimeCount_SubmitPrime", PrimeCount_SubmitPrime, {.integer = &n});
    }
    mint submit_text(const std::string& text) {
        char* argument = host.new_string(text);
        return submit("PrimeCount_SubmitExprPrimePi", PrimeCount_SubmitExprPrimePi, {.utf8string = &argument});
    }

    static void stop() {
        EXPECT_EQ(PrimeCount_StopTask(TestHost::instance().data(), 0, nullptr, MArgument{}), 0);
    }

    TestHost& host = TestHost::instance();
};

TEST_F(Order, AWorkerInstallsItsCallbackAndWithdrawsStopsBeforeItCounts) {
    ASSERT_TRUE(host.wait_for_removal(submit_pi(100)));
    EXPECT_EQ(record.taken(), (Log{"callback", "no end", "pi 100"}));
    ASSERT_TRUE(host.wait_for_removal(submit_prime(100)));
    EXPECT_EQ(record.taken(), (Log{"callback", "no end", "prime 100"}));
    ASSERT_TRUE(host.wait_for_removal(submit_text("100")));
    EXPECT_EQ(record.taken(), (Log{"callback", "no end", "pi of text 100"}));
}

TEST_F(Order, AStopRequestsTheEndAndTouchesNothingElse) {
    ASSERT_TRUE(host.wait_for_removal(submit_pi(100)));
    auto* const callback = installed;
    record.taken();
    stop();
    EXPECT_EQ(record.taken(), Log{"end"});
    EXPECT_EQ(installed, callback);
}

TEST_F(Order, ThePercentageArrivesUnchanged) {
    ASSERT_TRUE(host.wait_for_removal(submit_pi(100)));
    // As a count on this thread would report that runs under the task's callback.
    const kesh_host::HostCount count(kesh_host::host().tasks, *kesh_host::find_export("PrimeCount_LMO"));
    for (const double percent : {0.0, 0.1, 33.3, 99.99, 100.0}) {
        EXPECT_FALSE(installed(percent));
        EXPECT_EQ(std::get<mreal>(host.events().back().value.value()), percent);
    }
}

/** The states of this process's threads, one letter each: S sleeps. */
std::string thread_states() {
    std::string states;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream file(thread.path() / "stat");
        std::string line;
        std::getline(file, line);
        if (const size_t name_end = line.rfind(')'); name_end != std::string::npos) states += line.at(name_end + 2);
    }
    return states;
}

TEST_F(Order, AWaitingWorkerTouchesNothing) {
    submit_pi(held_count);
    held.wait(false);
    const mint waiting = submit_pi(100);
    // Both workers sleep, one in its count, the other while it waits for its turn; this thread runs.
    for (std::string states; states.size() < 3 || std::ranges::count(states, 'S') + 1 != std::ssize(states);) {
        std::this_thread::yield();
        states = thread_states();
    }
    EXPECT_EQ(record.taken(), (Log{"callback", "no end", "pi 42"}));
    let_go = true;
    let_go.notify_all();
    ASSERT_TRUE(host.wait_for_removal(waiting));
    EXPECT_EQ(record.taken(), (Log{"callback", "no end", "pi 100"}));
}

TEST_F(Order, TheTextIsReadBeforeTheCallbackIsInstalled) {
    char* argument = host.new_string("100");
    string_to_change = argument;
    MArgument slot;
    slot.utf8string = &argument;
    char* result = nullptr;
    MArgument result_slot;
    result_slot.utf8string = &result;
    EXPECT_EQ(PrimeCount_ExprPrimePi(host.data(), 1, &slot, result_slot), 0);
    EXPECT_STREQ(result, "100");
    EXPECT_EQ(record.taken(), (Log{"callback", "pi of text 100"}));
}

}  // namespace
}  // namespace kesh::test
