/**
 * @file   event_files.cpp
 * @brief  Writes the events of tasks into CSV files.
 */
#include "answers/event_files.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>

#include "answers/event_lines.h"
#include "terminal/bad_input.h"
#include "terminal/output_file.h"

namespace kesh_host {

void EventFiles::open(const std::string& path) {
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

void EventFiles::append(const std::string& path, const std::vector<Event>& events) {
    const auto found = files_.find(path);
    if (found == files_.end()) return;  // the file could not be created, which has been reported
    CsvFile& file = found->second;
    for (const Event& event : events) {
        file.stream << fmt::format("{:.6f},{},{},{}\n", event.seconds, event.task, event.name,
                                   event.value ? event_value_text(event.value) : "");
    }
    file.events += events.size();
    if (!file.stream.flush()) throw OutputError(fmt::format("the events cannot be written to {}", path));
}

bool EventFiles::holds_header_alone(const std::string& path) const {
    const auto file = files_.find(path);
    return file != files_.end() && file->second.events == 0;
}

}  // namespace kesh_host
