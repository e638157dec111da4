/**
 * @file   counting_benchmark.cpp
 * @brief  pi(x) through the library, compared with the plain call of libprimecount in a separate process.
 *
 * The two are measured in turn, so that a change of the machine's speed affects both. PiWithProgress: a task with
 * progress events. The counters of each row give the medians of both and their ratio, which should stay below 1.01, and
 * the ratio of the processor times, which a busy machine disturbs less. OneThread: the call on one thread, 10^9 to
 * 10^14. The counters give the least processor times of both and their ratio, which should stay below 1.02.
 */
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

#include "support/test_host.h"

namespace {

using kesh::test::call_integer;
using kesh::test::Event;
using kesh::test::TestHost;

/** The time that one count took, and its result. */
struct Measured {
    double seconds = 0;
    double processor = 0;
    mint result = 0;
};

/** The peer process, connected by a pair of pipes. */
class Peer {
  public:
    Peer() {
        std::array<int, 2> to{};
        std::array<int, 2> from{};
        if (pipe(to.data()) != 0 || pipe(from.data()) != 0) std::abort();
        if (fork() == 0) {
            dup2(to[0], STDIN_FILENO);
            dup2(from[1], STDOUT_FILENO);
            for (const int end : {to[0], to[1], from[0], from[1]}) close(end);
            execl(KESH_COUNTING_PEER, KESH_COUNTING_PEER, nullptr);
            _exit(127);
        }
        close(to[0]);
        close(from[1]);
        to_ = fdopen(to[1], "w");
        from_ = fdopen(from[0], "r");
    }
    ~Peer() {
        fclose(to_);
        fclose(from_);
        wait(nullptr);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    Measured count(mint threads, mint x) {
        std::fprintf(to_, "%" PRId64 " %" PRId64 "\n", threads, x);
        std::fflush(to_);
        Measured peer;
        if (std::fscanf(from_, "%lf %lf %" SCNd64, &peer.seconds, &peer.processor, &peer.result) != 3) std::abort();
        return peer;
    }

  private:
    FILE* to_;
    FILE* from_;
};

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/** One count as a task, from its submission to its removal. */
Measured count_as_task(mint x, double& events) {
    TestHost& host = TestHost::instance();
    host.reset();
    const mint task = call_integer("PrimeCount_CreateTask", {}).result;
    const std::clock_t processor_start = std::clock();
    const auto start = std::chrono::steady_clock::now();
    call_integer("PrimeCount_SubmitPrimePi", {task, x});
    host.wait_until([](const std::vector<Event>& all) { return !all.empty() && all.back().removal(); },
                    std::chrono::hours(2));
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    const double processor = static_cast<double>(std::clock() - processor_start) / CLOCKS_PER_SEC;
    const std::vector<Event> all = host.events();
    events = static_cast<double>(all.size() - 2);
    return {seconds.count(), processor, std::get<mint>(all[all.size() - 2].value.value())};
}

void PiWithProgress(benchmark::State& state) {
    const mint x = state.range(0) * 1'000'000'000'000'000;
    const mint threads = state.range(1);
    call_integer("PrimeCount_SetThreads", {threads});
    Peer peer;
    std::vector<double> ours;
    std::vector<double> theirs;
    std::vector<double> our_processor;
    std::vector<double> their_processor;
    double events = 0;
    for ([[maybe_unused]] auto _ : state) {
        const Measured expected = peer.count(threads, x);
        const Measured measured = count_as_task(x, events);
        if (measured.result != expected.result) state.SkipWithError("the two disagree");
        state.SetIterationTime(measured.seconds);
        ours.push_back(measured.seconds);
        theirs.push_back(expected.seconds);
        our_processor.push_back(measured.processor);
        their_processor.push_back(expected.processor);
    }
    state.counters["library_s"] = median(ours);
    state.counters["primecount_s"] = median(theirs);
    state.counters["ratio"] = median(ours) / median(theirs);
    state.counters["processor_ratio"] = median(our_processor) / median(their_processor);
    state.counters["events_per_s"] = events / ours.back();
}

BENCHMARK(PiWithProgress)
    ->ArgNames({"x/10^15", "threads"})
    ->Args({1, 2})
    ->Args({10, 2})
    ->Args({10, 1})
    ->UseManualTime()
    ->Iterations(9)
    ->Unit(benchmark::kMillisecond);

void OneThread(benchmark::State& state) {
    mint x = 1;
    for (int64_t k = 0; k < state.range(0); ++k) x *= 10;
    call_integer("PrimeCount_SetThreads", {1});
    call_integer("PrimeCount_PrimePi", {300'000'000});  // the first count finds out whether its hooks work
    Peer peer;
    peer.count(1, 300'000'000);
    double ours = 1e9;
    double theirs = 1e9;
    for ([[maybe_unused]] auto _ : state) {
        const Measured expected = peer.count(1, x);
        const std::clock_t start = std::clock();
        const mint result = call_integer("PrimeCount_PrimePi", {x}).result;
        const double processor = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        if (result != expected.result) state.SkipWithError("the two disagree");
        state.SetIterationTime(processor);
        ours = std::min(ours, processor);
        theirs = std::min(theirs, expected.processor);
    }
    state.counters["library_s"] = ours;
    state.counters["primecount_s"] = theirs;
    state.counters["ratio"] = ours / theirs;
}

BENCHMARK(OneThread)->ArgName("k")->DenseRange(9, 11)->UseManualTime()->Iterations(200)->Unit(benchmark::kMillisecond);
BENCHMARK(OneThread)->ArgName("k")->DenseRange(12, 14)->UseManualTime()->Iterations(12)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
