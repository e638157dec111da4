/**
 * @file   prompt.cpp
 * @brief  Executes the lines of a terminal or of a pipe, one after another.
 */
#include "prompt/prompt.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "HostKit/host.h"
#include "answers/refusal.h"
#include "commands/execute.h"
#include "commands/task_commands.h"
#include "prompt/line_reader.h"
#include "prompt/split_line.h"
#include "terminal/bad_input.h"
#include "terminal/exit_codes.h"
#include "terminal/output.h"
#include "terminal/wording.h"

namespace kesh_host {

namespace {

/** Executes one line of the prompt or a script. Returns its exit code; sets `leave` at quit. */
int run_line(Session& session, const std::string& line, bool& leave) {
    std::vector<std::string> words;
    try {
        words = split_line(line);
    } catch (const BadInput& error) {
        return report_bad_input(session.defaults().json, {}, error.what());
    }
    if (words.empty() || words[0].starts_with('#')) return exit_ok;
    if (words[0] == "quit" || words[0] == "exit") {
        leave = true;
        return exit_ok;
    }
    if (words.size() == 1 && words[0] == "?") words[0] = "list";
    return execute(session, words, true);
}

}  // namespace

int run_prompt(Session& session) {
    if (!session.defaults().quiet) {
        print("A call: PrimeCount_PrimePi 10^12. Tab completes, help explains, Ctrl-D ends.\n");
    }
    host().tasks.keep_events(true);
    LineReader reader(session);
    std::string line;
    for (bool leave = false; !leave;) {
        if (!reader.read(line)) {
            print("\n");
            break;
        }
        run_line(session, line, leave);
        session.events().print(session.defaults());
    }
    if (const std::size_t running = host().tasks.running(); running > 0) {
        print(fmt::format("stopping {}\n", counted(running, "task", "tasks")));
        stop_all(session);
    }
    session.events().tell_of_no_events(session.defaults());
    return host().breaches.total() > 0 ? exit_breach : exit_ok;
}

int run_script(Session& session) {
    host().tasks.keep_events(true);
    int code = exit_ok;
    std::string line;
    for (bool leave = false; !leave && std::getline(std::cin, line);) {
        // Lines may end with a carriage return, as on Windows.
        if (line.ends_with('\r')) line.pop_back();
        code = std::max(code, run_line(session, line, leave));
        session.events().print(session.defaults());
    }
    if (std::cin.bad() || std::ferror(stdin) != 0) {
        print_error("standard input could not be read completely\n");
        code = std::max<int>(code, exit_call_failed);
    }
    code = std::max(code, wait_for_all(session, session.defaults()));
    session.events().tell_of_no_events(session.defaults());
    return std::max(code, session.events().exit_code());
}

}  // namespace kesh_host
