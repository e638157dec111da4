/**
 * @file   session.h
 * @brief  One command after another: what the shell's line and every line of the prompt do.
 */
#pragma once

#include <cstdio>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <set>
#include <string>
#include <vector>

#include "HostKit/export_table.h"
#include "HostKit/library.h"
#include "HostKit/task.h"
#include "answers/event_files.h"
#include "answers/event_lines.h"
#include "answers/print_look.h"
#include "calls/call.h"
#include "commands/options.h"
#include "terminal/progress_text.h"
#include "terminal/terminal.h"

namespace kesh_host {

class Session {
  public:
    /** Opens the library. @throws LibraryError */
    explicit Session(const Options& defaults);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /** Carries out one command of the shell's line or the prompt and answers its exit code. Reports bad input itself.
     */
    int run(const std::vector<std::string>& arguments, bool at_prompt);
    /** The same with options already read. */
    int execute(const Options& options, bool at_prompt);

    /** Waits for every task; at the prompt's end, in a script. */
    int wait_for_all(const Options& options);
    /** Stops what still runs and waits a little for it. */
    void stop_all();

    /** Prints the events that wait. */
    void print_events(const Options& options);
    /** Says so when a file was asked for and no task ran. */
    void tell_of_no_events(const Options& options) const;
    /** exit_ok, or, when events were lost on their way to a file, what that comes to. */
    int exit_code_of_events() const;

    const Options& defaults() const {
        return defaults_;
    }

  private:
    int carry_out(const Options& options, bool at_prompt);
    int call(const Options& options, const Export& entry, const std::vector<std::string>& words, bool at_prompt);
    int test_primality(const Options& options, const std::vector<std::string>& words);
    int wait(const Options& options, const std::vector<std::string>& words);
    int set(const Options& options, const std::vector<std::string>& words);
    int help(const Options& options, const std::vector<std::string>& words, bool at_prompt);
    int faults(const std::vector<std::string>& words, bool at_prompt);
    int show(const Options& options, const Outcome& outcome);
    void write_events(const Options& options, const std::vector<Event>& events);
    void show_events(const Options& options, const std::vector<Event>& events);
    std::string unknown_name(const std::string& name) const;
    nlohmann::ordered_json version_json() const;
    std::string version_text() const;
    void set_threads(int threads) const;
    void prepare_faults(const Options& options) const;
    PrintLook look(const Options& options) const;
    ProgressLook progress_look(const Options& options) const;
    Style error_style(const Options& options) const;

    Options defaults_;
    Library library_;
    EventLines event_lines_;
    EventFiles event_files_;
    std::map<mint, std::string> background_files_;  ///< --events of the line that submitted a task
    std::set<mint> in_background_;  ///< tasks that nobody waits for: their events are printed as they come
    bool events_lost_ = false;      ///< a file took no more
};

/** The commands, for help as JSON. */
nlohmann::ordered_json commands_json();

}  // namespace kesh_host
