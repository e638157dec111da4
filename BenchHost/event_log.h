/**
 * @file   event_log.h
 * @brief  The tasks' events as lines for people, and as a CSV file for programs and plots.
 */
#pragma once

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

    /** Appends the events to a CSV file that it begins with the header "seconds,task,event,value". @throws BadInput */
    void append_csv(const std::string& path, const std::vector<Event>& events);

  private:
    std::map<mint, double> last_shown_;
    std::map<std::string, bool> begun_;
};

}  // namespace bench_host
