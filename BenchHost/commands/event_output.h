/**
 * @file   event_output.h
 * @brief  The events of tasks: on standard output, and in the file that the options name.
 */
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "HostKit/task.h"
#include "answers/event_files.h"
#include "answers/event_lines.h"
#include "calls/call.h"
#include "commands/options.h"

namespace kesh_host {

class EventOutput {
  public:
    /** @throws BadInput if the options name a file that cannot be written */
    void begin_file(const Options& options);
    /** Prints and writes the events that wait. */
    void print(const Options& options);
    /** The same right after a call: what it raised itself has been shown as its progress and its result. */
    void print_after_call(const Options& options, const Outcome& outcome);
    /** Writes events that were taken elsewhere. */
    void write(const Options& options, const std::vector<Event>& events);
    /** Says so if the options name a file, and no task runs and none ran. */
    void tell_of_no_events(const Options& options) const;
    /** exit_ok, or exit_call_failed if events were lost on their way to a file. */
    int exit_code() const;

  private:
    void show(const Options& options, const std::vector<Event>& events);

    EventLines lines_;
    EventFiles files_;
    std::map<mint, std::string> background_files_;  ///< --events of the line that submitted a task
    std::set<mint> in_background_;  ///< tasks that nobody waits for: their events are printed as they come
    bool lost_ = false;             ///< a file took no more
};

}  // namespace kesh_host
