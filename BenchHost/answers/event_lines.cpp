/**
 * @file   event_lines.cpp
 * @brief  Prints one line per event.
 */
#include "answers/event_lines.h"

#include <fmt/format.h>

#include "HostKit/host.h"

namespace kesh_host {

std::string event_value_text(const std::optional<EventValue>& value) {
    if (!value) return "(no value)";
    if (const auto* number = std::get_if<mint>(&*value)) return fmt::format("{}", *number);
    if (const auto* real = std::get_if<mreal>(&*value)) return fmt::format("{:.2f}", *real);
    return fmt::format("\"{}\"", std::get<std::string>(*value));
}

std::string EventLines::text(const std::vector<Event>& events, bool every, const Style& style) {
    std::string text;
    for (const Event& event : events) {
        if (event.name == "Status" && !every) {
            double& last = last_shown_.try_emplace(event.task, event.seconds - 0.5).first->second;
            if (event.seconds - last < 1) continue;
            last = event.seconds;
        }
        const std::string mark = style.dim(fmt::format("[{:8.3f} s]", event.seconds));
        if (event.name == "removed") {
            // The result has been shown with its own event; the removal is shown only if all events are wanted.
            if (every) text += fmt::format("{} task {} removed\n", mark, event.task);
            continue;
        }
        std::string what;
        if (const auto task = host().tasks.find(event.task); task && event.name != "Status")
            what = fmt::format("  {}", style.dim(task->what));
        const std::string name = event.name == "Result"  ? style.green(event.name)
                                 : event.name == "Error" ? style.red(event.name)
                                                         : event.name;
        text += fmt::format("{} task {} {} {}{}{}\n", mark, event.task, name, event_value_text(event.value),
                            event.name == "Status" ? " %" : "", what);
    }
    return text;
}

}  // namespace kesh_host
