/**
 * @file   event_log.cpp
 * @brief  Formatting of events.
 */
#include "event_log.h"

#include <fmt/format.h>

#include <fstream>

#include "arguments.h"
#include "host.h"
#include "print.h"

namespace bench_host {

std::string EventLog::lines(const std::vector<Event>& events, bool every, const Style& style) {
    std::string text;
    for (const Event& event : events) {
        if (event.name == "Status" && !every) {
            double& last = last_shown_.try_emplace(event.task, event.seconds - 0.5).first->second;
            if (event.seconds - last < 1) continue;
            last = event.seconds;
        }
        const std::string mark = style.dim(fmt::format("[{:8.3f} s]", event.seconds));
        if (event.name == "removed") {
            // The result has been shown with its own event; the removal is of interest to those who watch everything.
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

void EventLog::append_csv(const std::string& path, const std::vector<Event>& events) {
    const bool first = begun_.try_emplace(path, true).second;
    std::ofstream file(path, first ? std::ios::trunc : std::ios::app);
    if (first) file << "seconds,task,event,value\n";
    for (const Event& event : events) {
        file << fmt::format("{:.6f},{},{},{}\n", event.seconds, event.task, event.name,
                            event.value ? event_value_text(event.value) : "");
    }
    if (!file.flush()) throw BadInput(fmt::format("the events cannot be written to {}", path));
}

}  // namespace bench_host
