/**
 * @file   task.h
 * @brief  An asynchronous task and its events, as the host knows them.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "HostKit/data_store.h"

namespace kesh_host {

/** One event as it arrived, or the removal of a task. */
struct Event {
    double seconds = 0;  ///< since the first task of the process was created
    mint task = 0;
    std::string name;                 ///< "removed" for the removal
    std::optional<EventValue> value;  ///< absent when no DataStore came with it

    bool removal() const {
        return name == "removed";
    }
};

enum class TaskState { created, queued, counting, reported, removed };
std::string_view state_name(TaskState state);
struct Task;
/** The state as users know it: a removed task is done, or has failed. */
std::string_view state_name(const Task& task);

/** The host's knowledge of a task. */
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
    std::uint64_t turn =
        0;  ///< the place of the first event in the order of the first events of tasks and of the counts of the host

    bool running() const {
        return state == TaskState::queued || state == TaskState::counting || state == TaskState::reported;
    }
};

}  // namespace kesh_host
