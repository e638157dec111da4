/**
 * @file   task_board.h
 * @brief  Asynchronous tasks and DataStores as the host sees them, with the event protocol checked at every step.
 *
 * A task is created, given a count, raises any number of "Status" events, exactly one "Result" or "Error", and is
 * removed. Each event has a DataStore that holds exactly one value and is passed to the host once. Counts run one at a
 * time.
 */
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "HostKit/breaches.h"
#include "HostKit/task.h"

namespace kesh_host {

/** The progress callback under which a count on a thread of the host runs. */
enum class CountCallback {
    own,       ///< it installs its own; a task that begins to count afterwards replaces it
    installed  ///< it installs none, and runs under the one that is installed
};

/** All tasks of the process. The callbacks reach it from the library's threads. */
class TaskBoard {
  public:
    /** The counts that run on threads of the host now, by their callback, each with its turn. */
    using Counts = std::multimap<CountCallback, std::uint64_t>;
    using CountId = Counts::iterator;
    using Listener = std::function<void(const Event&)>;

    explicit TaskBoard(Breaches& breaches);
    ~TaskBoard();
    TaskBoard(const TaskBoard&) = delete;
    TaskBoard& operator=(const TaskBoard&) = delete;

    // What the library calls.
    mint create();
    DataStore create_store();
    void add(DataStore store, EventValue value);
    /** The host takes back a DataStore if an injected exception ended its event. */
    void discard(DataStore store);
    void raise(mint id, std::string_view name, DataStore store);
    mint remove(mint id);

    // What the host does.
    /** A count is about to be submitted to the task; false if there is no such task or it already had one. */
    bool submit(mint id, std::string what, bool result_is_text);
    /**
     * The submission failed: the task goes back to `created`. If it has raised events, as with a library that counts
     * before the submission returns, it has failed, and nothing more will come.
     */
    void withdraw(mint id);
    /**
     * A count on a thread of the host is about to begin, or has ended. The process has one progress callback, so such a
     * count may report to the task that counted last. While it may, "Status" events after that task's report and its
     * removal are allowed, and the task's percentage may decrease from then on. Otherwise both are a breach.
     */
    CountId begin_count(CountCallback callback);
    void end_count(CountId count);
    /** Events after an injected fault may lack a DataStore because of the fault. */
    void tolerate_missing_store(bool tolerated);

    /** Forgets the removed tasks, except the last one, which may still receive late events. */
    void forget_ended();

    std::optional<Task> find(mint id) const;
    std::vector<Task> list() const;
    /** The number of tasks that have a count and are not removed, including waiting ones. */
    std::size_t running() const;
    /** The number of these that wait for their turn. */
    std::size_t queued() const;
    /** The last percentage that any count reported, and the number of reports. */
    std::pair<double, std::size_t> latest_status() const;

    /** Waits until the task is removed or the time is over; true if it was removed. */
    bool wait_removed(mint id, std::chrono::milliseconds limit) const;

    /** The events since the last take; the queue is kept only while `keep_events(true)`. */
    std::vector<Event> take_events();
    void keep_events(bool keep);
    /** The listener receives every event, on the thread that raises it. It must not call the board. */
    void on_event(Listener listener);
    /** Becomes readable when events wait to be taken. */
    int event_fd() const {
        return event_fd_;
    }

    /** The number of DataStores that were created and not passed to the host: 0 whenever no event is being raised. */
    std::size_t open_stores() const;
    /** The number of DataStores that were not passed to the host because of an injected exception. */
    std::size_t discarded_stores() const;

  private:
    void breach(const std::string& what) const;
    void check_payload(const Task& task, std::string_view name, const st_DataStore& store) const;
    void check_order(Task& task, std::string_view name);
    void apply(Task& task, std::string_view name, const std::optional<EventValue>& value);
    bool may_come_from_another_count(const Task& task) const;
    void publish(Event event);

    Breaches& breaches_;
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::map<mint, Task> tasks_;
    std::unordered_map<DataStore, std::unique_ptr<st_DataStore>> open_stores_;
    std::deque<Event> events_;
    Task::Clock::time_point origin_;
    mint next_id_ = 1;
    mint counting_ = 0;  ///< the task that raises events now, 0 for none
    mint last_counted_ = 0;
    double latest_percent_ = 0;
    std::size_t status_total_ = 0;
    std::size_t discarded_stores_ = 0;
    Counts counts_;
    std::uint64_t turns_ = 0;
    Listener listener_;
    bool missing_store_tolerated_ = false;
    bool keep_events_ = false;
    int event_fd_ = -1;
};

}  // namespace kesh_host
