/// @file   engine_benchmark.cpp
/// @brief  The integer engine beside GMP's functions for limb vectors, at 2, 4, 8 and 16 limbs.
///
/// Pairs have names that differ in the first word only: engine_product<4> and gmp_product<4>. What is aimed at: full
/// products at least 1.5 times as fast as mpn_mul_n at 2 and 4 limbs and not slower at 8 and 16, Montgomery products at
/// least 1.3 times as fast as mpn_mul_n and a row reduction by mpn_addmul_1 at every width. Division, inverse and root
/// are for information.
///
/// On a machine with other work, compare minima: --benchmark_repetitions=20 prints min_ns of every pair.

#include <benchmark/benchmark.h>
#include <gmp.h>

#include <algorithm>
#include <random>

#include "Shared/isqrt.h"
#include "Shared/mont.h"

namespace {

using namespace kesh;

/// Operands of n limbs; the modulus is odd and has its top bit set.
template <std::size_t n>
struct Operands {
    using word = uintx_t<static_cast<mint>(64 * n)>;
    word a, b, m;

    Operands() {
        std::mt19937_64 random(n);
        for (std::size_t i = 0; i < n; ++i) {
            a.limb[i] = random();
            b.limb[i] = random();
            m.limb[i] = random();
        }
        m.limb[0] |= 1;
        m.limb[n - 1] |= umint{1} << 63;
        a %= m;
        b %= m;
    }
};

double smallest(const std::vector<double>& values) {
    return *std::min_element(values.begin(), values.end());
}

/// The operation, with all operands in memory that the compiler takes to change between calls.
template <std::size_t n, class Operation>
void measure(benchmark::State& state, Operation operation) {
    Operands<n> operands;
    for (auto _ : state) {
        benchmark::DoNotOptimize(&operands);
        benchmark::ClobberMemory();
        operation(operands);
        benchmark::ClobberMemory();
    }
}

template <std::size_t n>
void engine_product(benchmark::State& state) {
    typename Operands<n>::word lo, hi;
    benchmark::DoNotOptimize(&lo);
    benchmark::DoNotOptimize(&hi);
    measure<n>(state, [&](const Operands<n>& o) { math_mul(o.a, o.b, lo, hi); });
}
template <std::size_t n>
void gmp_product(benchmark::State& state) {
    mp_limb_t product[2 * n];
    benchmark::DoNotOptimize(&product);
    measure<n>(state, [&](const Operands<n>& o) { mpn_mul_n(product, o.a.limb, o.b.limb, n); });
}

template <std::size_t n>
void engine_square(benchmark::State& state) {
    typename Operands<n>::word lo, hi;
    benchmark::DoNotOptimize(&lo);
    benchmark::DoNotOptimize(&hi);
    measure<n>(state, [&](const Operands<n>& o) { math_mul(o.a, o.a, lo, hi); });
}
template <std::size_t n>
void gmp_square(benchmark::State& state) {
    mp_limb_t product[2 * n];
    benchmark::DoNotOptimize(&product);
    measure<n>(state, [&](const Operands<n>& o) { mpn_sqr(product, o.a.limb, n); });
}

template <std::size_t n>
void engine_montgomery(benchmark::State& state) {
    using T = typename Operands<n>::word;
    const mp_mont_data<T> M(Operands<n>().m);
    T r;
    benchmark::DoNotOptimize(&r);
    measure<n>(state, [&](const Operands<n>& o) { math_mont_mul(o.a, o.b, o.m, M.mprime, r); });
}
template <std::size_t n>
void gmp_montgomery(benchmark::State& state) {
    const umint k0 = math_mod_inv_2(Operands<n>().m.limb[0]);
    mp_limb_t t[2 * n], r[n];
    benchmark::DoNotOptimize(&r);
    measure<n>(state, [&](const Operands<n>& o) {
        mpn_mul_n(t, o.a.limb, o.b.limb, n);
        for (std::size_t i = 0; i < n; ++i) t[i] = mpn_addmul_1(t + i, o.m.limb, n, t[i] * k0);
        const mp_limb_t carry = mpn_add_n(r, t + n, t, n);
        if (carry != 0 || mpn_cmp(r, o.m.limb, n) >= 0) mpn_sub_n(r, r, o.m.limb, n);
    });
}

template <std::size_t n>
void engine_division(benchmark::State& state) {
    typename Operands<n>::word q, r;
    benchmark::DoNotOptimize(&q);
    benchmark::DoNotOptimize(&r);
    measure<n>(state, [&](const Operands<n>& o) { math_divmod(o.a, o.b, o.m, q, r); });
}
template <std::size_t n>
void engine_division_by_series(benchmark::State& state) {
    typename Operands<n>::word q, r;
    benchmark::DoNotOptimize(&q);
    benchmark::DoNotOptimize(&r);
    measure<n>(state, [&](const Operands<n>& o) { math_divmod_series(o.a, o.b, o.m, q, r); });
}
template <std::size_t n>
void gmp_division(benchmark::State& state) {
    mp_limb_t numerator[2 * n], q[n + 1], r[n];
    benchmark::DoNotOptimize(&q);
    benchmark::DoNotOptimize(&r);
    measure<n>(state, [&](const Operands<n>& o) {
        mpn_copyi(numerator, o.a.limb, n);
        mpn_copyi(numerator + n, o.b.limb, n);
        mpn_tdiv_qr(q, r, 0, numerator, 2 * n, o.m.limb, n);
    });
}

template <std::size_t n>
void engine_inverse(benchmark::State& state) {
    typename Operands<n>::word r;
    benchmark::DoNotOptimize(&r);
    measure<n>(state, [&](const Operands<n>& o) { r = math_invmod(o.a, o.m); });
}
template <std::size_t n>
void gmp_inverse(benchmark::State& state) {
    mpz_t r;
    mpz_init(r);
    measure<n>(state, [&](const Operands<n>& o) {
        mpz_t a, m;
        benchmark::DoNotOptimize(mpz_invert(r, mpz_roinit_n(a, o.a.limb, n), mpz_roinit_n(m, o.m.limb, n)));
    });
    mpz_clear(r);
}

template <std::size_t n>
void engine_root(benchmark::State& state) {
    typename Operands<n>::word s, r;
    benchmark::DoNotOptimize(&s);
    benchmark::DoNotOptimize(&r);
    measure<n>(state, [&](const Operands<n>& o) { math_isqrt(o.a, s, r); });
}
template <std::size_t n>
void gmp_root(benchmark::State& state) {
    mpz_t s, r;
    mpz_inits(s, r, nullptr);
    measure<n>(state, [&](const Operands<n>& o) {
        mpz_t a;
        mpz_sqrtrem(s, r, mpz_roinit_n(a, o.a.limb, n));
    });
    mpz_clears(s, r, nullptr);
}

#define KESH_AT_EVERY_WIDTH(name)                           \
    BENCHMARK(name<2>)->ComputeStatistics("min", smallest); \
    BENCHMARK(name<4>)->ComputeStatistics("min", smallest); \
    BENCHMARK(name<8>)->ComputeStatistics("min", smallest); \
    BENCHMARK(name<16>)->ComputeStatistics("min", smallest)

KESH_AT_EVERY_WIDTH(engine_product);
KESH_AT_EVERY_WIDTH(gmp_product);
KESH_AT_EVERY_WIDTH(engine_square);
KESH_AT_EVERY_WIDTH(gmp_square);
KESH_AT_EVERY_WIDTH(engine_montgomery);
KESH_AT_EVERY_WIDTH(gmp_montgomery);
KESH_AT_EVERY_WIDTH(engine_division);
KESH_AT_EVERY_WIDTH(engine_division_by_series);
KESH_AT_EVERY_WIDTH(gmp_division);
KESH_AT_EVERY_WIDTH(engine_inverse);
KESH_AT_EVERY_WIDTH(gmp_inverse);
KESH_AT_EVERY_WIDTH(engine_root);
KESH_AT_EVERY_WIDTH(gmp_root);

}  // namespace

BENCHMARK_MAIN();
