/**
 * @file   interrupts.cpp
 * @brief  A signal handler over two lock-free counters, and a descriptor that wakes whoever waits for a key.
 */
#include "interrupts.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>

#include "host.h"

namespace bench_host {

namespace {

std::atomic<int> presses = 0;
std::atomic<int> leave_at = 0;  ///< 0: never
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

Host* handled_host = nullptr;
int wake_fd = -1;

void on_interrupt(int) {
    const int seen = presses.fetch_add(1) + 1;
    const int saved_errno = errno;
    constexpr std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t woken = write(wake_fd, &one, sizeof one);
    errno = saved_errno;
    const int limit = leave_at;
    if (limit == 0) return;
    handled_host->abort_requested = true;
    if (seen >= limit) {
        constexpr char line[] = "\nkesh-host left in the middle of the call\n";
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line, sizeof line - 1);
        _exit(130);
    }
}

}  // namespace

void install_interrupt_handler() {
    handled_host = &host();
    wake_fd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    struct sigaction action {};
    action.sa_handler = on_interrupt;
    sigemptyset(&action.sa_mask);
    // No SA_RESTART: whatever waits has to notice.
    sigaction(SIGINT, &action, nullptr);
}

InterruptScope::InterruptScope(int presses_to_leave) {
    presses = 0;
    host().abort_requested = false;
    leave_at = presses_to_leave;
}

InterruptScope::~InterruptScope() {
    leave_at = 0;
    host().abort_requested = false;
}

int interrupts_seen() {
    return presses;
}

void clear_interrupts() {
    presses = 0;
    empty_interrupt_fd();
}

void empty_interrupt_fd() {
    std::uint64_t writes = 0;
    [[maybe_unused]] const ssize_t emptied = read(wake_fd, &writes, sizeof writes);
}

int interrupt_fd() {
    return wake_fd;
}

}  // namespace bench_host
