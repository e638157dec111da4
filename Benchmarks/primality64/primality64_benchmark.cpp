/**
 * @file   primality64_benchmark.cpp
 * @brief  Time of a verdict on 64-bit numbers, compared with GMP's and FLINT's tests of the same numbers.
 *
 * The tests take turns (random interleaving), and each row reports the median of its repetitions, so that a change of
 * the processor's clock affects all of them. "reference" is the form with one strong test after another.
 */
#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

// FLINT's macros redefine common names, so the library's headers are included first.
#include "Prime/prime_testing.h"

#include <flint/ulong_extras.h>
#include <gmp.h>

namespace {

using numbers = std::vector<kesh::u64>;
constexpr std::size_t sample = 4096;

kesh::u64 random_odd(std::mt19937_64& random, unsigned bits) {
    return (random() >> (64 - bits)) | (kesh::u64{1} << (bits - 1)) | 1;
}

kesh::u64 random_prime(std::mt19937_64& random, unsigned bits) {
    kesh::u64 n = random_odd(random, bits);
    while (!kesh::PrimeQ(n)) n = random_odd(random, bits);
    return n;
}

numbers primes(unsigned bits) {
    std::mt19937_64 random(bits);
    numbers all(sample);
    for (auto& n : all) n = random_prime(random, bits);
    return all;
}

/** Products of two primes of half the size that have exactly the given size. */
numbers semiprimes(unsigned bits) {
    std::mt19937_64 random(bits);
    numbers all;
    while (all.size() < sample) {
        const kesh::u64 p = random_prime(random, bits / 2), q = random_prime(random, bits - bits / 2);
        const kesh::u64 n = p * q;
        if (n >> (bits - 1) == 1) all.push_back(n);
    }
    return all;
}

numbers random_odds(unsigned bits) {
    std::mt19937_64 random(bits);
    numbers all(sample);
    for (auto& n : all) n = random_odd(random, bits);
    return all;
}

bool by_gmp(kesh::u64 n) {
    mp_limb_t limb = n;
    const mpz_t number = MPZ_ROINIT_N(&limb, 1);
    return mpz_probab_prime_p(number, 24) != 0;
}

template <class Test>
void add(const std::string& name, const numbers& all, Test test) {
    benchmark::RegisterBenchmark(name.c_str(), [all, test](benchmark::State& state) {
        std::size_t i = 0;
        for (auto _ : state) {
            benchmark::DoNotOptimize(test(all[i]));
            i = (i + 1) % sample;
        }
    });
}

}  // namespace

int main(int argc, char** argv) {
    const struct {
        const char* name;
        numbers (*make)(unsigned bits);
    } kinds[] = {{"prime", primes}, {"semiprime", semiprimes}, {"random odd", random_odds}};
    for (unsigned bits : {33u, 48u, 64u}) {
        for (const auto& kind : kinds) {
            const std::string row = std::to_string(bits) + " bits/" + kind.name + "/";
            const numbers all = kind.make(bits);
            add(row + "kesh", all, [](kesh::u64 n) { return kesh::PrimeQ(n); });
            add(row + "reference", all, [](kesh::u64 n) { return kesh::reference::PrimeQ(n); });
            add(row + "GMP", all, by_gmp);
            add(row + "FLINT", all, [](kesh::u64 n) { return n_is_prime(n) != 0; });
        }
    }
    std::vector<char*> arguments(argv, argv + argc);
    std::string interleave = "--benchmark_enable_random_interleaving=true", repetitions = "--benchmark_repetitions=9",
                aggregates = "--benchmark_report_aggregates_only=true", time = "--benchmark_min_time=0.02";
    // These come first, so that the same options on the command line override them.
    arguments.insert(arguments.begin() + 1, {interleave.data(), repetitions.data(), aggregates.data(), time.data()});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
