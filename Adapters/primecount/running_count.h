/**
 * @file   running_count.h
 * @brief  One count in progress: the threads that work for it, its progress, and whether it is to end.
 */
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <mutex>

namespace kesh::counting {

/**
 * An object on the stack of the thread that called a counting function, for the duration of the call.
 *
 * primecount hands out parallel work through load balancers. A balancer that the calling thread builds belongs to its
 * count. A thread finds the count by the balancer's address when it asks for its first item, and serves the count until
 * there are no more items. Counts that primecount runs inside a work item (for pi of the item's low end) are nested:
 * their progress is not reported, and they run to their end, because the item needs their result.
 *
 * Nothing here throws in a thread that serves: an exception must not leave an OpenMP region. Running out of work ends
 * every phase instead, and the calling thread throws once it is outside.
 */
class RunningCount {
  public:
    using Callback = bool (*)(double percent);

    /** The kinds of balanced work, in the order in which one count does them. */
    enum class Phase { ac, p2, s2 };

    /** The functions whose interposition a count relies on, as bits of a set. */
    enum Hook : unsigned {
        hook_ac = 1u << 0,
        hook_ac_work = 1u << 1,
        hook_p2 = 1u << 2,
        hook_p2_work = 1u << 3,
        hook_p2_threads = 1u << 4,
        hook_s2 = 1u << 5,
        hook_s2_work = 1u << 6,
        hook_pi = 1u << 7,
        hook_pi_nested = 1u << 8,
        hook_check = 1u << 9,  // from version 8
        all_hooks = (1u << 10) - 1
    };

    /** A probe reports nothing and cannot be ended: its result shows whether the hooks work. */
    enum class Purpose { count, probe };

    explicit RunningCount(Purpose purpose = Purpose::count);
    ~RunningCount();
    RunningCount(const RunningCount&) = delete;
    RunningCount& operator=(const RunningCount&) = delete;

    static void install_callback(Callback callback) noexcept;
    static void request_end() noexcept;
    static void withdraw_requests() noexcept;

    /** The count that this thread has called and is working on outside of any work item; null if there is none. */
    static RunningCount* called_here() noexcept;

    /**
     * The count that owns this balancer; the calling thread then serves it until stop_serving. Null for the balancers
     * of nested counts and of other users of primecount.
     */
    static RunningCount* enlist(const void* balancer) noexcept;

    /** Whether the count is to end. */
    bool ended() const noexcept;

    /** If the count was ended, throws the exception for that. Only for the calling thread, outside of work items. */
    void throw_if_ended() const;

    /**
     * The calling thread builds the balancer of a phase that hands out the range up to limit. In the phase AC most of
     * the work lies below dense_below. Throws if the count is to end.
     */
    void begin_phase(Phase phase, const void* balancer, int64_t limit, int64_t dense_below = 0);

    /**
     * Whether the range of the phase is so long that its items have to be made shorter for a single thread. In a short
     * range items end soon anyway, and shorter ones would cost up to a fifth of the time.
     */
    bool phase_is_long() const noexcept;

    /** This thread has received the item that begins at low. False if the count is to end: the item is not done. */
    bool begin_item(int64_t low) noexcept;

    /** This thread gets no more work from the balancer. */
    static void stop_serving() noexcept;

    /** Reports that this much of the count is done, if it is time for a report. */
    void report(double percent) noexcept;

    /** The counting function has returned: reports 100 percent and throws if the count ended before. */
    void finish();

    /** Marks the calling thread as busy with a nested count. */
    class Nested {
      public:
        explicit Nested(RunningCount& count) noexcept;
        ~Nested();
        Nested(const Nested&) = delete;
        Nested& operator=(const Nested&) = delete;
    };

    /** Sets the number of threads that the caller of a P2 balancer asked for. */
    void set_team_size(int threads) noexcept;
    int team_size() const noexcept;

    void saw(Hook hook) noexcept;
    bool saw_all_hooks() const noexcept;

  private:
    void expect_nobody_serves() const noexcept;
    double phase_fraction(int64_t low) const noexcept;
    void call_back(double percent) noexcept;

    const Purpose purpose_;
    const uint64_t requests_at_start_;
    std::atomic<bool> ended_{false};
    std::exception_ptr failure_;

    /** The threads that serve. There are none whenever the calling thread changes what follows. */
    std::atomic<int> serving_{0};

    // The calling thread writes these before it stores balancer_; threads that found the count through balancer_ read
    // them.
    std::atomic<const void*> balancer_{nullptr};
    Phase phase_ = Phase::ac;
    double limit_ = 1;
    double dense_below_ = 0;
    double phase_begin_ = 0;
    double phase_end_ = 0;
    bool has_ac_ = false;
    int team_size_ = 1;

    std::mutex report_mutex_;
    std::atomic<std::chrono::steady_clock::rep> next_report_{0};
    double percent_ = 0;
    bool has_reported_ = false;

    std::atomic<unsigned> hooks_seen_{0};

    RunningCount* next_;
    RunningCount* const outer_called_;
    RunningCount* const outer_served_;
};

}  // namespace kesh::counting
