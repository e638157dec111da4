/**
 * @file   fuzz_tasks.cpp
 * @brief  Random sequences of task operations and counts on the host's thread against a model of the task states.
 *
 * The model: every submitted task receives "Status" events, then one "Result" with the right answer or one "Error",
 * then it is removed; events of two tasks never mix. The causes of "Error" are a count that cannot succeed, a stop
 * request and an abort. A request ends at most one task, of those that existed when it was made. Only "Status" may
 * arrive outside of a task's run: the process has one callback, so a worker that starts during a count on the host's
 * thread replaces it, and the rest of that count is reported as "Status" of the last task, even after its removal.
 */
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <iomanip>
#include <map>
#include <optional>
#include <string>
#include <thread>

#include "show.h"
#include "support/test_host.h"

namespace {

using kesh::fuzz::show;
using kesh::test::call_integer;
using kesh::test::Event;
using kesh::test::Library;
using kesh::test::TestHost;
using kesh::test::unwritten;

void require(bool condition) {
    if (!condition) std::abort();
}

/** pi(x) and the n-th prime (OEIS A006880, A006988), both for the same argument; no prime has the number 0. */
struct Count {
    mint argument;
    mint pi;
    mint prime;
};

constexpr Count counts[] = {
    {0, 0, -1},
    {10, 4, 29},
    {1000, 168, 7919},
    {1'000'000, 78498, 15485863},
    {1'000'000'000, 50847534, 22801763489},
    {100'000'000'000, 4118054813, 2760727302517},
    {1'000'000'000'000, 37607912018, 29996224275833},
};

const char* const not_numbers[] = {"", "x", "1x", "999999999999999999999999999999999999999999"};

struct Task {
    /** Empty: the count cannot succeed. */
    std::optional<std::variant<mint, std::string>> answer;
    bool may_fail = false;
};

class Sequence {
  public:
    explicit Sequence(FuzzedDataProvider& input) : input_(input) {
        // No progress of the last task of an earlier sequence may continue here.
        call_integer("PrimeCount_PrimePi", {10});
        host_.reset();
    }

    void run() {
        for (int rest = input_.ConsumeIntegralInRange(0, 12); rest > 0; --rest) operate();
        for (const auto& [id, task] : tasks_) require(host_.wait_for_removal(id));
        check_events();
    }

  private:
    void operate() {
        const int operation = input_.ConsumeIntegralInRange(0, 9);
        const Count& count = input_.PickValueInArray(counts);
        switch (operation) {
            case 0:
                return submit("PrimeCount_SubmitPrimePi", count.argument, {{count.pi}});
            case 1:
                if (count.prime < 0) return submit("PrimeCount_SubmitPrime", count.argument, {{}});
                return submit("PrimeCount_SubmitPrime", count.argument, {{count.prime}});
            case 2:
                return submit_text(std::to_string(count.argument), {{std::to_string(count.pi)}});
            case 3:
                return submit_text(input_.PickValueInArray(not_numbers), {{}});
            case 4:
                show("stop");
                require(call_integer("PrimeCount_StopTask", {}).code == LIBRARY_NO_ERROR);
                return may_end_a_task();
            case 5:
                return count_here("PrimeCount_PrimePi", count.argument, count.pi);
            case 6:
                return count_here("PrimeCount_Prime", count.argument, count.prime);
            case 7:
                // This count installs no callback and uses the one that is installed.
                counted_here_ = true;
                show("count here: PrimeCount_LMO ", count.argument);
                require(call_integer("PrimeCount_LMO", {count.argument}).result == count.pi);
                return;
            case 8:
                show("a submit with a missing argument, and a new task");
                require(call_integer("PrimeCount_SubmitPrimePi", {1}).code == LIBRARY_FUNCTION_ERROR);
                require(call_integer("PrimeCount_CreateTask", {1, 2, 3}).code == LIBRARY_NO_ERROR);
                return;
            default:
                const int milliseconds = input_.ConsumeIntegralInRange(0, 30);
                show("wait ", milliseconds, " ms");
                std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        }
    }

    void submit(const char* name, mint argument, Task task) {
        const mint id = call_integer("PrimeCount_CreateTask", {}).result;
        show("task ", id, ": ", name, ' ', argument);
        const auto call = call_integer(name, {id, argument});
        require(call.code == LIBRARY_NO_ERROR && call.result == unwritten);
        tasks_.emplace(id, std::move(task));
    }

    void submit_text(const std::string& text, Task task) {
        mint id = call_integer("PrimeCount_CreateTask", {}).result;
        show("task ", id, ": PrimeCount_SubmitExprPrimePi ", std::quoted(text));
        char* argument = host_.new_string(text);
        MArgument slots[2];
        slots[0].integer = &id;
        slots[1].utf8string = &argument;
        const auto submit = Library::instance().get("PrimeCount_SubmitExprPrimePi");
        require(submit(host_.data(), 2, slots, MArgument{}) == LIBRARY_NO_ERROR);
        require(!host_.disowned().empty() && host_.disowned().back() == argument);
        tasks_.emplace(id, std::move(task));
    }

    void count_here(const char* name, mint argument, mint answer) {
        const bool abort = input_.ConsumeBool();
        counted_here_ = true;
        show("count here: ", name, ' ', argument, abort ? ", AbortQ returns 1" : "");
        host_.abort = abort ? 1 : 0;
        const auto call = call_integer(name, {argument});
        host_.abort = 0;
        if (call.code == LIBRARY_NO_ERROR) {
            require(call.result == answer);
        } else {
            require(call.code == LIBRARY_FUNCTION_ERROR && call.result == unwritten && (abort || answer < 0));
        }
        if (!abort) return;
        // From here on the running task calls AbortQ as well; the next task does not. The callback of an earlier count,
        // which calls AbortQ, may have ended one more task before.
        may_end_a_task();
        may_end_a_task();
    }

    void may_end_a_task() {
        ++ends_;
        for (auto& [id, task] : tasks_) task.may_fail = true;
    }

    void check_events() {
        enum { before, counting, reported } state = before;
        mint current = 0;
        mreal percent = 0;
        size_t removed = 0;
        size_t ended = 0;
        for (const Event& event : host_.events()) {
            const bool reported_already = state == reported || (state == before && removed > 0);
            if (counted_here_ && reported_already && event.task == current && event.name == "Status") continue;
            if (state == before) {
                current = event.task;
                percent = 0;
            }
            require(event.task == current);
            if (event.removal) {
                require(state == reported);
                state = before;
                ++removed;
                continue;
            }
            require(state != reported && event.values.size() == 1);
            const Task& task = tasks_.at(event.task);
            if (event.name == "Status") {
                const mreal next = std::get<mreal>(event.values[0]);
                require(next >= 0 && next <= 100 && (counted_here_ || next >= percent));
                percent = next;
                state = counting;
                continue;
            }
            state = reported;
            if (event.name == "Result") {
                require(task.answer.has_value());
                if (const auto* const text = std::get_if<std::string>(&*task.answer)) {
                    require(std::get<std::string>(event.values[0]) == *text);
                } else {
                    require(std::get<mint>(event.values[0]) == std::get<mint>(*task.answer));
                }
            } else {
                require(event.name == "Error" && std::get<std::string>(event.values[0]) == "$Failed");
                require(!task.answer.has_value() || task.may_fail);
                ended += task.answer.has_value() ? 1 : 0;
            }
        }
        require(removed == tasks_.size() && state == before && ended <= ends_ && host_.open_data_stores() == 0);
    }

    FuzzedDataProvider& input_;
    TestHost& host_ = TestHost::instance();
    std::map<mint, Task> tasks_;
    bool counted_here_ = false;
    size_t ends_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    Sequence(input).run();
    return 0;
}
