/**
 * @file   sieve_benchmark.cpp
 * @brief  The cost of the sieve exports above primesieve itself: each export, called as the host calls it, compared
 *         with a direct call that does the same work; and the neighbours, compared with direct calls with and without a
 *         stop hint.
 *
 * Run with  --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
 * and compare the least times of each pair.
 */
#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <primesieve.hpp>
#include <vector>

#include "HostKit/host.h"
#include "HostKit/host_tables.h"
#include "primesieve_adapter.h"
#include "support/library.h"

namespace {

mint call(const char* name, std::vector<mint> arguments) {
    MArgument slots[2];
    for (size_t i = 0; i < arguments.size(); ++i) slots[i].integer = &arguments[i];
    mint value = 0;
    MArgument result;
    result.integer = &value;
    kesh::test::Library::instance().get(name)(nullptr, static_cast<mint>(arguments.size()), slots, result);
    return value;
}

void CountPrimes_export(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(call("PrimeSieve_CountPrimes", {0, state.range(0)}));
}

void CountPrimes_direct(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(primesieve::count_primes(0, static_cast<uint64_t>(state.range(0))));
    }
}

void ListPrimes_export(benchmark::State& state) {
    const auto list_primes = kesh::test::Library::instance().get("PrimeSieve_ListPrimes");
    for (auto _ : state) {
        mint a = 0;
        mint b = state.range(0);
        MArgument slots[2];
        slots[0].integer = &a;
        slots[1].integer = &b;
        MTensor tensor = nullptr;
        MArgument result;
        result.tensor = &tensor;
        list_primes(kesh_host::library_data(), 2, slots, result);
        benchmark::DoNotOptimize(tensor->values.get());
        kesh_host::host().tensors.release(tensor);
    }
}

/** The same by hand: a 32-bit collection, then the host's array of integers. */
void ListPrimes_direct(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<int> primes;
        primesieve::generate_primes(0, static_cast<uint64_t>(state.range(0)), &primes);
        const auto tensor = std::make_unique_for_overwrite<mint[]>(primes.size());
        std::copy(primes.begin(), primes.end(), tensor.get());
        benchmark::DoNotOptimize(tensor.get());
    }
}

void PrimeSum_export(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(call("PrimeSieve_PrimeSum", {state.range(0)}));
}

void PrimeSum_direct(benchmark::State& state) {
    for (auto _ : state) {
        primesieve::iterator it(0, primesieve::get_max_stop());
        const uint64_t n = static_cast<uint64_t>(state.range(0));
        uint64_t sum = 0;
        for (uint64_t prime = it.next_prime(); prime < n; prime = it.next_prime()) sum += prime;
        benchmark::DoNotOptimize(sum);
    }
}

/** The neighbours of 10^k; for k = 20 those of 2^64 - 1. */
uint64_t point(const benchmark::State& state) {
    uint64_t x = 1;
    for (int64_t i = 0; i < state.range(0); ++i) x *= 10;
    return state.range(0) == 20 ? primesieve::get_max_stop() : x;
}

void NextPrime_export(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(call("PrimeSieve_NextPrime", {static_cast<mint>(point(state))}));
}

void NextPrime_hinted(benchmark::State& state) {
    for (auto _ : state) {
        primesieve::iterator it;
        kesh::sieve::skipto_for_next(it, point(state), point(state) + 1550);
        benchmark::DoNotOptimize(it.next_prime());
    }
}

void NextPrime_unhinted(benchmark::State& state) {
    for (auto _ : state) {
        primesieve::iterator it;
        kesh::sieve::skipto_for_next(it, point(state), primesieve::get_max_stop());
        benchmark::DoNotOptimize(it.next_prime());
    }
}

void PreviousPrime_export(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(call("PrimeSieve_PreviousPrime", {static_cast<mint>(point(state))}));
}

void PreviousPrime_hinted(benchmark::State& state) {
    for (auto _ : state) {
        primesieve::iterator it;
        kesh::sieve::skipto_for_prev(it, point(state), point(state) - std::min<uint64_t>(1550, point(state)));
        benchmark::DoNotOptimize(it.prev_prime());
    }
}

void PreviousPrime_unhinted(benchmark::State& state) {
    for (auto _ : state) {
        primesieve::iterator it;
        kesh::sieve::skipto_for_prev(it, point(state), primesieve::get_max_stop());
        benchmark::DoNotOptimize(it.prev_prime());
    }
}

BENCHMARK(NextPrime_export)->Arg(3)->Arg(6)->Arg(7)->Arg(9)->Arg(12)->Arg(15)->Arg(18)->Unit(benchmark::kMicrosecond);
BENCHMARK(NextPrime_hinted)->Arg(3)->Arg(6)->Arg(7)->Arg(9)->Arg(12)->Arg(15)->Arg(18)->Unit(benchmark::kMicrosecond);
BENCHMARK(NextPrime_unhinted)->Arg(3)->Arg(6)->Arg(7)->Arg(9)->Arg(12)->Arg(15)->Arg(18)->Unit(benchmark::kMicrosecond);
BENCHMARK(PreviousPrime_export)
    ->Arg(3)
    ->Arg(6)
    ->Arg(7)
    ->Arg(9)
    ->Arg(12)
    ->Arg(15)
    ->Arg(18)
    ->Arg(20)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(PreviousPrime_hinted)
    ->Arg(3)
    ->Arg(6)
    ->Arg(7)
    ->Arg(9)
    ->Arg(12)
    ->Arg(15)
    ->Arg(18)
    ->Arg(20)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(PreviousPrime_unhinted)
    ->Arg(3)
    ->Arg(6)
    ->Arg(7)
    ->Arg(9)
    ->Arg(12)
    ->Arg(15)
    ->Arg(18)
    ->Arg(20)
    ->Unit(benchmark::kMicrosecond);

BENCHMARK(CountPrimes_export)->Arg(10'000'000'000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(CountPrimes_direct)->Arg(10'000'000'000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ListPrimes_export)->Arg(100'000'000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ListPrimes_direct)->Arg(100'000'000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(PrimeSum_export)->Arg(1'000'000'000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(PrimeSum_direct)->Arg(1'000'000'000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
