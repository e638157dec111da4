/**
 * @file   threads_test.cpp
 * @brief  Batches on several threads: the verdicts of one thread, progress that adds up, and stopping.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <thread>
#include <vector>

#include "Prime/prime_batch.h"
#include "batch/batch.h"

namespace {

using kesh::test::limbs;

/** The arguments that the callback received, and the call from which on it asks to stop. */
struct Watcher {
    std::vector<std::int64_t> done;
    std::int64_t total = -1;
    std::size_t stop_at = std::numeric_limits<std::size_t>::max();
    std::thread::id thread = std::this_thread::get_id();

    static int watch(void* data, std::int64_t done, std::int64_t total) {
        Watcher& w = *static_cast<Watcher*>(data);
        EXPECT_EQ(std::this_thread::get_id(), w.thread);
        w.done.push_back(done);
        w.total = total;
        return w.done.size() >= w.stop_at ? 1 : 0;
    }
};

limbs many(std::int64_t len, std::int64_t count) {
    std::mt19937_64 random(static_cast<unsigned>(31 * len));
    return kesh::test::structured(len, count, random);
}

TEST(BatchOnThreads, VerdictsAreThoseOfOneThread) {
    for (const std::int64_t len : {1, 2, 5}) {
        const limbs n = many(len, 6000 / len);
        const std::int64_t count = static_cast<std::int64_t>(n.size()) / len;
        const std::vector<std::uint8_t> expected = kesh::test::verdicts(n, len);
        for (const int threads : {0, 1, 2, 3, 8, 1000}) {
            std::vector<std::uint8_t> found(expected.size(), 7);
            ASSERT_EQ(KESH_ArePrimeOnThreads(n.data(), len, count, found.data(), threads, nullptr, nullptr), KESH_DONE);
            ASSERT_EQ(found, expected) << threads;
        }
    }
}

TEST(BatchOnThreads, CallsFromManyThreadsAtOnce) {
    const limbs n = many(2, 1500);
    const std::vector<std::uint8_t> expected = kesh::test::verdicts(n, 2);
    std::vector<std::thread> callers;
    std::vector<std::vector<std::uint8_t>> found(4, std::vector<std::uint8_t>(expected.size(), 7));
    for (auto& mine : found) {
        callers.emplace_back([&n, &mine] {
            const auto count = static_cast<std::int64_t>(mine.size());
            EXPECT_EQ(KESH_ArePrimeOnThreads(n.data(), 2, count, mine.data(), 2, nullptr, nullptr), KESH_DONE);
        });
    }
    for (std::thread& caller : callers) caller.join();
    for (const auto& mine : found) EXPECT_EQ(mine, expected);
}

TEST(BatchOnThreads, BadArguments) {
    const std::uint64_t n = 7;
    std::uint8_t verdict = 9;
    EXPECT_EQ(KESH_ArePrimeOnThreads(&n, 1, 1, &verdict, -1, nullptr, nullptr), KESH_BAD_ARGUMENT);
    EXPECT_EQ(KESH_ArePrimeOnThreads(&n, 0, 1, &verdict, 2, nullptr, nullptr), KESH_BAD_ARGUMENT);
    EXPECT_EQ(KESH_ArePrimeOnThreads(&n, 1, -1, &verdict, 2, nullptr, nullptr), KESH_BAD_ARGUMENT);
    EXPECT_EQ(verdict, 9);
    EXPECT_EQ(KESH_ArePrimeOnThreads(nullptr, 1, 0, nullptr, 2, nullptr, nullptr), KESH_DONE);
}

TEST(BatchOnThreads, ProgressGrowsToTheTotal) {
    const limbs n = many(1, 20 * kesh::block_size(1) + 3);
    std::vector<std::uint8_t> found(n.size());
    const auto count = static_cast<std::int64_t>(n.size());
    Watcher alone;
    EXPECT_EQ(KESH_ArePrimeOnThreads(n.data(), 1, count, found.data(), 1, Watcher::watch, &alone), KESH_DONE);
    ASSERT_EQ(alone.done.size(), 22) << "before the first block and after each";
    EXPECT_EQ(alone.done.front(), 0);
    EXPECT_TRUE(std::ranges::is_sorted(alone.done));
    EXPECT_EQ(alone.done.back(), count);
    EXPECT_EQ(alone.total, count);
    Watcher shared;
    EXPECT_EQ(KESH_ArePrimeOnThreads(n.data(), 1, count, found.data(), 4, Watcher::watch, &shared), KESH_DONE);
    EXPECT_TRUE(std::ranges::is_sorted(shared.done));
}

TEST(BatchOnThreads, StopsAfterTheBlocksInWork) {
    constexpr std::int64_t blocks = 1000;
    const limbs n(static_cast<std::size_t>(blocks * kesh::block_size(1)), 18446744073709551557u);
    const auto count = static_cast<std::int64_t>(n.size());
    std::vector<std::uint8_t> found(n.size(), 7);
    Watcher alone;
    alone.stop_at = 4;
    EXPECT_EQ(KESH_ArePrimeOnThreads(n.data(), 1, count, found.data(), 1, Watcher::watch, &alone), KESH_STOPPED);
    EXPECT_EQ(alone.done.size(), 4) << "not called again once it asked to stop";
    EXPECT_EQ(std::ranges::count(found, 7), count - 3 * kesh::block_size(1));
    std::ranges::fill(found, 7);
    Watcher at_once;
    at_once.stop_at = 1;
    EXPECT_EQ(KESH_ArePrimeOnThreads(n.data(), 1, count, found.data(), 4, Watcher::watch, &at_once), KESH_STOPPED);
    EXPECT_EQ(at_once.done, (std::vector<std::int64_t>{0}));
    EXPECT_EQ(std::ranges::count(found, 7), count) << "stopped before anything was tested";
}

}  // namespace
