/**
 * @file   primality_benchmark.cpp
 * @brief  KESH_PrimeQ at each level of kernels, compared with GMP and FLINT, on primes, semiprimes and random odd
 *         numbers of 33 to 1024 bits: at the widths, one bit above them and between them.
 *
 * All take turns in one process (repetitions are interleaved at random), so that other work of the machine affects all
 * of them. `ns` is the processor time of the thread for one number. GMP's test with 24 rounds is a Baillie-PSW test;
 * FLINT's are n_is_prime up to 64 bits and fmpz_is_probabprime_BPSW above. Benchmarks/report makes tables of it.
 */

#include <gmp.h>  // first: FLINT's header declares functions on GMP integers only after GMP's header

#include <benchmark/benchmark.h>
#include <flint/fmpz.h>
#include <flint/ulong_extras.h>

#include <memory>
#include <string>

#include "Shared/kernel/kernel.h"
#include "kesh_prime.h"
#include "numbers.h"

namespace {

using namespace kesh::bench;
using kesh::Level;

/** The numbers of one row in the forms of the three libraries. */
class Row {
  public:
    Row(unsigned length, Kind kind, std::size_t count)
        : bits(length), integers(numbers(length, kind, count)), limbs(limbs_of(integers, length)), flint(count) {
        for (std::size_t i = 0; i < count; ++i) {
            fmpz_init(&flint[i]);
            fmpz_set_mpz(&flint[i], integers[i].get_mpz_t());
        }
    }
    Row(const Row&) = delete;
    Row& operator=(const Row&) = delete;
    ~Row() {
        for (fmpz& n : flint) fmpz_clear(&n);
    }

    const unsigned bits;
    const std::vector<mpz_class> integers;
    const std::vector<std::uint64_t> limbs;
    std::vector<fmpz> flint;
};

/** Runs `test`, which returns how many of the row's numbers are prime, and checks the count against GMP's. */
template <class Test>
void measure(benchmark::State& state, const Row& row, Test test) {
    int expected = 0, found = 0;
    for (const mpz_class& n : row.integers) expected += mpz_probab_prime_p(n.get_mpz_t(), 24) != 0 ? 1 : 0;
    for (auto _ : state) benchmark::DoNotOptimize(found = test());
    if (found != expected) state.SkipWithError("wrong count of primes");
    const double numbers_tested = static_cast<double>(row.integers.size()) * static_cast<double>(state.iterations());
    state.counters["ns"] =
        benchmark::Counter(numbers_tested * 1e-9, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void kesh_test(benchmark::State& state, const Row& row, Level level) {
    kesh::force(level);
    measure(state, row, [&row] {
        const std::size_t length = limb_count(row.bits);
        int primes = 0;
        for (std::size_t i = 0; i < row.limbs.size(); i += length) {
            int prime = 0;
            KESH_PrimeQ(&row.limbs[i], static_cast<std::int64_t>(length), &prime);
            primes += prime;
        }
        return primes;
    });
}

void gmp_test(benchmark::State& state, const Row& row) {
    measure(state, row, [&row] {
        int primes = 0;
        for (const mpz_class& n : row.integers) primes += mpz_probab_prime_p(n.get_mpz_t(), 24) != 0 ? 1 : 0;
        return primes;
    });
}

void flint_test(benchmark::State& state, const Row& row) {
    measure(state, row, [&row] {
        int primes = 0;
        if (row.bits <= 64)
            for (std::uint64_t n : row.limbs) primes += n_is_prime(n);
        else
            for (const fmpz& n : row.flint) primes += fmpz_is_probabprime_BPSW(&n);
        return primes;
    });
}

/** Many random numbers, because few of them pass trial division and those few take nearly all the time. */
std::size_t count_for(unsigned bits, Kind kind) {
    if (kind == Kind::random_odd) return bits >= 512 ? 2000 : 10000;
    return bits >= 512 ? 10 : bits >= 128 ? 100 : 1000;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<char*> arguments(argv, argv + argc);
    std::string interleaving = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, interleaving.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
    benchmark::AddCustomContext("gmp", gmp_version);
    benchmark::AddCustomContext("flint", FLINT_VERSION);
    benchmark::AddCustomContext("level", kesh::name(kesh::supported_level()));

    std::vector<std::unique_ptr<Row>> rows;
    for (unsigned bits : {33U,  48U,  64U,  65U,  96U,  128U, 129U, 160U, 192U, 224U, 256U,
                          257U, 320U, 384U, 448U, 512U, 513U, 576U, 640U, 768U, 896U, 1024U})
        for (Kind kind : {Kind::prime, Kind::semiprime, Kind::random_odd}) {
            rows.push_back(std::make_unique<Row>(bits, kind, count_for(bits, kind)));
            const Row& row = *rows.back();
            const std::string prefix = std::to_string(bits) + "/" + name(kind) + "/";
            for (Level level : {Level::portable, Level::adx, Level::ifma}) {
                // The 64-bit test has no levels.
                if (level > kesh::supported_level() || (bits <= 64 && level != Level::portable)) continue;
                const std::string who = bits <= 64 ? "kesh" : kesh::name(level);
                benchmark::RegisterBenchmark((prefix + who).c_str(),
                                             [&row, level](benchmark::State& s) { kesh_test(s, row, level); });
            }
            benchmark::RegisterBenchmark((prefix + "gmp").c_str(), [&row](benchmark::State& s) { gmp_test(s, row); });
            benchmark::RegisterBenchmark((prefix + "flint").c_str(),
                                         [&row](benchmark::State& s) { flint_test(s, row); });
        }
    benchmark::RunSpecifiedBenchmarks();
}
