/**
 * @file   task.cpp
 * @brief  The names of the states of a task.
 */
#include "HostKit/task.h"

namespace kesh_host {

std::string_view state_name(TaskState state) {
    switch (state) {
        case TaskState::created:
            return "created";
        case TaskState::queued:
            return "queued";
        case TaskState::counting:
            return "counting";
        case TaskState::reported:
            return "reported";
        case TaskState::removed:
            return "removed";
    }
    return "";
}

std::string_view state_name(const Task& task) {
    if (task.state != TaskState::removed) return state_name(task.state);
    return task.failed ? "failed" : "done";
}

}  // namespace kesh_host
