/**
 * @file   exhaustion_test.cpp
 * @brief  Every export while memory or threads run out: for each k the k-th allocation or thread start of a call fails,
 *         alone or with all later ones, each time in a separate process.
 *
 * The program defines the C library's allocation functions and pthread_create itself, so that every library in the
 * process uses these. A call may return the right result, fail as docs/limits.md describes, or, if a library below
 * fails within its own threads, end the process. It never returns a wrong result, writes its result slot on failure,
 * crashes or hangs, and later calls work.
 */
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "VelmoraIOLibraryFunctions.h"
#include "support/library.h"

// --- a C library that runs out -----------------------------------------------------------------------------------

namespace {

/** Refuses the k-th request, or that one and all later ones. */
class Supply {
  public:
    void refuse_from(long k, bool only_one) {
        asked_ = 0;
        refused_ = 0;
        first_ = k;
        last_ = only_one ? k : k == 0 ? 0 : std::numeric_limits<long>::max();
    }
    void refill() {
        refuse_from(0, true);
    }
    bool grants() {
        const long number = ++asked_;
        if (number < first_ || number > last_) return true;
        ++refused_;
        return false;
    }
    bool has_refused() const {
        return refused_ > 0;
    }

  private:
    std::atomic<long> asked_{0}, refused_{0}, first_{0}, last_{0};
};

constinit Supply memory;
constinit Supply threads;

// The text that a call returned last. When it is released, it is not freed, so that no other allocation gets the block.
constinit std::atomic<const void*> watched{nullptr};
constinit std::atomic<bool> watched_is_released{false};
constinit std::atomic<bool> released_twice{false};

template <typename Allocate>
void* grant(Allocate allocate) {
    if (memory.grants()) return allocate();
    errno = ENOMEM;
    return nullptr;
}

}  // namespace

#define KESH_VISIBLE __attribute__((visibility("default")))
extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);

KESH_VISIBLE void* malloc(size_t size) {
    return grant([=] { return __libc_malloc(size); });
}
KESH_VISIBLE void* calloc(size_t count, size_t size) {
    return grant([=] { return __libc_calloc(count, size); });
}
KESH_VISIBLE void* realloc(void* block, size_t size) {
    return grant([=] { return __libc_realloc(block, size); });
}
KESH_VISIBLE void* memalign(size_t alignment, size_t size) {
    return grant([=] { return __libc_memalign(alignment, size); });
}
KESH_VISIBLE void* aligned_alloc(size_t alignment, size_t size) {
    return grant([=] { return __libc_memalign(alignment, size); });
}
KESH_VISIBLE int posix_memalign(void** block, size_t alignment, size_t size) {
    void* const granted = grant([=] { return __libc_memalign(alignment, size); });
    if (granted == nullptr) return ENOMEM;
    *block = granted;
    return 0;
}
KESH_VISIBLE void free(void* block) {
    if (block == nullptr || block != watched) return __libc_free(block);
    if (watched_is_released.exchange(true)) released_twice = true;
}
KESH_VISIBLE int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                                void* argument) {
    static const auto create = reinterpret_cast<int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>(
        dlsym(RTLD_NEXT, "pthread_create"));
    return threads.grants() ? create(thread, attributes, run, argument) : EAGAIN;
}
}

namespace {

// --- a host that allocates nothing -------------------------------------------------------------------------------

struct Seen {
    std::atomic<int> disowned{0}, results{0}, errors{0}, removed{0};
    std::atomic<mint> integer{0};
    char text[64] = "";
};
Seen seen;

mint tensor_data[20'000];
mint tensor_length = 0;

VelmoraLibraryData host() {
    static st_VelmoraIOLibrary_Functions io = [] {
        st_VelmoraIOLibrary_Functions table{};
        table.createAsynchronousTaskWithoutThread = [] { return mint{1}; };
        table.createDataStore = []() -> DataStore { return nullptr; };
        table.DataStore_addInteger = [](DataStore, mint value) { seen.integer = value; };
        table.DataStore_addReal = [](DataStore, mreal) {};
        table.DataStore_addString = [](DataStore, char* text) { std::strncpy(seen.text, text, sizeof seen.text - 1); };
        table.raiseAsyncEvent = [](mint, char* name, DataStore) {
            if (std::strcmp(name, "Result") == 0) ++seen.results;
            if (std::strcmp(name, "Error") == 0) ++seen.errors;
        };
        table.removeAsynchronousTask = [](mint task) {
            ++seen.removed;
            return task;
        };
        return table;
    }();
    static st_VelmoraLibraryData data = [] {
        st_VelmoraLibraryData table{};
        table.UTF8String_disown = [](char*) { ++seen.disowned; };
        table.AbortQ = [] { return mint{0}; };
        table.MTensor_new = [](mint, mint, const mint* dims, MTensor*) -> int {
            tensor_length = dims[0];
            return LIBRARY_NO_ERROR;
        };
        table.MTensor_getIntegerData = [](MTensor) { return tensor_data; };
        table.MTensor_getInteger = [](MTensor, mint*, mint*) -> int { return LIBRARY_DIMENSION_ERROR; };
        table.ioLibraryFunctions = &io;
        return table;
    }();
    return &data;
}

// --- the calls ---------------------------------------------------------------------------------------------------

enum class Kind { integer, text, tensor, task, limbs };

struct Call {
    std::string name;
    Kind kind;
    std::vector<mint> arguments;
    const char* text = nullptr;
};

/** The outcome of one call: a result, or how it failed. Fixed size, for a pipe. */
struct Outcome {
    char failure[100] = "";
    char answer[200] = "";
};

void set(char (&field)[100], const char* text) {
    std::strncpy(field, text, sizeof field - 1);
}

constexpr mint untouched = -424242;

mint sum_of_tensor() {
    mint sum = tensor_length;
    for (mint i = 0; i < tensor_length; ++i) sum = 31 * (sum % 1'000'000'007) + tensor_data[i];
    return sum;
}

/** Makes the call; allocates nothing itself. */
Outcome make(const Call& call, void* function) {
    Outcome outcome;
    mint values[2] = {untouched, untouched};
    std::copy(call.arguments.begin(), call.arguments.end(), values);
    char text[64] = "";
    if (call.text != nullptr) std::strcpy(text, call.text);
    char* argument_text = text;
    MArgument slots[2];
    slots[0].integer = &values[0];
    slots[1].integer = &values[1];
    const auto arity = static_cast<mint>(call.arguments.size() + (call.text != nullptr ? 1 : 0));
    if (call.text != nullptr) slots[arity - 1].utf8string = &argument_text;
    mint integer = untouched;
    char* result_text = nullptr;
    MTensor tensor = reinterpret_cast<MTensor>(&tensor_length);
    MArgument result;
    result.integer = &integer;
    if (call.kind == Kind::text) result.utf8string = &result_text;
    if (call.kind == Kind::tensor) result.tensor = &tensor;
    const int removed_before = seen.removed;
    const int errors_before = seen.errors;
    seen.integer = untouched;
    seen.text[0] = 0;
    int code = 0;
    try {
        if (call.kind == Kind::limbs) {
            umint limbs[16] = {};
            // 2^89 - 1, or 2^521 - 1, 2^607 - 1: primes for the widths of 128, 1024 bits and between.
            for (mint bit = 0; bit < call.arguments[0]; ++bit) limbs[bit / 64] |= umint{1} << bit % 64;
            mbool prime = -1;
            code = reinterpret_cast<mbool (*)(const umint*, mint, mbool*)>(function)(limbs, 16, &prime) == 1 ? 0 : 6;
            integer = prime;
        } else {
            code = reinterpret_cast<kesh::test::Export>(function)(host(), arity, slots, result);
        }
    } catch (const std::system_error&) {
        set(outcome.failure, "throws std::system_error");
    } catch (const std::bad_alloc&) {
        set(outcome.failure, "throws std::bad_alloc");
    } catch (const std::exception& error) {
        set(outcome.failure, "throws another exception");
    }
    const bool failed = code != 0 || outcome.failure[0] != 0;
    if (failed && outcome.failure[0] == 0) std::snprintf(outcome.failure, sizeof outcome.failure, "code %d", code);
    if (failed && (integer != untouched || result_text != nullptr)) set(outcome.failure, "WRITES ITS RESULT AND FAILS");
    if (call.kind == Kind::task && !failed) {
        while (seen.removed == removed_before) usleep(200);
        if (seen.errors != errors_before) set(outcome.failure, "Error event");
    }
    if (outcome.failure[0] == 0) {
        std::snprintf(outcome.answer, sizeof outcome.answer, "%ld %s %ld", static_cast<long>(integer),
                      call.kind == Kind::text ? result_text : "",
                      call.kind == Kind::tensor ? static_cast<long>(sum_of_tensor()) : 0);
        if (call.kind == Kind::task)
            std::snprintf(outcome.answer, sizeof outcome.answer, "%ld %s", static_cast<long>(seen.integer.load()),
                          seen.text);
    }
    if (call.kind == Kind::text && result_text != nullptr) {
        watched_is_released = false;
        watched = result_text;
    }
    return outcome;
}

/** The report of a child process on one call during which something ran out. */
struct Report {
    Outcome outcome;
    Outcome afterwards;
    bool refused = false;  // the call asked at least k times
    bool released_twice = false;
};

struct Verdict {
    std::string outcome;
    bool refused = true;
};

/**
 * In a separate process: if warm, an earlier call of the kind; then the call with its k-th request refused; then the
 * call again.
 */
Verdict run(const Call& call, Supply& supply, long k, bool only_one, bool warm, const std::string& right) {
    int ends[2];
    if (pipe(ends) != 0) throw std::system_error(errno, std::generic_category());
    void* const function = kesh::test::Library::instance().get<void*>(call.name);
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
        alarm(120);
        host();
        Report report;
        if (warm) make(call, function);
        supply.refuse_from(k, only_one);
        report.outcome = make(call, function);
        report.refused = supply.has_refused();
        supply.refill();
        report.afterwards = make(call, function);
        report.released_twice = released_twice;
        if (write(ends[1], &report, sizeof report) != sizeof report) _exit(99);
        _exit(0);
    }
    close(ends[1]);
    Report report;
    const bool reported = read(ends[0], &report, sizeof report) == sizeof report;
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (!reported) {
        if (WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) return {"ends the process: std::terminate"};
        if (WIFSIGNALED(status)) return {WTERMSIG(status) == SIGALRM ? "HANGS" : "CRASHES"};
        return {"ends the process: exit by the OpenMP library"};
    }
    if (report.released_twice) return {"RELEASES ITS LAST RESULT TWICE"};
    if (right.empty()) return {report.outcome.answer, false};
    if (report.afterwards.answer != right) return {"UNUSABLE AFTERWARDS"};
    if (report.outcome.failure[0] != 0) return {report.outcome.failure, report.refused};
    if (report.outcome.answer != right) return {"WRONG ANSWER"};
    return {"right", report.refused};
}

/** The outcomes of the call over all k, or every step-th, each with the first k that led to it. */
std::map<std::string, long> outcomes(const Call& call, Supply& supply, long step) {
    const std::string right = run(call, supply, 0, true, false, "").outcome;
    std::map<std::string, long> found;
    for (const bool warm : {false, true}) {
        for (const bool only_one : {true, false}) {
            for (long k = 1;; k += step) {
                const Verdict verdict = run(call, supply, k, only_one, warm, right);
                if (!verdict.refused) break;
                found.emplace(verdict.outcome, k);
                if (k > 5000) throw std::runtime_error(call.name + " asks without end");
            }
        }
    }
    return found;
}

using Outcomes = std::set<std::string>;

const std::string code6 = "code 6";
const std::string no_memory = "throws std::bad_alloc";
const std::string no_thread = "throws std::system_error";
const std::string error_event = "Error event";
const std::string terminates = "ends the process: std::terminate";
const std::string exits = "ends the process: exit by the OpenMP library";

/** Expects only the outcomes that docs/limits.md lists for the calls, or the right result. */
void expect_only(const Outcomes& documented, const std::vector<Call>& calls, Supply& supply, long step = 1) {
    for (const Call& call : calls) {
        std::string seen_here;
        for (const auto& [outcome, k] : outcomes(call, supply, step)) {
            seen_here += "  " + outcome;
            EXPECT_TRUE(outcome == "right" || documented.contains(outcome))
                << call.name << ", k = " << k << ": " << outcome;
        }
        std::printf("%s:%s\n", call.name.c_str(), seen_here.empty() ? "  asks for nothing" : seen_here.c_str());
    }
}

constexpr mint e9 = 1'000'000'000;
constexpr mint e12 = 1'000'000'000'000;
constexpr mint e11 = 100'000'000'000;

void counts_without_memory(long step) {
    expect_only({code6, terminates, exits},
                {{"PrimeCount_PrimePi", Kind::integer, {e9}}, {"PrimeCount_Prime", Kind::integer, {1'000'000}}}, memory,
                step);
    expect_only({code6, no_memory, terminates, exits}, {{"PrimeCount_ExprPrimePi", Kind::text, {}, "10^9"}}, memory,
                step);
    expect_only({no_memory, terminates, exits},
                {{"PrimeCount_Coprime", Kind::integer, {e9, 50}},
                 {"PrimeCount_Meissel", Kind::integer, {e9}},
                 {"PrimeCount_DelegliseRivat", Kind::integer, {e9}},
                 {"PrimeCount_Legendre", Kind::integer, {e9}},
                 {"PrimeCount_Lehmer", Kind::integer, {e9}},
                 {"PrimeCount_LMO", Kind::integer, {e9}},
                 {"PrimeCount_PrimeSieve", Kind::integer, {10'000'000}}},
                memory, step);
    expect_only({error_event, no_memory, no_thread, terminates, exits},
                {{"PrimeCount_SubmitPrimePi", Kind::task, {1, e9}},
                 {"PrimeCount_SubmitPrime", Kind::task, {1, 1'000'000}},
                 {"PrimeCount_SubmitExprPrimePi", Kind::task, {1}, "10^9"}},
                memory, step);
}

TEST(WithoutMemory, Counts) {
    counts_without_memory(13);
}

TEST(WithoutMemory, Long_CountsAtEveryAllocation) {
    counts_without_memory(1);
}

TEST(WithoutMemory, WhatAsksForNone) {
    expect_only({},
                {{"PrimeCount_GetThreads", Kind::integer, {}},
                 {"PrimeCount_SetThreads", Kind::integer, {1}},
                 {"PrimeCount_CreateTask", Kind::integer, {}},
                 {"PrimeCount_StopTask", Kind::integer, {}}},
                memory);
}

/** The library allocates the text of a result itself, after the count. */
TEST(WithoutMemory, ATextThatCannotBeStoredIsNotReleasedTwice) {
    expect_only({code6, no_memory, terminates, exits}, {{"PrimeCount_ExprPrimePi", Kind::text, {}, "100"}}, memory);
}

TEST(WithoutMemory, Sieves) {
    expect_only({no_memory, no_thread},
                {{"PrimeSieve_NthPrime", Kind::integer, {1'000'000}},
                 {"PrimeSieve_CountPrimes", Kind::integer, {0, 20'000'000}},
                 {"PrimeSieve_CountTwins", Kind::integer, {0, 20'000'000}}},
                memory);
    expect_only({no_memory},
                {{"PrimeSieve_NextPrime", Kind::integer, {e11}},
                 {"PrimeSieve_PreviousPrime", Kind::integer, {e11}},
                 {"PrimeSieve_NextKthPrime", Kind::integer, {e11, 1000}},
                 {"PrimeSieve_PreviousKthPrime", Kind::integer, {e11, 1000}},
                 {"PrimeSieve_PrimeSum", Kind::integer, {1'000'000}},
                 {"PrimeSieve_PrimeSumInterval", Kind::integer, {e11, e11 + 10'000}},
                 {"PrimeSieve_ListPrimes", Kind::tensor, {0, 100'000}},
                 {"PrimeSieve_ListNPrimes", Kind::tensor, {1000}}},
                memory);
}

TEST(WithoutMemory, PrimalityNeedsNone) {
    expect_only({},
                {{"KESH_PrimeQ", Kind::limbs, {61}},
                 {"KESH_PrimeQ", Kind::limbs, {89}},
                 {"KESH_PrimeQ", Kind::limbs, {521}},
                 {"KESH_PrimeQ", Kind::limbs, {607}}},
                memory);
}

TEST(WithoutThreads, EveryKindOfCall) {
    expect_only({no_thread, exits},
                {{"PrimeCount_SubmitPrimePi", Kind::task, {1, e9}},
                 {"PrimeCount_SubmitPrime", Kind::task, {1, 1'000'000}},
                 {"PrimeCount_SubmitExprPrimePi", Kind::task, {1}, "10^9"}},
                threads);
    expect_only({exits},
                {{"PrimeCount_PrimePi", Kind::integer, {e12}},
                 {"PrimeCount_ExprPrimePi", Kind::text, {}, "10^12"},
                 {"PrimeCount_Prime", Kind::integer, {10 * e9}},
                 {"PrimeCount_Meissel", Kind::integer, {e12}},
                 {"PrimeCount_DelegliseRivat", Kind::integer, {e12}},
                 {"PrimeCount_Lehmer", Kind::integer, {e12}},
                 {"PrimeCount_LMO", Kind::integer, {e12}}},
                threads);
    expect_only({no_thread}, {{"PrimeSieve_CountPrimes", Kind::integer, {0, 20'000'000}}}, threads);
    expect_only({},
                {{"PrimeSieve_NextPrime", Kind::integer, {e11}},
                 {"PrimeSieve_ListPrimes", Kind::tensor, {0, 100'000}},
                 {"KESH_PrimeQ", Kind::limbs, {521}}},
                threads);
}

}  // namespace
