/**
 * @file   fuzz_tasks.cpp
 * @brief  Random sequences of task operations and counts on the host's thread against a model of the task states.
 *
 * The host checks the order of the events and their values. The model knows the answers: a task fails if its count
 * cannot succeed, or by a stop request or an abort. A request ends at most one task, of those that existed when it was
 * made.
 */
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <iomanip>
#include <map>
#include <optional>
#include <string>
#include <thread>

#include "breach.h"
#include "show.h"
#include "support/test_host.h"

namespace {

using kesh::fuzz::show;
using kesh::test::call_integer;
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
    std::optional<kesh_host::EventValue> answer;
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
        check_answers();
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
        const std::string name = "PrimeCount_SubmitExprPrimePi";
        const auto submit = Library::instance().get(name);
        require(host_.announced(name, id, [&] { return submit(host_.data(), 2, slots, MArgument{}); }) ==
                LIBRARY_NO_ERROR);
        require(!host_.lent(argument));
        tasks_.emplace(id, std::move(task));
    }

    void count_here(const char* name, mint argument, mint answer) {
        const bool abort = input_.ConsumeBool();
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

    /** The host has checked the events themselves: what is left are the answers. */
    void check_answers() {
        size_t ended = 0;
        for (const auto& [id, task] : tasks_) {
            const kesh_host::Task seen = *kesh_host::host().tasks.find(id);
            if (!seen.failed) {
                require(task.answer.has_value() && seen.result == task.answer);
                continue;
            }
            require(!task.answer.has_value() || task.may_fail);
            ended += task.answer.has_value() ? 1 : 0;
        }
        require(ended <= ends_ && kesh_host::host().tasks.open_stores() == 0);
    }

    FuzzedDataProvider& input_;
    TestHost& host_ = TestHost::instance();
    std::map<mint, Task> tasks_;
    size_t ends_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    Sequence(input).run();
    return 0;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kesh::fuzz::end_at_a_breach();
    return 0;
}
