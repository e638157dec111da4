/**
 * @file   first_call_test.cpp
 * @brief  Sixteen threads whose first wide tests race for the table of small primes and the prepared divisor of the
 *         square test.
 */
#include <gtest/gtest.h>

#include <barrier>
#include <chrono>
#include <cstdlib>
#include <numeric>
#include <thread>
#include <vector>

#include "Prime/prime_testing.h"

namespace {

TEST(FirstCall, AnEvenNumberIsToldWithoutTheTable) {
    ASSERT_TRUE(kesh::primes_small.empty());
    const umint even[2] = {2, 1};
    mbool prime = -1;
    EXPECT_EQ(KESH_PrimeQ(even, 2, &prime), 1);
    EXPECT_EQ(prime, 0);
    EXPECT_TRUE(kesh::primes_small.empty());
}

/** The race. Exits with the number of wrong answers. */
[[noreturn]] void race(std::chrono::microseconds apart) {
    constexpr int threads = 16;
    std::barrier start(threads);
    std::vector<int> wrong(threads, 0);
    {
        std::vector<std::jthread> all;
        for (std::size_t i = 0; i < threads; ++i) {
            all.emplace_back([&, i] {
                // 2^89 - 1, 2^127 - 1 and 2^521 - 1 are prime, 2^128 + 1 and (2^61 - 1)^2 are not.
                const umint mersenne89[2] = {~umint{0}, (umint{1} << 25) - 1};
                const umint fermat7[3] = {1, 0, 1};
                umint mersenne521[16];
                for (std::size_t limb = 0; limb < 16; ++limb)
                    mersenne521[limb] = limb < 8 ? ~umint{0} : limb == 8 ? 0x1FF : 0;
                kesh::uintx_t<128> square(umint{1}, umint{0});
                kesh::math_mul(kesh::uintx_t<128>((umint{1} << 61) - 1), kesh::uintx_t<128>((umint{1} << 61) - 1),
                               square);
                kesh::uintx_t<128> root;

                start.arrive_and_wait();
                std::this_thread::sleep_for(static_cast<int>(i) * apart);
                mbool r = -1;
                wrong[i] += KESH_PrimeQ(mersenne89, 2, &r) != 1 || r != 1;
                wrong[i] += KESH_PrimeQ(fermat7, 3, &r) != 1 || r != 0;
                wrong[i] += KESH_PrimeQ(mersenne521, 16, &r) != 1 || r != 1;
                wrong[i] += !kesh::isSquare(square, root);
                wrong[i] += kesh::PrimeQ(square);
                wrong[i] += kesh::primes_small.size() != 78498;
            });
        }
    }
    std::exit(std::accumulate(wrong.begin(), wrong.end(), 0));
}

TEST(FirstCall, MayRace) {
    // Each process can have only one such race. So there are ten processes, with longer and longer times between
    // threads.
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    for (int run = 0; run < 10; ++run) {
        EXPECT_EXIT(race(std::chrono::microseconds(20 * run)), testing::ExitedWithCode(0), "^$");
    }
}

}  // namespace
