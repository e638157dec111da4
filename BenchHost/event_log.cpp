/**
 * @file   event_log.cpp
 * @brief  Formatting of events.
 */
#include "event_log.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>

#include "arguments.h"
#include "host.h"
#include "output_file.h"
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

void EventLog::open_csv(const std::string& path) {
    const auto [file, fresh] = files_.try_emplace(path);
    if (!fresh) return;
    errno = 0;
    file->second.stream.open(path, std::ios::trunc);
    if (!(file->second.stream << "seconds,task,event,value\n" << std::flush)) {
        const int reason = errno;
        files_.erase(file);
        throw BadInput(fmt::format("the events cannot be written to {}: {}", path, std::strerror(reason)));
    }
}

void EventLog::append_csv(const std::string& path, const std::vector<Event>& events) {
    const auto found = files_.find(path);
    if (found == files_.end()) return;  // it could not be begun, which has been said
    CsvFile& file = found->second;
    for (const Event& event : events) {
        file.stream << fmt::format("{:.6f},{},{},{}\n", event.seconds, event.task, event.name,
                                   event.value ? event_value_text(event.value) : "");
    }
    file.events += events.size();
    if (!file.stream.flush()) throw OutputError(fmt::format("the events cannot be written to {}", path));
}

bool EventLog::holds_header_alone(const std::string& path) const {
    const auto file = files_.find(path);
    return file != files_.end() && file->second.events == 0;
}

}  // namespace bench_host
