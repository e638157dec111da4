/**
 * @file   preloaded_test.cpp
 * @brief  A process in which something else has loaded libprimecount first: its internal calls are bound then, so
 *         counts work, but without progress, and they cannot be ended.
 */
#include <chrono>
#include <thread>

#include "counting/counting.h"

namespace kesh::test {
namespace {

TEST(Preloaded, CountsWorkWithoutProgressAndStop) {
    ASSERT_NE(dlopen(KESH_PRIMECOUNT_LIBRARY, RTLD_NOW | RTLD_LOCAL), nullptr) << dlerror();
    TestHost& host = TestHost::instance();
    host.abort = 1;
    EXPECT_EQ(call_integer("PrimeCount_PrimePi", {power_of_ten(13)}).result, pi_of_power_of_ten[13]);
    EXPECT_EQ(call_integer("PrimeCount_Prime", {power_of_ten(11)}).result, prime_of_power_of_ten[11]);
    EXPECT_STREQ(call_string("PrimeCount_ExprPrimePi", "10^13").text, "346065536839");
    EXPECT_EQ(host.abort_calls, 0);
    EXPECT_EQ(call_integer("PrimeCount_PrimePi", {-1}).result, 0);

    const mint task = submit("PrimeCount_SubmitPrimePi", power_of_ten(14));
    for (int i = 0; i < 20; ++i) {
        stop();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(integer_of(report_of(task)), pi_of_power_of_ten[14]);
    EXPECT_EQ(events_of(task).size(), 1u);
}

}  // namespace
}  // namespace kesh::test
