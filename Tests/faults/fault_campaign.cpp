/**
 * @file   fault_campaign.cpp
 * @brief  Every callback of the host that an export uses fails in every way, and what comes of it is written down.
 *
 *     fault_campaign OUTCOMES            compares with the committed table, line by line
 *     fault_campaign --update OUTCOMES   writes it anew
 *
 * Each case runs in a process of its own, because some faults end the process by design (an exception that leaves a
 * thread, a null pointer that the host promised not to hand out).
 */
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "support/test_host.h"

namespace {

using kesh::test::Event;
using kesh::test::Library;
using kesh::test::TestHost;
using namespace std::chrono_literals;

/** A representative call of one export that succeeds with a host that does its part. */
struct Call {
    std::string name;
    std::string arguments;  // i integers, s strings, t a tensor: "i:100 s:10^12"
    char result;            // i integer, s string, t tensor, b boolean, - none
    bool task = false;      // reports through events; its first argument is the task id
};

const std::vector<Call> calls = {
    {"PrimeSieve_NthPrime", "i:25", 'i'},
    {"PrimeSieve_CountPrimes", "i:0 i:100", 'i'},
    {"PrimeSieve_CountTwins", "i:0 i:100", 'i'},
    {"PrimeSieve_CountTriplets", "i:0 i:100", 'i'},
    {"PrimeSieve_CountQuadruplets", "i:0 i:100", 'i'},
    {"PrimeSieve_CountQuintuplets", "i:0 i:100", 'i'},
    {"PrimeSieve_CountSextuplets", "i:0 i:100", 'i'},
    {"PrimeSieve_NextPrime", "i:100", 'i'},
    {"PrimeSieve_PreviousPrime", "i:100", 'i'},
    {"PrimeSieve_NextKthPrime", "i:100 i:3", 'i'},
    {"PrimeSieve_PreviousKthPrime", "i:100 i:3", 'i'},
    {"PrimeSieve_PrimeSum", "i:100", 'i'},
    {"PrimeSieve_PrimeSumInterval", "i:1 i:100", 'i'},
    {"PrimeSieve_ListPrimes", "i:0 i:100", 't'},
    {"PrimeSieve_ListNPrimes", "i:25", 't'},
    {"PrimeCount_PrimePi", "i:1000000000000", 'i'},
    {"PrimeCount_Prime", "i:30000000000", 'i'},
    {"PrimeCount_Coprime", "i:1000000 i:10", 'i'},
    {"PrimeCount_Meissel", "i:1000000000", 'i'},
    {"PrimeCount_DelegliseRivat", "i:1000000000", 'i'},
    {"PrimeCount_Legendre", "i:1000000000", 'i'},
    {"PrimeCount_Lehmer", "i:1000000000", 'i'},
    {"PrimeCount_LMO", "i:1000000000", 'i'},
    {"PrimeCount_PrimeSieve", "i:1000000000", 'i'},
    {"PrimeCount_GetThreads", "", 'i'},
    {"PrimeCount_SetThreads", "i:2", 'i'},
    {"PrimeCount_ExprPrimePi", "s:10^12", 's'},
    {"PrimeCount_CreateTask", "", 'i'},
    {"PrimeCount_StopTask", "", '-'},
    {"PrimeCount_SubmitPrimePi", "i:7 i:1000000000000", '-', true},
    {"PrimeCount_SubmitPrime", "i:7 i:30000000000", '-', true},
    {"PrimeCount_SubmitExprPrimePi", "i:7 s:10^12", '-', true},
    {"KESH_RT_PrimeQ", "t:", 'b'},
};

const std::vector<std::string> callbacks = {
    "UTF8String_disown",      "MTensor_new",     "MTensor_getInteger",
    "MTensor_getIntegerData", "AbortQ",          "createAsynchronousTaskWithoutThread",
    "raiseAsyncEvent",        "createDataStore", "DataStore_addInteger",
    "DataStore_addReal",      "DataStore_addString",
    "removeAsynchronousTask",
};

/** What a callback can do wrong. Which apply depends on what it returns. */
std::vector<std::string> faults_of(const std::string& callback) {
    std::vector<std::string> faults = {"throws std::runtime_error", "throws an int", "takes 0.2 s"};
    if (callback == "MTensor_new" || callback == "MTensor_getInteger") faults.insert(faults.begin(), "returns code 5");
    if (callback == "AbortQ") faults.insert(faults.begin(), "returns 1");
    if (callback == "createDataStore" || callback == "MTensor_getIntegerData") faults.insert(faults.begin(), "returns null");
    return faults;
}

/** Makes the first call of the callback go wrong. */
void arm(const std::string& callback, const std::string& fault) {
    TestHost& host = TestHost::instance();
    if (fault == "returns code 5") {
        host.fail(callback, 5);
    } else if (fault == "returns 1") {
        host.abort = 1;
    } else if (fault == "returns null" && callback == "createDataStore") {
        host.null_data_store = true;
    } else if (fault == "returns null") {
        host.table.MTensor_getIntegerData = [](MTensor) -> mint* { return nullptr; };
    } else {
        host.before(callback, [fault, first = std::make_shared<std::atomic<bool>>(true)] {
            if (!first->exchange(false)) return;
            if (fault == "throws std::runtime_error") throw std::runtime_error("fault");
            if (fault == "throws an int") throw 42;
            std::this_thread::sleep_for(200ms);
        });
    }
}

/** The events of a task in short: how many "Status" arrive is a matter of time, so they are only named. */
std::string events_in_short(const std::vector<Event>& events) {
    std::string text;
    std::string last;
    for (const Event& event : events) {
        std::string name = event.removal ? "removed" : event.name;
        if (event.name == "Status" && event.values.empty()) name = "Status without value";
        if (event.name == "Result" && event.values.empty()) name = "Result without value";
        if (name == last) continue;
        text += (text.empty() ? "" : ", ") + name;
        last = name;
    }
    return text.empty() ? "none" : text;
}

/** Runs the call in this process and says what was seen. */
std::string run(const Call& call) {
    TestHost& host = TestHost::instance();
    std::vector<mint> integers;
    std::vector<char*> strings;
    st_MTensor tensor{{2, 3}};
    MTensor tensor_handle = &tensor;
    integers.reserve(4);
    strings.reserve(4);
    std::vector<MArgument> slots;
    std::istringstream words(call.arguments);
    for (std::string word; words >> word;) {
        MArgument slot;
        if (word[0] == 'i') {
            integers.push_back(std::stoll(word.substr(2)));
            slot.integer = &integers.back();
        } else if (word[0] == 's') {
            strings.push_back(host.new_string(word.substr(2)));
            slot.utf8string = &strings.back();
        } else {
            slot.tensor = &tensor_handle;
        }
        slots.push_back(slot);
    }

    union {
        mint integer;
        char* text;
        MTensor tensor;
        mbool boolean;
    } storage;
    storage.integer = kesh::test::unwritten;
    MArgument result;
    result.integer = &storage.integer;

    std::string outcome;
    try {
        const int code =
            Library::instance().get(call.name)(host.data(), static_cast<mint>(slots.size()), slots.data(), result);
        outcome = "code " + std::to_string(code);
    } catch (const std::exception&) {
        outcome = "std::exception";
    } catch (...) {
        outcome = "other exception";
    }
    outcome += storage.integer == kesh::test::unwritten ? ", result unwritten" : ", result written";
    if (call.task) {
        host.wait_until(
            [](const std::vector<Event>& events) { return !events.empty() && events.back().removal; }, 3s);
        outcome += "; events: " + events_in_short(host.events());
        outcome += "; data stores kept back: " + std::to_string(host.open_data_stores());
    }
    if (!strings.empty()) outcome += host.disowned().empty() ? "; string not handed back" : "; string handed back";
    if (call.result == 't') outcome += "; tensors made: " + std::to_string(host.tensors());
    return outcome;
}

/** Runs the case in a child process and returns what it said, or how it ended. */
template <typename Case>
std::string in_a_child(Case run_case) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        std::freopen("/dev/null", "w", stderr);
        const std::string outcome = run_case();
        const ssize_t written = write(ends[1], outcome.data(), outcome.size());
        _exit(written == static_cast<ssize_t>(outcome.size()) ? 0 : 1);
    }
    close(ends[1]);
    std::string outcome;
    char buffer[4096];
    for (ssize_t n; (n = read(ends[0], buffer, sizeof buffer)) > 0;) outcome.append(buffer, static_cast<size_t>(n));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status)) return WTERMSIG(status) == SIGABRT ? "std::terminate" : "crash";
    return outcome;
}

/** Which callbacks the call reaches when nothing goes wrong. */
std::vector<std::string> reached_by(const Call& call) {
    const std::string names = in_a_child([&] {
        auto reached = std::make_shared<std::array<std::atomic<bool>, 16>>();
        for (size_t i = 0; i < callbacks.size(); ++i) {
            TestHost::instance().before(callbacks[i], [reached, i] { (*reached)[i] = true; });
        }
        run(call);
        std::string list;
        for (size_t i = 0; i < callbacks.size(); ++i) {
            if ((*reached)[i]) list += callbacks[i] + "\n";
        }
        return list;
    });
    std::istringstream lines(names);
    std::vector<std::string> list;
    for (std::string line; std::getline(lines, line);) list.push_back(line);
    return list;
}

std::string campaign() {
    std::ostringstream table;
    table << "# What comes of every fault of a host callback\n\n"
             "Written by `fault_campaign --update` and compared by a test. The first call of the callback goes wrong;\n"
             "`std::terminate` and `crash` are ends of the process: an exception out of a worker thread, a null\n"
             "pointer from the host that is written through.\n\n"
             "| export | callback | fault | outcome |\n|---|---|---|---|\n";
    for (const Call& call : calls) {
        if (dlsym(dlopen(KESH_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL), call.name.c_str()) == nullptr) continue;
        table << "| `" << call.name << "` | | none | " << in_a_child([&] { return run(call); }) << " |\n";
        for (const std::string& callback : reached_by(call)) {
            for (const std::string& fault : faults_of(callback)) {
                const std::string outcome = in_a_child([&] {
                    arm(callback, fault);
                    return run(call);
                });
                table << "| `" << call.name << "` | `" << callback << "` | " << fault << " | " << outcome << " |\n";
            }
        }
    }
    return table.str();
}

}  // namespace

int main(int argc, char** argv) {
    const bool update = argc == 3 && std::strcmp(argv[1], "--update") == 0;
    if (argc != 2 && !update) {
        std::cerr << "usage: fault_campaign [--update] OUTCOMES\n";
        return 2;
    }
    const std::string path = argv[argc - 1];
    const std::string now = campaign();
    if (update) {
        std::ofstream(path) << now;
        return 0;
    }
    std::ifstream file(path);
    std::ostringstream committed;
    committed << file.rdbuf();
    std::istringstream left(committed.str());
    std::istringstream right(now);
    int differences = 0;
    std::string wanted;
    std::string seen;
    for (;;) {
        const bool more_wanted = static_cast<bool>(std::getline(left, wanted));
        const bool more_seen = static_cast<bool>(std::getline(right, seen));
        if (!more_wanted && !more_seen) break;
        if (more_wanted && more_seen && wanted == seen) continue;
        ++differences;
        std::cout << "wanted: " << (more_wanted ? wanted : "(nothing)") << "\nseen:   "
                  << (more_seen ? seen : "(nothing)") << "\n";
    }
    std::cout << std::count(now.begin(), now.end(), '\n') << " lines, " << differences << " differences\n";
    return differences == 0 ? 0 : 1;
}
