/**
 * @file   threads.h
 * @brief  The number of threads of this process, to wait for the end of those that the library detached.
 */
#pragma once

#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

namespace kesh::test {

inline long thread_count() {
    const std::filesystem::directory_iterator threads("/proc/self/task");
    return std::distance(begin(threads), end(threads));
}

/**
 * Waits until there are at most count threads; false after twenty minutes. A task's thread ends shortly after the task
 * was removed.
 */
inline bool wait_for_threads(long count) {
    for (int wait = 0; wait < 120'000 && thread_count() > count; ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return thread_count() <= count;
}

}  // namespace kesh::test
