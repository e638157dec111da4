/**
 * @file   running_count.cpp
 * @brief  One count in progress: the hooks register with it, and it makes its reports and ends the count.
 */
#include "running_count.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <optional>
#include <primecount.hpp>

namespace kesh::counting {
namespace {

using Clock = std::chrono::steady_clock;

/** The shortest time between two reports: short enough for a smooth bar, long enough to cost nothing. */
constexpr Clock::duration report_interval = std::chrono::milliseconds(10);

/** A phase that hands out no more than this takes about 0.3 s on one thread. */
constexpr double short_range(RunningCount::Phase phase) {
    switch (phase) {
        case RunningCount::Phase::ac:
            return 20'000'000;
        case RunningCount::Phase::p2:
            return 1'000'000'000;
        default:
            return 200'000'000;
    }
}

// Process-wide, and without destructors: a detached thread may still count while the process exits.
std::atomic<RunningCount::Callback> installed_callback{nullptr};
std::atomic<uint64_t> end_requests{0};
std::mutex list_mutex;
RunningCount* running_counts = nullptr;

thread_local RunningCount* called = nullptr;
thread_local RunningCount* served = nullptr;
thread_local std::optional<uint64_t> requests_when_withdrawn;

/**
 * Requests made up to now, or up to the calling thread's last withdrawal, do not apply to the new count. A probe of the
 * adapter does not use the withdrawal up: the count after the probe must not lose a request made meanwhile.
 */
uint64_t requests_before_count(RunningCount::Purpose purpose) {
    if (purpose == RunningCount::Purpose::probe) return 0;
    const uint64_t requests = requests_when_withdrawn.value_or(end_requests.load());
    requests_when_withdrawn.reset();
    return requests;
}

}  // namespace

RunningCount::RunningCount(Purpose purpose)
    : purpose_(purpose),
      requests_at_start_(requests_before_count(purpose)),
      next_(nullptr),
      outer_called_(called),
      outer_served_(served) {
    {
        const std::lock_guard lock(list_mutex);
        next_ = running_counts;
        running_counts = this;
    }
    called = this;
    served = nullptr;
}

RunningCount::~RunningCount() {
    expect_nobody_serves();
    called = outer_called_;
    served = outer_served_;
    const std::lock_guard lock(list_mutex);
    RunningCount** link = &running_counts;
    while (*link != this) link = &(*link)->next_;
    *link = next_;
}

void RunningCount::install_callback(Callback callback) noexcept {
    installed_callback.store(callback);
}

void RunningCount::request_end() noexcept {
    end_requests.fetch_add(1);
}

void RunningCount::withdraw_requests() noexcept {
    requests_when_withdrawn = end_requests.load();
}

RunningCount* RunningCount::called_here() noexcept {
    return served == nullptr ? called : nullptr;
}

RunningCount* RunningCount::enlist(const void* balancer) noexcept {
    if (served != nullptr) return served->balancer_.load(std::memory_order_acquire) == balancer ? served : nullptr;
    const std::lock_guard lock(list_mutex);
    for (RunningCount* count = running_counts; count != nullptr; count = count->next_) {
        if (count->balancer_.load(std::memory_order_acquire) != balancer) continue;
        count->serving_.fetch_add(1, std::memory_order_relaxed);
        served = count;
        return count;
    }
    return nullptr;
}

bool RunningCount::ended() const noexcept {
    if (purpose_ == Purpose::probe) return false;
    return ended_.load(std::memory_order_acquire) || end_requests.load(std::memory_order_relaxed) != requests_at_start_;
}

void RunningCount::throw_if_ended() const {
    if (!ended()) return;
    if (failure_) std::rethrow_exception(failure_);
    throw primecount::primecount_error("the count was ended on request");
}

void RunningCount::begin_phase(Phase phase, const void* balancer, int64_t limit, int64_t dense_below) {
    expect_nobody_serves();
    report(phase_end_);
    throw_if_ended();
    phase_ = phase;
    limit_ = static_cast<double>(std::max<int64_t>(limit, 1));
    dense_below_ = static_cast<double>(dense_below);
    phase_begin_ = phase_end_;
    switch (phase) {
        case Phase::ac:
            has_ac_ = true;
            phase_end_ = 45;
            break;
        case Phase::p2:
            phase_end_ = has_ac_ ? 57 : 50;
            break;
        case Phase::s2:
            phase_end_ = 100;
            break;
    }
    balancer_.store(balancer, std::memory_order_release);
}

/**
 * The share of a phase's time that goes into the range below low, measured at 10^16 to 10^18. In AC some 70 percent of
 * the time is spent below y, evenly; above y, and in the hard leaves, work gets sparser fast.
 */
double RunningCount::phase_fraction(int64_t low) const noexcept {
    const double position = static_cast<double>(low);
    const double share = std::clamp(position / limit_, 0.0, 1.0);
    switch (phase_) {
        case Phase::ac:
            if (position < dense_below_) return 0.7 * position / dense_below_;
            return 0.7 + 0.3 * std::pow(share, 0.25);
        case Phase::s2:
            return std::pow(share, 0.22);
        default:
            return share;
    }
}

bool RunningCount::phase_is_long() const noexcept {
    return limit_ > short_range(phase_);
}

bool RunningCount::begin_item(int64_t low) noexcept {
    report(phase_begin_ + (phase_end_ - phase_begin_) * phase_fraction(low));
    return !ended();
}

void RunningCount::stop_serving() noexcept {
    served->serving_.fetch_sub(1, std::memory_order_release);
    served = nullptr;
}

/**
 * OpenMP joins its threads at the end of a region, so this always holds. The acquiring load also makes the joining
 * visible to a thread sanitizer, which does not see it in an OpenMP runtime that was built without the sanitizer.
 */
void RunningCount::expect_nobody_serves() const noexcept {
    [[maybe_unused]] const int serving = serving_.load(std::memory_order_acquire);
    assert(serving == 0);
}

void RunningCount::report(double percent) noexcept {
    const Clock::duration now = Clock::now().time_since_epoch();
    if (now.count() < next_report_.load(std::memory_order_relaxed)) return;
    const std::unique_lock lock(report_mutex_, std::try_to_lock);
    if (!lock || ended()) return;
    next_report_.store((now + report_interval).count(), std::memory_order_relaxed);
    call_back(percent);
}

void RunningCount::call_back(double percent) noexcept {
    const Callback callback = installed_callback.load();
    if (callback == nullptr || purpose_ == Purpose::probe) return;
    percent_ = std::max(percent_, percent);
    has_reported_ = true;
    try {
        if (!callback(percent_)) return;
    } catch (...) {
        failure_ = std::current_exception();
    }
    ended_.store(true, std::memory_order_release);
}

void RunningCount::finish() {
    expect_nobody_serves();
    if (has_reported_ && !ended()) call_back(100);
    throw_if_ended();
}

RunningCount::Nested::Nested(RunningCount& count) noexcept {
    // No phase is under way, and a balancer of the nested count may have the address of the last phase's balancer.
    count.balancer_.store(nullptr);
    served = &count;
}

RunningCount::Nested::~Nested() {
    served = nullptr;
}

void RunningCount::set_team_size(int threads) noexcept {
    team_size_ = threads;
}

int RunningCount::team_size() const noexcept {
    return team_size_;
}

void RunningCount::saw(Hook hook) noexcept {
    hooks_seen_.fetch_or(hook, std::memory_order_relaxed);
}

bool RunningCount::saw_all_hooks() const noexcept {
    return hooks_seen_.load() == all_hooks;
}

}  // namespace kesh::counting
