/**
 * @file   event_log.h
 * @brief  The tasks' events as lines for people, and as a CSV file for programs and plots.
 */
#pragma once

#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tasks.h"
#include "terminal.h"

namespace bench_host {

class EventLog {
  public:
    /** The events as lines, "Status" thinned to one a second and task unless `every` is wanted. */
    std::string lines(const std::vector<Event>& events, bool every, const Style& style);

    /** Begins a CSV file, once for each path, with the header "seconds,task,event,value". @throws BadInput */
    void open_csv(const std::string& path);
    /** Appends the events to a file that has been begun. @throws OutputError */
    void append_csv(const std::string& path, const std::vector<Event>& events);
    /** Whether the file has been begun and has taken no event. */
    bool holds_header_alone(const std::string& path) const;

  private:
    struct CsvFile {
        std::ofstream stream;
        std::size_t events = 0;
    };

    std::map<mint, double> last_shown_;
    std::map<std::string, CsvFile> files_;
};

}  // namespace bench_host
