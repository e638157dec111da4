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
    /** Prints and writes the events that have not been printed yet. */
    void print(const Options& options);
    /** The same right after a call; the user has seen the events of this call as its progress and its result. */
    void print_after_call(const Options& options, const Outcome& outcome);
    /** Writes events that were taken elsewhere. */
    void write(const Options& options, const std::vector<Event>& events);
    /** Prints a message if the options name a file and no task has run or runs. */
    void tell_of_no_events(const Options& options) const;
    /** exit_ok, or exit_call_failed if events could not be written to a file. */
    int exit_code() const;

  private:
    void show(const Options& options, const std::vector<Event>& events);

    EventLines lines_;
    EventFiles files_;
    std::map<mint, std::string> background_files_;  ///< --events of the line that submitted a task
    std::set<mint> in_background_;  ///< tasks in the background: their events are printed as they arrive
    bool lost_ = false;             ///< an event could not be written to its file
};

}  // namespace kesh_host
