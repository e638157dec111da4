/**
 * @file   caller.h
 * @brief  Makes a call in a way in which its progress can be shown and it can be stopped: as a task, under the progress
 * callback of an earlier task, or in pieces of the range; if there is no such way, as a plain call.
 */
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "HostKit/export_table.h"
#include "HostKit/library.h"
#include "calls/arguments.h"
#include "calls/call.h"
#include "calls/sum_check.h"
#include "terminal/progress_text.h"

namespace kesh_host {

struct CallSettings {
    enum class Progress { automatic, on, off };

    Progress progress = Progress::automatic;  ///< automatic: on a terminal
    bool bare = false;                        ///< make only the call of the export
    bool background = false;                  ///< submit as a task and return
    bool unchecked = false;                   ///< any number of arguments, any task id
    bool events_wanted = false;               ///< a count with a task form runs as a task, whose events are written
    TableChoice table = TableChoice::full;
    std::optional<double> abort_after;  ///< seconds after which the host presses Ctrl-C automatically
};

/** Calls exports for the user of the host. */
class Caller {
  public:
    Caller(const Library& library, ProgressLook look) : library_(library), look_(look) {}

    /** Binds the words to the export's parameters and calls it. @throws BadInput when nothing was called */
    Outcome call(const Export& entry, const std::vector<std::string>& words, const CallSettings& settings) const;

    /** Waits, with a progress line, until the task is removed; Ctrl-C stops it. */
    Outcome wait_for_task(mint id, const CallSettings& settings) const;

    /** Requests the end of the running count. */
    void stop_task() const;

  private:
    Outcome call_plainly(const Export& entry, const std::vector<ArgumentValue>& arguments,
                         const CallSettings& settings) const;
    Outcome call_as_task(const Export& entry, const std::vector<ArgumentValue>& arguments,
                         const CallSettings& settings) const;
    Outcome call_under_status(const Export& entry, const std::vector<ArgumentValue>& arguments,
                              const CallSettings& settings) const;
    SumCheck check_sum_of(const Outcome& outcome, const CallSettings& settings) const;
    Outcome submit(const Export& entry, std::vector<ArgumentValue> arguments, const CallSettings& settings,
                   std::string what) const;
    mint create_task() const;
    bool install_status_callback() const;
    bool wants_progress(const CallSettings& settings) const;
    ProgressLook look_for(const CallSettings& settings) const;

    const Library& library_;
    ProgressLook look_;
};

/** "PrimeCount_PrimePi(10^17)". */
std::string call_text(const Export& entry, const std::vector<ArgumentValue>& arguments);

}  // namespace kesh_host
