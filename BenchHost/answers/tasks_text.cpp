/**
 * @file   tasks_text.cpp
 * @brief  Prints the table of tasks.
 */
#include "answers/tasks_text.h"

#include <fmt/format.h>

#include <algorithm>

#include "answers/event_lines.h"
#include "terminal/duration.h"

namespace kesh_host {

std::string tasks_text(const std::vector<Task>& tasks, const PrintLook& look) {
    if (tasks.empty()) return "no tasks\n";
    std::size_t widest = std::string_view("count").size();
    for (const Task& task : tasks) widest = std::max(widest, task.what.size());
    const auto line = [widest](const auto& id, std::string_view state, std::string_view percent, std::string_view time,
                               std::string_view what, std::string_view result) {
        return fmt::format("{:>4}  {:<8} {:>7}  {:>10}  {:<{}}  {}\n", id, state, percent, time, what, widest, result);
    };
    std::string text = look.style.bold(line("task", "state", "percent", "time", "count", "result"));
    const auto now = Task::Clock::now();
    for (const Task& task : tasks) {
        const auto end = task.state == TaskState::removed ? task.ended : now;
        std::string time = "-";
        if (task.state != TaskState::created) {
            time = format_duration(std::chrono::duration<double>(end - task.submitted).count());
        }
        std::string result;
        if (task.failed) result = "failed or stopped";
        if (task.result) result = event_value_text(task.result);
        text += line(task.id, state_name(task), task.status_events > 0 ? fmt::format("{:.1f}", task.percent) : "-",
                     time, task.what, result);
    }
    return text;
}

}  // namespace kesh_host
