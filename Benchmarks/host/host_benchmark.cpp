/**
 * @file   host_benchmark.cpp
 * @brief  The cost of the host path: exports of the opened library, called by name through the bench host's tables,
 * compared with the bare work, on arguments so small that the cost of the call is visible.
 */
#include <benchmark/benchmark.h>

#include <algorithm>
#include <primesieve.hpp>
#include <vector>

#include "HostKit/host.h"
#include "HostKit/host_tables.h"
#include "HostKit/library.h"
#include "Prime/prime_testing.h"

namespace {

using kesh_host::ExportFunction;

const kesh_host::Library& library() {
    static const kesh_host::Library opened(KESH_LIBRARY_PATH, kesh_host::library_data());
    return opened;
}

/** Calls an export of integers as a host does. */
mint call(ExportFunction function, std::vector<mint> arguments) {
    std::vector<MArgument> slots(arguments.size());
    for (std::size_t i = 0; i < slots.size(); ++i) slots[i].integer = &arguments[i];
    mint value = 0;
    MArgument result;
    result.integer = &value;
    function(kesh_host::library_data(), static_cast<mint>(slots.size()), slots.data(), result);
    return value;
}

std::vector<umint> some_primes() {
    std::vector<umint> primes(1000);
    primesieve::iterator it(umint{1} << 63, primesieve::get_max_stop());
    for (umint& p : primes) p = it.next_prime();
    return primes;
}

template <class Test>
void primes_of_64_bits(benchmark::State& state, Test test) {
    const std::vector<umint> primes = some_primes();
    std::size_t next = 0;
    for (auto _ : state) {
        mbool prime = 0;
        test(&primes[next], 1, &prime);
        if (prime == 0) state.SkipWithError("a prime was not found to be one");
        next = next + 1 < primes.size() ? next + 1 : 0;
    }
}

void PrimeQ_export(benchmark::State& state) {
    primes_of_64_bits(state, library().symbol<kesh_host::PrimeQFunction>("KESH_PrimeQ"));
}
void PrimeQ_direct(benchmark::State& state) {
    primes_of_64_bits(state, [](const umint* n, mint, mbool* prime) { *prime = kesh::PrimeQ(kesh::u64{*n}) ? 1 : 0; });
}

void CountPrimes_export(benchmark::State& state) {
    const auto function = library().symbol<ExportFunction>("PrimeSieve_CountPrimes");
    for (auto _ : state) benchmark::DoNotOptimize(call(function, {0, state.range(0)}));
}
void CountPrimes_direct(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(primesieve::count_primes(0, static_cast<uint64_t>(state.range(0))));
}

void NextPrime_export(benchmark::State& state) {
    const auto function = library().symbol<ExportFunction>("PrimeSieve_NextPrime");
    for (auto _ : state) benchmark::DoNotOptimize(call(function, {state.range(0)}));
}
void NextPrime_direct(benchmark::State& state) {
    for (auto _ : state) {
        primesieve::iterator it(static_cast<uint64_t>(state.range(0)), primesieve::get_max_stop());
        benchmark::DoNotOptimize(it.next_prime());
    }
}

void ListPrimes_export(benchmark::State& state) {
    const auto function = library().symbol<ExportFunction>("PrimeSieve_ListPrimes");
    for (auto _ : state) {
        mint from = 0, to = state.range(0);
        MArgument slots[2];
        slots[0].integer = &from;
        slots[1].integer = &to;
        MTensor tensor = nullptr;
        MArgument result;
        result.tensor = &tensor;
        function(kesh_host::library_data(), 2, slots, result);
        kesh_host::host().tensors.release(tensor);
    }
}
/** The same by hand: a 32-bit collection, then an array of the host's integers. */
void ListPrimes_direct(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<int> primes;
        primesieve::generate_primes(0, static_cast<uint64_t>(state.range(0)), &primes);
        const auto tensor = std::make_unique<mint[]>(primes.size());
        std::copy(primes.begin(), primes.end(), tensor.get());
        benchmark::DoNotOptimize(tensor.get());
    }
}

BENCHMARK(PrimeQ_export);
BENCHMARK(PrimeQ_direct);
BENCHMARK(CountPrimes_export)->Arg(100'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(CountPrimes_direct)->Arg(100'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(NextPrime_export)->Arg(1'000'000'000'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(NextPrime_direct)->Arg(1'000'000'000'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(ListPrimes_export)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(ListPrimes_direct)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
