/**
 * @file   task_commands.cpp
 * @brief  Waits for tasks, shows them and stops them.
 */
#include "commands/task_commands.h"

#include <fmt/format.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "HostKit/host.h"
#include "HostKit/task.h"
#include "answers/json.h"
#include "answers/tasks_text.h"
#include "calls/arguments.h"
#include "calls/call.h"
#include "calls/caller.h"
#include "calls/interrupts.h"
#include "commands/command.h"
#include "commands/looks.h"
#include "commands/options.h"
#include "commands/session.h"
#include "terminal/bad_input.h"
#include "terminal/exit_codes.h"
#include "terminal/output.h"
#include "terminal/progress_text.h"

namespace kesh_host {

using namespace std::chrono_literals;

int wait_for_all(Session& session, const Options& options) {
    const InterruptScope scope(3, Stoppable::yes);
    bool failed = false;
    while (host().tasks.running() > 0) {
        std::this_thread::sleep_for(20ms);
        if (interrupts_seen() > 0) Caller(session.library(), progress_look_of(options)).stop_task();
        session.events().print(options);
    }
    session.events().print(options);
    for (const Task& task : host().tasks.list()) failed = failed || task.failed;
    if (!host().breaches.take().empty()) return exit_breach;
    if (interrupts_seen() > 0) return exit_code_when_stopped();
    return failed ? exit_call_failed : exit_ok;
}

void stop_all(Session& session) {
    const auto limit = std::chrono::steady_clock::now() + 5s;
    while (host().tasks.running() > 0 && std::chrono::steady_clock::now() < limit) {
        Caller(session.library(), ProgressLook{}).stop_task();
        std::this_thread::sleep_for(20ms);
    }
}

int show_tasks(Session&, const Request& request) {
    const std::vector<Task> tasks = host().tasks.list();
    print(request.options.json ? json_line(tasks_json(tasks)) : tasks_text(tasks, look_of(request.options)));
    return exit_ok;
}

int stop_counting_task(Session& session, const Request& request) {
    Caller(session.library(), progress_look_of(request.options)).stop_task();
    return exit_ok;
}

int wait_for_tasks(Session& session, const Request& request) {
    const Options& options = request.options;
    const std::vector<std::string>& words = request.words;
    const Caller caller(session.library(), progress_look_of(options));
    int code = exit_ok;
    std::vector<mint> ids;
    if (words.empty()) {
        for (const Task& task : host().tasks.list()) {
            if (task.running()) ids.push_back(task.id);
        }
    } else {
        const mint id = read_task_id(words[0]);
        const auto task = host().tasks.find(id);
        if (!task) throw BadInput(fmt::format("there is no task {}; 'tasks' lists them", id));
        if (task->state == TaskState::created) throw BadInput(fmt::format("task {} has no count", id));
        ids.push_back(id);
    }
    for (const mint id : ids) {
        Outcome outcome = caller.wait_for_task(id, options.call);
        session.events().print(options);
        if (outcome.status == Status::stopped) {
            code = exit_code_when_stopped();
            break;
        }
    }
    return code;
}

}  // namespace kesh_host
