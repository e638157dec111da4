/**
 * @file   endurance.cpp
 * @brief  Makes the calls of a round, checks their results, and reads memory, descriptors and threads from /proc.
 */
#include "campaigns/endurance.h"

#include <fmt/format.h>
#include <malloc.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>

#include "HostKit/export_table.h"
#include "HostKit/host.h"
#include "answers/outcome_text.h"
#include "calls/call.h"
#include "calls/caller.h"
#include "calls/expression.h"
#include "calls/interrupts.h"
#include "calls/primality.h"
#include "terminal/exit_codes.h"
#include "terminal/output.h"
#include "terminal/stopwatch.h"

namespace kesh_host {

namespace {

using namespace std::chrono_literals;

/** Memory may vary, because of the stacks of short-lived threads and of holes in the heap. */
constexpr double allowed_growth_mib = 2;

/** Shorter runs take their first reading before the memory has settled, so their memory is shown but not judged. */
constexpr double settling_minutes = 5;

/** The memory, descriptors and threads of the process. */
struct Holdings {
    double memory_mib = 0;  ///< of the process itself, without pages of files, which the system loads and drops
    std::size_t descriptors = 0;
    std::size_t threads = 0;
};

std::size_t entries_of(const char* folder) {
    const std::filesystem::directory_iterator files(folder);
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

Holdings holdings() {
    std::ifstream status("/proc/self/status");
    double kib = 0;
    for (std::string word; status >> word;) {
        if (word == "RssAnon:") status >> kib;
    }
    return {kib / 1024, entries_of("/proc/self/fd"), entries_of("/proc/self/task")};
}

class Endurance {
  public:
    explicit Endurance(const Library& library) : caller_(library, {}), primes_(library) {}

    std::size_t answers() const {
        return answers_;
    }
    std::size_t wrong() const {
        return wrong_;
    }

    /** Every export once with its example, then calls with random arguments whose results check each other. */
    void round() {
        // Counts use one thread after the example of PrimeCount_SetThreads; in every other round they use one from the
        // start.
        answer("PrimeCount_SetThreads", {++rounds_ % 2 == 0 ? "1" : "2"});
        for (const Export& entry : export_table()) {
            if (entry.name == "KESH_PrimeQ") continue;
            const std::vector<std::string> words(entry.example.begin(), entry.example.end());
            if (entry.name == "KESH_RT_PrimeQ") {
                // The library passes no place for the element to the host, and returns the host's error code for this.
                expect("KESH_RT_PrimeQ", failure(entry.name, words), "code 5");
            } else {
                const std::string seen = answer(entry.name, words);
                if (!entry.example_result.empty()) expect(entry.name, seen, entry.example_result);
            }
        }
        failing_calls();
        for (int i = 0; i < 5; ++i) {
            random_ranges();
            random_primes();
            stopped_task();
        }
        host().tasks.forget_ended();
        expect("the host",
               fmt::format("{} strings lent, {} tensors, {} DataStores", host().strings.lent(), host().tensors.living(),
                           host().tasks.open_stores()),
               "0 strings lent, 0 tensors, 0 DataStores");
    }

  private:
    void expect(std::string_view what, const std::string& seen, std::string_view wanted) {
        ++answers_;
        if (seen == wanted) return;
        ++wrong_;
        print(fmt::format("WRONG: {} returned {} instead of {}\n", what, seen, wanted));
    }

    Outcome call(std::string_view name, const std::vector<std::string>& words) {
        const Export& entry = *find_export(name);
        Outcome outcome = caller_.call(entry, words, {});
        if (outcome.status == Status::submitted) outcome = caller_.wait_for_task(outcome.task->id, {});
        return outcome;
    }

    std::string answer(std::string_view name, const std::vector<std::string>& words) {
        const Outcome outcome = call(name, words);
        return outcome.good() ? answer_text(outcome) : "a failure";
    }

    std::string failure(std::string_view name, const std::vector<std::string>& words) {
        const Outcome outcome = call(name, words);
        if (outcome.status == Status::exception) return outcome.exception_type;
        return outcome.task && outcome.task->failed ? "\"Error\"" : fmt::format("code {}", outcome.code);
    }

    mint number(std::string_view name, const std::vector<mint>& arguments) {
        std::vector<std::string> words;
        words.reserve(arguments.size());
        for (const mint argument : arguments) words.push_back(std::to_string(argument));
        const Outcome outcome = call(name, words);
        const mint* value = std::get_if<mint>(&outcome.result);
        return value == nullptr ? -1 : *value;
    }

    void failing_calls() {
        expect("PrimeSieve_ListNPrimes", failure("PrimeSieve_ListNPrimes", {"-1"}), "std::length_error");
        expect("PrimeSieve_NthPrime", failure("PrimeSieve_NthPrime", {"-1"}), "primesieve::primesieve_error");
        expect("PrimeCount_Prime", failure("PrimeCount_Prime", {"0"}), "code 6");
        expect("PrimeCount_ExprPrimePi", failure("PrimeCount_ExprPrimePi", {"no number"}), "code 6");
        expect("PrimeCount_SubmitExprPrimePi", failure("PrimeCount_SubmitExprPrimePi", {"new", "no number"}),
               "\"Error\"");
    }

    /** Counting and sieving are independent, so they check each other. */
    void random_ranges() {
        const mint a = between(2, 1'000'000'000);
        const mint b = a + between(0, 1'000'000);
        const mint counted = number("PrimeSieve_CountPrimes", {a, b});
        check("counts", number("PrimeCount_PrimePi", {b}) - number("PrimeCount_PrimePi", {a - 1}), counted);
        check("tasks", number("PrimeCount_LMO", {b}) - number("PrimeCount_Lehmer", {a - 1}), counted);
        const Outcome list = call("PrimeSieve_ListPrimes", {std::to_string(a), std::to_string(b)});
        mint sum = 0;
        const auto* primes = std::get_if<TensorResult>(&list.result);
        for (const mint prime : primes != nullptr ? (*primes)->data() : std::span<const mint>()) sum += prime;
        check("lists", primes == nullptr ? -1 : (*primes)->length, counted);
        check("sums", number("PrimeSieve_PrimeSumInterval", {a, b}), sum);
    }

    void random_primes() {
        const mint n = between(1, mint{1} << 44);
        const mint next = number("PrimeSieve_NextPrime", {n});
        check("neighbours", number("PrimeSieve_PreviousPrime", {next + 1}), next);
        check("neighbours", primes_(cpp_int(next)) ? 1 : 0, 1);
        const mint k = between(1, 1000);
        check("walks", number("PrimeSieve_PreviousKthPrime", {number("PrimeSieve_NextKthPrime", {next, k}), k}), next);
        const mint index = between(1, 1'000'000);
        const mint prime = number("PrimeSieve_NthPrime", {index});
        check("n-th primes", number("PrimeCount_Prime", {index}), prime);
        check("n-th primes", number("PrimeCount_SubmitPrimePi", {number("PrimeCount_CreateTask", {}), prime}), index);
        const cpp_int mersenne = (cpp_int(1) << 521) - 1;
        check("wide primes", primes_(mersenne) ? 1 : 0, 1);
        check("wide products", primes_(mersenne * next) ? 1 : 0, 0);
    }

    /** A count that is stopped at a random moment reports a failure, or the right number if it ended before. */
    void stopped_task() {
        const Outcome begun = caller_.call(*find_export("PrimeCount_SubmitPrimePi"), {"new", "10^14"}, {});
        std::this_thread::sleep_for(std::chrono::microseconds(between(0, 100'000)));
        caller_.stop_task();
        const Outcome ended = caller_.wait_for_task(begun.task->id, {});
        expect("a stopped task", ended.task->failed ? "3204941750802" : answer_text(ended), "3204941750802");
    }

    void check(std::string_view what, mint seen, mint wanted) {
        expect(what, std::to_string(seen), std::to_string(wanted));
    }
    mint between(mint low, mint high) {
        return std::uniform_int_distribution<mint>(low, high)(random_);
    }

    Caller caller_;
    PrimalityTest primes_;
    std::mt19937_64 random_{1};
    std::size_t rounds_ = 0;
    std::size_t answers_ = 0;
    std::size_t wrong_ = 0;
};

std::string rounds_text(std::size_t rounds) {
    return fmt::format("{} round{}", rounds, rounds == 1 ? "" : "s");
}

std::string text(const Holdings& held) {
    return fmt::format("{:.1f} MiB, {} descriptors, {} threads", held.memory_mib, held.descriptors, held.threads);
}

}  // namespace

int endure(const Library& library, const EnduranceLook& look) {
    // Freed memory returns to the system, and all threads share one heap, so that the resident memory is the memory in
    // use.
    mallopt(M_ARENA_MAX, 1);
    mallopt(M_MMAP_THRESHOLD, 64 << 10);
    mallopt(M_TRIM_THRESHOLD, 64 << 10);
    Endurance endurance(library);
    const InterruptScope scope(2, Stoppable::yes);
    const Stopwatch watch;
    const double seconds = 60 * look.minutes;
    std::size_t rounds = 0;
    double next_line = 60;
    // After a tenth of the time and two rounds, everything exists that is built only once and kept.
    Holdings first;
    Holdings most;
    bool warm = false;
    do {
        const Stopwatch busy;
        endurance.round();
        ++rounds;
        std::this_thread::sleep_for(std::chrono::duration<double>(busy.seconds() * (1 / look.load - 1)));
        // The threads of the last tasks end shortly after their removal; on a busy machine that takes longer.
        for (int wait = 0; wait < 3000 && warm && holdings().threads > first.threads; ++wait)
            std::this_thread::sleep_for(10ms);
        const Holdings now = holdings();
        if (!warm && rounds % 2 == 0 && watch.seconds() >= seconds / 10) {
            std::this_thread::sleep_for(200ms);
            first = holdings();
            warm = true;
        } else if (warm && rounds % 2 == 0) {
            most.memory_mib = std::max(most.memory_mib, now.memory_mib);
            most.descriptors = std::max(most.descriptors, now.descriptors);
            most.threads = std::max(most.threads, now.threads);
        }
        if (watch.seconds() >= next_line) {
            print(fmt::format("{:.0f} min: {} with {} answers, {} wrong; {}\n", watch.seconds() / 60,
                              rounds_text(rounds), endurance.answers(), endurance.wrong(), text(now)));
            next_line += 60;
        }
    } while (interrupts_seen() == 0 && (watch.seconds() < seconds || (look.minutes > 0 && rounds % 2 == 1)));

    print(fmt::format("{:.1f} minutes, {} with {} answers, {} wrong, {} breaches of the protocol\n",
                      watch.seconds() / 60, rounds_text(rounds), endurance.answers(), endurance.wrong(),
                      host().breaches.total()));
    if (host().breaches.total() > 0) return exit_breach;
    if (endurance.wrong() > 0) return exit_call_failed;
    if (!warm || most.memory_mib == 0) return exit_ok;  // too short to tell
    const bool settled = look.minutes >= settling_minutes;
    print(fmt::format("held at first {}; at most later {}{}\n", text(first), text(most),
                      settled ? "" : "; too short a run to judge the memory"));
    const bool flat = (!settled || most.memory_mib <= first.memory_mib + allowed_growth_mib) &&
                      most.descriptors <= first.descriptors && most.threads <= first.threads;
    if (!flat) print("It uses more than at first.\n");
    return flat ? exit_ok : exit_call_failed;
}

}  // namespace kesh_host
