/**
 * @file   fuzz_tasks.cpp
 * @brief  Random sequences of task operations and synchronous counts against a model of the task states.
 *
 * The model: every submitted task receives "Status" events, then one "Result" with the right count or one "Error",
 * then it is removed; events of two tasks never mix; a sequence without a stop and without a count that takes the
 * callback over has no "Error". One thing may come outside of a task's run: the callback is the process's, so a worker
 * that starts during a synchronous count takes that count's progress over, and the rest of it goes out as "Status" of
 * the last task, even after its removal.
 */
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <map>
#include <thread>

#include "support/test_host.h"

namespace {

using kesh::test::Event;
using kesh::test::Library;
using kesh::test::TestHost;

void require(bool condition) {
    if (!condition) std::abort();
}

struct Count {
    mint argument;
    mint pi;
    mint prime;
};

/** pi(n) and the n-th prime: OEIS A006880 and A006988. */
constexpr Count counts[] = {
    {10, 4, 29}, {1000, 168, 7919}, {1'000'000, 78498, 15485863}, {100'000'000, 5761455, 2038074743},
    {1'000'000'000'0, 455052511, 252097800623},
};

mint submit(const char* name, mint argument) {
    mint id = 0;
    MArgument result;
    result.integer = &id;
    Library::instance().get("PrimeCount_CreateTask")(TestHost::instance().data(), 0, nullptr, result);
    MArgument slots[2];
    slots[0].integer = &id;
    slots[1].integer = &argument;
    mint untouched = kesh::test::unwritten;
    result.integer = &untouched;
    require(Library::instance().get(name)(TestHost::instance().data(), 2, slots, result) == LIBRARY_NO_ERROR);
    require(untouched == kesh::test::unwritten);
    return id;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    TestHost& host = TestHost::instance();
    host.reset();
    std::map<mint, mint> expected;
    bool undisturbed = true;
    bool counted_synchronously = false;

    const int operations = input.ConsumeIntegralInRange(0, 12);
    for (int i = 0; i < operations; ++i) {
        const Count& count = input.PickValueInArray(counts);
        switch (input.ConsumeIntegralInRange(0, 4)) {
            case 0:
                expected[submit("PrimeCount_SubmitPrimePi", count.argument)] = count.pi;
                break;
            case 1:
                if (count.argument > 1'000'000'000) break;
                expected[submit("PrimeCount_SubmitPrime", count.argument)] = count.prime;
                break;
            case 2:
                undisturbed = false;
                require(kesh::test::call_integer("PrimeCount_StopTask", {}).code == LIBRARY_NO_ERROR);
                break;
            case 3: {
                undisturbed = false;
                counted_synchronously = true;
                host.abort = input.ConsumeBool();
                const auto call = kesh::test::call_integer("PrimeCount_PrimePi", {count.argument});
                if (call.code == LIBRARY_NO_ERROR) {
                    require(call.result == count.pi);
                } else {
                    require(call.code == LIBRARY_FUNCTION_ERROR && call.result == kesh::test::unwritten);
                }
                host.abort = 0;
                break;
            }
            default:
                std::this_thread::sleep_for(std::chrono::milliseconds(input.ConsumeIntegralInRange(0, 5)));
        }
    }
    for (const auto& [id, value] : expected) require(host.wait_for_removal(id));

    mint current = 0;
    enum { before, counting, reported } state = before;
    size_t removed = 0;
    for (const Event& event : host.events()) {
        const bool reported_already = state == reported || (state == before && removed > 0);
        if (counted_synchronously && reported_already && event.task == current && event.name == "Status") continue;
        if (state == before) current = event.task;
        require(event.task == current);
        if (event.removal) {
            require(state == reported);
            state = before;
            ++removed;
            continue;
        }
        require(state != reported);
        require(event.values.size() == 1);
        if (event.name == "Status") {
            state = counting;
            require(std::holds_alternative<mreal>(event.values[0]));
        } else if (event.name == "Result") {
            require(std::get<mint>(event.values[0]) == expected.at(event.task));
            state = reported;
        } else {
            require(event.name == "Error" && std::get<std::string>(event.values[0]) == "$Failed" && !undisturbed);
            state = reported;
        }
    }
    require(removed == expected.size() && state == before && host.open_data_stores() == 0);
    return 0;
}
