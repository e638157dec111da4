/**
 * @file   unload_test.cpp
 * @brief  dlclose, when nothing runs and while a task counts.
 *
 * The installed primecount and primesieve cannot be unloaded (they define names that are unique in a process), and they
 * keep this library loaded too. So dlclose does not disturb a running task. With libraries that can be unloaded,
 * dlclose would remove the code of the task, and a host has to wait for its tasks first.
 */
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "concurrency/inert_host.h"
#include "counting/counting.h"
#include "support/threads.h"

namespace kesh::test {
namespace {

void* open_library() {
    void* const handle = dlopen(KESH_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    EXPECT_NE(handle, nullptr) << dlerror();
    return handle;
}

bool is_mapped() {
    void* const handle = dlopen(KESH_LIBRARY_PATH, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
}

mint call(void* handle, const char* name, std::vector<mint> arguments) {
    std::vector<MArgument> slots(arguments.size());
    for (size_t i = 0; i < slots.size(); ++i) slots[i].integer = &arguments[i];
    mint answer = 0;
    MArgument result;
    result.integer = &answer;
    const auto function = reinterpret_cast<Export>(dlsym(handle, name));
    EXPECT_EQ(function(inert_host(), static_cast<mint>(slots.size()), slots.data(), result), 0) << name;
    return answer;
}

TEST(Unload, OpenedAndClosedAgainAndAgain) {
    for (int round = 0; round < 50; ++round) {
        void* const handle = open_library();
        EXPECT_EQ(call(handle, "PrimeSieve_CountPrimes", {0, 1000}), 168);
        EXPECT_EQ(call(handle, "PrimeCount_PrimePi", {1'000'000}), 78498);
        EXPECT_EQ(dlclose(handle), 0);
    }
}

TEST(Unload, AfterTheTasksHaveEnded) {
    for (int round = 0; round < 10; ++round) {
        void* const handle = open_library();
        // The helper thread of this thread's counts exists from the first count on.
        EXPECT_EQ(call(handle, "PrimeCount_PrimePi", {power_of_ten(11)}), pi_of_power_of_ten[11]);
        const long threads = thread_count();
        const int removed = tasks_removed;
        call(handle, "PrimeCount_SubmitPrimePi", {1, power_of_ten(11)});
        while (tasks_removed == removed) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        // After its task has been removed, the thread still executes a few instructions of the library.
        ASSERT_TRUE(wait_for_threads(threads));
        EXPECT_EQ(last_result, pi_of_power_of_ten[11]);
        EXPECT_EQ(dlclose(handle), 0);
    }
}

TEST(Unload, WhileATaskCounts) {
    EXPECT_EQ(dlclose(open_library()), 0);
    if (!is_mapped()) GTEST_SKIP() << "this primecount lets the library be unloaded";
    for (int round = 0; round < 5; ++round) {
        void* handle = open_library();
        const int removed = tasks_removed;
        call(handle, "PrimeCount_SubmitPrimePi", {1, power_of_ten(13)});
        std::this_thread::sleep_for(std::chrono::milliseconds(3 * round));
        EXPECT_EQ(dlclose(handle), 0);
        while (tasks_removed == removed) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_EQ(last_result, pi_of_power_of_ten[13]) << "the task went on to its result";
        handle = open_library();
        EXPECT_EQ(call(handle, "PrimeCount_PrimePi", {1'000'000}), 78498);
        EXPECT_EQ(dlclose(handle), 0);
    }
}

}  // namespace
}  // namespace kesh::test
