/**
 * @file   responsiveness.cpp
 * @brief  Prints how often one count reports progress, and how long counts take to end after a stop at random moments.
 *
 *   counting_responsiveness progress THREADS X [list]       events a second, first and last percentage, longest gap
 *   counting_responsiveness stop     THREADS X COUNT SECONDS   COUNT stops of pi(X), each within SECONDS of its start
 *   counting_responsiveness stop-nth THREADS N COUNT SECONDS   the same for the N-th prime
 * Each delay is printed with the processor time that all threads of the process spent during it. On an idle machine the
 * delay would have been at most that. X and N may be written as 1e17. `list` adds a line for every event: its share of
 * the time and its percentage.
 */
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "support/test_host.h"

namespace {

using kesh::test::call_integer;
using kesh::test::Event;
using kesh::test::TestHost;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

/** What one task reported, and when. */
struct Run {
    std::vector<Event> events;
    std::vector<Clock::time_point> times;
    Clock::time_point start;
};

void submit(const char* name, mint n, Run& run) {
    TestHost& host = TestHost::instance();
    host.reset();
    host.before("raiseAsyncEvent", [&run] { run.times.push_back(Clock::now()); });
    const mint task = call_integer("PrimeCount_CreateTask", {}).result;
    run.start = Clock::now();
    call_integer(name, {task, n});
}

void wait_for_end(Run& run) {
    TestHost& host = TestHost::instance();
    host.wait_until([](const std::vector<Event>& all) { return !all.empty() && all.back().removal(); },
                    std::chrono::hours(4));
    run.events = host.events();
    run.events.pop_back();
}

void report_progress(mint x, bool list) {
    Run run;
    submit("PrimeCount_SubmitPrimePi", x, run);
    wait_for_end(run);
    const double total = Seconds(run.times.back() - run.start).count();
    const size_t progress = run.events.size() - 1;
    double gap = 0;
    double last = 0;
    int falls = 0;
    for (size_t i = 0; i < progress; ++i) {
        const double percent = std::get<mreal>(*run.events[i].value);
        gap = std::max(gap, Seconds(run.times[i] - (i == 0 ? run.start : run.times[i - 1])).count());
        falls += percent < last ? 1 : 0;
        last = percent;
        if (list) std::printf("%.4f %.3f\n", Seconds(run.times[i] - run.start).count() / total, percent);
    }
    const double first = progress == 0 ? 0 : std::get<mreal>(*run.events[0].value);
    std::printf(
        "pi(%.0e): %.2f s, %zu events, %.1f a second, first %.2f %%, last %.2f %%, falls %d, longest gap %.3f s\n",
        static_cast<double>(x), total, progress, static_cast<double>(progress) / total, first, last, falls, gap);
}

void report_stops(const char* name, mint n, int count, double within) {
    std::mt19937 random(20240607);
    std::uniform_real_distribution<double> moment(0, within);
    double sum = 0;
    double worst = 0;
    double worst_processor = 0;
    for (int i = 0; i < count; ++i) {
        Run run;
        submit(name, n, run);
        const double wait = moment(random);
        std::this_thread::sleep_for(Seconds(wait));
        const std::clock_t processor_asked = std::clock();
        const auto asked = Clock::now();
        call_integer("PrimeCount_StopTask", {});
        wait_for_end(run);
        const double latency = Seconds(run.times.back() - asked).count();
        const double processor = static_cast<double>(std::clock() - processor_asked) / CLOCKS_PER_SEC;
        double percent = 0;
        for (const Event& event : run.events) {
            if (event.name == "Status") percent = std::get<mreal>(*event.value);
        }
        std::printf("  asked after %7.2f s, at %5.1f %%: \"%s\" after %.3f s (processor %.3f s)\n", wait, percent,
                    run.events.back().name.c_str(), latency, processor);
        std::fflush(stdout);
        sum += latency;
        worst = std::max(worst, latency);
        worst_processor = std::max(worst_processor, processor);
    }
    std::printf("%s(%.0e): %d stops, mean %.3f s, worst %.3f s (processor %.3f s)\n", name, static_cast<double>(n),
                count, sum / count, worst, worst_processor);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 3 ? argv[1] : "";
    const bool stops = mode == "stop" || mode == "stop-nth";
    if (mode != "progress" && !(stops && argc == 6)) {
        std::fprintf(stderr, "usage: %s progress THREADS X [list] | stop|stop-nth THREADS N COUNT SECONDS\n", argv[0]);
        return 2;
    }
    call_integer("PrimeCount_SetThreads", {std::atoll(argv[2])});
    const mint n = std::llround(std::atof(argv[3]));
    if (!stops) {
        report_progress(n, argc > 4);
    } else {
        report_stops(mode == "stop" ? "PrimeCount_SubmitPrimePi" : "PrimeCount_SubmitPrime", n, std::atoi(argv[4]),
                     std::atof(argv[5]));
    }
}
