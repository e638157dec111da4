/**
 * @file   tasks.h
 * @brief  Asynchronous tasks and DataStores as the host sees them, with the event protocol checked at every step.
 *
 * A task is created, given a count, raises any number of "Status" events, exactly one "Result" or "Error", and is
 * removed. Each event brings a DataStore that holds exactly one value and is handed over once. Counts run one
 * at a time.
 */
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include "HostKit/breaches.h"
#include "VelmoraLibrary.h"

/** The record behind a DataStore handle. */
struct st_DataStore {
    using Value = std::variant<mint, mreal, std::string>;
    std::vector<Value> values;
};

namespace bench_host {

using EventValue = st_DataStore::Value;

/** One event as it arrived. */
struct Event {
    double seconds = 0;  ///< since the first task of the process was created
    mint task = 0;
    std::string name;
    std::optional<EventValue> value;  ///< absent when no DataStore came with it
};

enum class TaskState { created, queued, counting, reported, removed };
std::string_view state_name(TaskState state);
struct Task;
/** The state as users know it: what has been removed is done, or has failed. */
std::string_view state_name(const Task& task);

/** What is known of a task. */
struct Task {
    using Clock = std::chrono::steady_clock;

    mint id = 0;
    TaskState state = TaskState::created;
    std::string what;             ///< the count, as typed
    bool result_is_text = false;  ///< the kind of value its "Result" carries
    double percent = 0;
    std::size_t status_events = 0;
    std::optional<double> first_percent;
    std::optional<EventValue> result;
    bool failed = false;  ///< "Error" arrived
    bool shared = false;  ///< a count on the host's thread may have reported to it as well
    Clock::time_point submitted;
    Clock::time_point started;  ///< first event
    Clock::time_point ended;    ///< removal

    bool running() const {
        return state == TaskState::queued || state == TaskState::counting || state == TaskState::reported;
    }
};

/** All tasks of the process. The callbacks reach it from the library's threads. */
class TaskBoard {
  public:
    explicit TaskBoard(Breaches& breaches);
    ~TaskBoard();
    TaskBoard(const TaskBoard&) = delete;
    TaskBoard& operator=(const TaskBoard&) = delete;

    // What the library calls.
    mint create();
    DataStore create_store();
    void add(DataStore store, EventValue value);
    /** A DataStore whose event an injected exception cut short goes back to the host. */
    void discard(DataStore store);
    void raise(mint id, std::string_view name, DataStore store);
    mint remove(mint id);

    // What the host does.
    /** A count is about to be submitted to the task; false when there is no such task or it has had one. */
    bool submit(mint id, std::string what, bool result_is_text);
    /**
     * The submission failed: the task goes back to `created`. If it has raised events, as with a library that counts
     * before the submission returns, it has failed, and nothing more will come.
     */
    void withdraw(mint id);
    /**
     * True: a count on the host's thread is about to begin, and may report to the last task that counted, under whose
     * progress callback it may run; false: it has ended. Status events after the report and the removal of the task are
     * in order until the count ends, and falling percentages, from two counts that report to one task, until the tasks
     * that run beside it have ended too. Otherwise both are a breach.
     */
    void expect_late_status(bool expected);
    /** Events after an injected fault may lack what the fault took away. */
    void tolerate_missing_store(bool tolerated);

    /** Forgets the tasks that are removed, but for the last, which may still see late events. */
    void forget_ended();

    std::optional<Task> find(mint id) const;
    std::vector<Task> list() const;
    /** Tasks that have been given a count and are not removed, waiting ones among them. */
    std::size_t running() const;
    /** How many of them wait for their turn. */
    std::size_t queued() const;
    /** The percentage last reported by anything that counts, and how many reports there were. */
    std::pair<double, std::size_t> latest_status() const;

    /** Waits until the task is removed or the time is over; true when it is removed. */
    bool wait_removed(mint id, std::chrono::milliseconds limit) const;

    /** The events since the last take; the queue is kept only while `keep_events(true)`. */
    std::vector<Event> take_events();
    void keep_events(bool keep);
    /** Becomes readable when events wait to be taken. */
    int event_fd() const {
        return event_fd_;
    }

    /** DataStores created and not handed over: 0 whenever no event is being raised. */
    std::size_t open_stores() const;
    /** DataStores that an injected exception kept from being handed over. */
    std::size_t discarded_stores() const;

  private:
    void breach(const std::string& what) const;
    void check_payload(const Task& task, std::string_view name, const st_DataStore& store) const;
    void check_order(Task& task, std::string_view name);
    void apply(Task& task, std::string_view name, const std::optional<EventValue>& value);
    void publish(Event event);

    Breaches& breaches_;
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::map<mint, Task> tasks_;
    std::unordered_map<DataStore, std::unique_ptr<st_DataStore>> open_stores_;
    std::deque<Event> events_;
    Task::Clock::time_point origin_;
    mint next_id_ = 1;
    mint counting_ = 0;  ///< the task whose events flow now, 0 for none
    mint last_counted_ = 0;
    double latest_percent_ = 0;
    std::size_t status_total_ = 0;
    std::size_t discarded_stores_ = 0;
    bool late_status_expected_ = false;
    bool missing_store_tolerated_ = false;
    bool keep_events_ = false;
    int event_fd_ = -1;
};

}  // namespace bench_host
