/**
 * @file   interrupts.cpp
 * @brief  A signal handler with two lock-free counters, and a descriptor that wakes a thread that waits for a key.
 */
#include "calls/interrupts.h"

#include <sys/eventfd.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdint>

#include "HostKit/host.h"
#include "terminal/exit_codes.h"

namespace kesh_host {

namespace {

std::atomic<int> presses = 0;
std::atomic<bool> pressed_by_user = false;
std::atomic<int> leave_at = 0;               ///< 0: never
std::atomic<bool> leave_with_timer = false;  ///< the automatic press ends the process
std::optional<double> timer_seconds;
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

Host* handled_host = nullptr;
int wake_fd = -1;

void on_interrupt(int signal) {
    const bool by_user = signal == SIGINT;
    if (by_user) pressed_by_user = true;
    const int seen = presses.fetch_add(1) + 1;
    const int saved_errno = errno;
    constexpr std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t woken = write(wake_fd, &one, sizeof one);
    errno = saved_errno;
    const int limit = leave_at;
    if (limit == 0) return;
    handled_host->abort_answer = 1;
    if (seen >= limit || (!by_user && leave_with_timer)) {
        constexpr char line[] = "\nkesh-host ended in the middle of the call\n";
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line, sizeof line - 1);
        _exit(by_user ? exit_interrupted : exit_call_failed);
    }
}

}  // namespace

void install_interrupt_handler() {
    handled_host = &host();
    wake_fd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    struct sigaction action{};
    action.sa_handler = on_interrupt;
    sigemptyset(&action.sa_mask);
    // No SA_RESTART, so that waiting system calls return.
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGALRM, &action, nullptr);
}

namespace {

/** SIGALRM once, after this many seconds; 0: never. */
void set_timer(double seconds) {
    itimerval timer{};
    timer.it_value.tv_sec = static_cast<time_t>(seconds);
    timer.it_value.tv_usec = static_cast<suseconds_t>(1e6 * (seconds - std::floor(seconds)));
    setitimer(ITIMER_REAL, &timer, nullptr);
}

}  // namespace

void press_after(std::optional<double> seconds) {
    timer_seconds = seconds;
}

InterruptScope::InterruptScope(int presses_to_leave, Stoppable stoppable) {
    presses = 0;
    pressed_by_user = false;
    host().abort_answer = 0;
    leave_with_timer = stoppable == Stoppable::no;
    leave_at = presses_to_leave;
    // A time of 0 would switch the timer off.
    if (timer_seconds) set_timer(std::max(*timer_seconds, 1e-6));
}

InterruptScope::~InterruptScope() {
    if (timer_seconds) set_timer(0);
    leave_at = 0;
    host().abort_answer = 0;
}

int interrupts_seen() {
    return presses;
}

int exit_code_when_stopped() {
    return pressed_by_user ? exit_interrupted : exit_call_failed;
}

void clear_interrupts() {
    presses = 0;
    pressed_by_user = false;
    empty_interrupt_fd();
}

void empty_interrupt_fd() {
    std::uint64_t writes = 0;
    [[maybe_unused]] const ssize_t emptied = read(wake_fd, &writes, sizeof writes);
}

int interrupt_fd() {
    return wake_fd;
}

}  // namespace kesh_host
