/**
 * @file   kernels_benchmark.cpp
 * @brief  Nanoseconds and cycles of each kernel at each level and width, beside GMP.
 *
 * `cycles` counts one call for the products and one bit of the exponent for pow2, the ladder and mpz_powm.
 * `limb_products` is the number of 64 x 64 products in the portable form of a call, for comparison with the cycles.
 */

#include <benchmark/benchmark.h>
#include <gmp.h>

#include <array>
#include <string>
#include <utility>

#include "Shared/kernel/kernel.h"
#include "common/cycle.h"

namespace {

using namespace kesh;

const double cycle = bench::nanoseconds_per_cycle();

/** Full-width operands that are the same in every run: a modulus with both end bits set, and residues. */
template <int n>
struct Operands {
    std::array<umint, n> m{}, a{}, b{}, e{};

    Operands() {
        umint state = 88172645463325252U;
        for (auto* value : {&m, &a, &b, &e})
            for (umint& limb : *value) {
                state ^= state << 13;
                state ^= state >> 7;
                state ^= state << 17;
                limb = state;
            }
        m[n - 1] |= umint{1} << 63;
        m[0] |= 1;
        e[n - 1] |= umint{1} << 63;
        a[n - 1] >>= 1;
        b[n - 1] >>= 1;
    }
};

/** Limb products of a product and of a square with row-wise reduction. */
constexpr int product_size(int n) {
    return 2 * n * n + n;
}
constexpr int square_size(int n) {
    return n * (n + 1) / 2 + n * n + n;
}

/** Runs `call` and reports cycles for each of the `units` steps of a call. */
template <class Call>
void measure(benchmark::State& state, int units, int limb_products, Call call) {
    for (auto _ : state) call();
    state.counters["ns"] = benchmark::Counter(units * static_cast<double>(state.iterations()) * 1e-9,
                                              benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["cycles"] = benchmark::Counter(units * static_cast<double>(state.iterations()) * cycle * 1e-9,
                                                  benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["limb_products"] = limb_products;
}

template <int n>
void mont_mul(benchmark::State& state, Level level) {
    force(level);
    Operands<n> o;
    const kernel::Modulus<n> modulus(o.m.data());
    measure(state, 1, product_size(n), [&] { kernel::mont_mul<n>(o.a.data(), o.a.data(), o.b.data(), modulus); });
}

template <int n>
void mont_sqr(benchmark::State& state, Level level) {
    force(level);
    Operands<n> o;
    const kernel::Modulus<n> modulus(o.m.data());
    measure(state, 1, square_size(n), [&] { kernel::mont_sqr<n>(o.a.data(), o.a.data(), modulus); });
}

template <int n>
void pow2(benchmark::State& state, Level level) {
    force(level);
    Operands<n> o;
    const kernel::Modulus<n> modulus(o.m.data());
    measure(state, 64 * n, square_size(n), [&] { kernel::pow2<n>(o.a.data(), o.e.data(), modulus); });
}

template <int n>
void lucas_ladder(benchmark::State& state, Level level) {
    force(level);
    Operands<n> o;
    std::array<umint, n> l{}, h{};
    const kernel::Modulus<n> modulus(o.m.data());
    measure(state, 64 * n, square_size(n) + product_size(n),
            [&] { kernel::lucas_ladder<n>(l.data(), h.data(), o.a.data(), o.e.data(), modulus); });
}

/**
 * GMP's public functions for a product and a reduction by rows. (Its own reduction, which mpz_powm uses, is not
 * public.)
 */
template <int n>
void gmp_mul_and_rows(benchmark::State& state) {
    Operands<n> o;
    const umint k = kernel::Modulus<n>(o.m.data()).k;
    std::array<umint, 2 * std::size_t{n}> t{};
    std::array<umint, n> high{};
    measure(state, 1, product_size(n), [&] {
        mpn_mul_n(t.data(), o.a.data(), o.b.data(), n);
        for (std::size_t i = 0; i < n; ++i) high[i] = mpn_addmul_1(t.data() + i, o.m.data(), n, t[i] * k);
        if (mpn_add_n(o.a.data(), t.data() + n, high.data(), n) != 0 || mpn_cmp(o.a.data(), o.m.data(), n) >= 0)
            mpn_sub_n(o.a.data(), o.a.data(), o.m.data(), n);
    });
}

template <int n>
void gmp_powm(benchmark::State& state) {
    Operands<n> o;
    mpz_t base, exponent, modulus, result;
    mpz_init_set_ui(base, 2);
    mpz_inits(exponent, modulus, result, nullptr);
    mpz_import(exponent, n, -1, sizeof(umint), 0, 0, o.e.data());
    mpz_import(modulus, n, -1, sizeof(umint), 0, 0, o.m.data());
    measure(state, 64 * n, square_size(n), [&] { mpz_powm(result, base, exponent, modulus); });
    mpz_clears(base, exponent, modulus, result, nullptr);
}

template <int n>
void trial_division(benchmark::State& state) {
    // A value that no prime of the table divides is tested against the whole table.
    Operands<n> o;
    while (kernel::has_small_factor(o.m)) o.m[0] += 2;
    measure(state, 1, 0, [&] { benchmark::DoNotOptimize(kernel::has_small_factor(o.m)); });
}

template <int n>
void modulus_setup(benchmark::State& state) {
    Operands<n> o;
    measure(state, 1, 0, [&] {
        kernel::Modulus<n> modulus(o.m.data());
        benchmark::DoNotOptimize(modulus);
    });
}

template <int n>
void register_width() {
    const std::string bits = "/" + std::to_string(64 * n);
    for (Level level : {Level::portable, Level::adx, Level::ifma}) {
        if (level > supported_level()) break;
        const std::string suffix = bits + "/" + name(level);
        benchmark::RegisterBenchmark(("mont_mul" + suffix).c_str(), mont_mul<n>, level);
        benchmark::RegisterBenchmark(("mont_sqr" + suffix).c_str(), mont_sqr<n>, level);
        benchmark::RegisterBenchmark(("pow2" + suffix).c_str(), pow2<n>, level);
        benchmark::RegisterBenchmark(("lucas_ladder" + suffix).c_str(), lucas_ladder<n>, level);
    }
    benchmark::RegisterBenchmark(("mont_mul" + bits + "/gmp").c_str(), gmp_mul_and_rows<n>);
    benchmark::RegisterBenchmark(("pow2" + bits + "/gmp").c_str(), gmp_powm<n>);
    benchmark::RegisterBenchmark(("has_small_factor" + bits).c_str(), trial_division<n>);
    benchmark::RegisterBenchmark(("modulus" + bits).c_str(), modulus_setup<n>);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::AddCustomContext("nanoseconds_per_cycle", std::to_string(cycle));
    benchmark::AddCustomContext("level", name(supported_level()));
    []<int... less_2>(std::integer_sequence<int, less_2...>) {
        (register_width<less_2 + 2>(), ...);
    }(std::make_integer_sequence<int, 15>());
    benchmark::RunSpecifiedBenchmarks();
}
