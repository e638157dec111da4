/**
 * @file   event_lines.h
 * @brief  The tasks' events as lines for people.
 */
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "HostKit/data_store.h"
#include "HostKit/task.h"
#include "terminal/terminal.h"

namespace kesh_host {

/** A value of an event: 25, 45.2, "$Failed". */
std::string event_value_text(const std::optional<EventValue>& value);

class EventLines {
  public:
    /** The events as lines. Unless `every` is set, "Status" is shown at most once a second for each task. */
    std::string text(const std::vector<Event>& events, bool every, const Style& style);

  private:
    std::map<mint, double> last_shown_;
};

}  // namespace kesh_host
