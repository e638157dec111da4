/**
 * @file   pair_search.cpp
 * @brief  The search for pairs of primes, portably or by AVX-512.
 */
#include "pair_search.h"

#include <algorithm>
#include <array>

#include "intrinsics.h"

namespace prime_tables {

namespace {

/** The bound on m is compared as a double; the caller drops candidates that exceed it by rounding. */
constexpr double bound_slack = 1 + 0x1p-48;

/** m runs over one residue modulo this: the order, and odd numbers only. */
u64 cofactor_step(const PrimeOrder& p) {
    return p.order % 2 == 0 ? p.order : 2 * u64{p.order};
}

}  // namespace

void search_pairs_portable(const PrimeOrder& p, const PrimeColumn& column, std::size_t from, std::size_t to,
                           double largest, const std::function<void(u64 q, u64 m)>& hit) {
    const u64 step = cofactor_step(p);
    for (std::size_t i = from; i < to; ++i) {
        const u64 q = column.prime[i];
        const u64 order = column.order[i];
        if (p.order % q == 0) continue;
        const double bound = largest / p.prime / static_cast<double>(q) * bound_slack;
        for (u64 m = inverse_modulo(q, step); static_cast<double>(m) <= bound; m += step) {
            if (p.prime % order * (m % order) % order == 1) hit(q, m);
        }
    }
}

namespace {

constexpr std::size_t lanes = 32;  // four vectors: chains of products that hide each other's latency
constexpr std::size_t rows = 128;
constexpr std::size_t vectors = lanes / 8;

#define KESH_TABLES_AVX512 __attribute__((target("avx512f,avx512dq,avx512vl")))

KESH_TABLES_AVX512 inline __m512d nearest(__m512d x) {
    return _mm512_maskz_roundscale_pd(0xFF, x, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
}

KESH_TABLES_AVX512 inline __m512d load_numbers(__mmask8 valid, const u32* from) {
    return _mm512_maskz_cvtepu32_pd(0xFF, _mm256_maskz_loadu_epi32(valid, from));
}

/** a * b modulo `modulus`, in absolute value at most half the modulus. */
KESH_TABLES_AVX512 inline __m512d multiply_modulo(__m512d a, __m512d b, __m512d modulus, __m512d inverse) {
    const __m512d product = _mm512_mul_pd(a, b);
    return _mm512_fnmadd_pd(nearest(_mm512_mul_pd(product, inverse)), modulus, product);
}

/**
 * The prime factor of an order below 2^24 that is at least least_paired_prime: there is at most one. 1 when there is
 * none.
 */
u32 large_prime_factor(u32 order) {
    static_assert(u64{least_paired_prime} * least_paired_prime >= u64{1} << 24);
    order >>= std::countr_zero(order);
    for (u32 r = 3; r < least_paired_prime && r * r <= order; r += 2) {
        while (order % r == 0) order /= r;
    }
    return order >= least_paired_prime ? order : 1;
}

/** Replaces each residue by its inverse, all coprime to the modulus. */
void invert_all(std::array<double, lanes>& residues, u64 modulus) {
    std::array<u64, lanes> value;
    std::array<u64, lanes> prefix;
    u64 product = 1;
    for (std::size_t i = 0; i < lanes; ++i) {
        const double r = residues[i];
        value[i] = static_cast<u64>(r < 0 ? r + static_cast<double>(modulus) : r);
        prefix[i] = product;
        product = product * value[i] % modulus;
    }
    u64 inverse = inverse_modulo(product, modulus);
    for (std::size_t i = lanes; i-- > 0;) {
        residues[i] = static_cast<double>(inverse * prefix[i] % modulus);
        inverse = inverse * value[i] % modulus;
    }
}

KESH_TABLES_AVX512 void search_pairs_avx512(const PrimeOrder& p, const PrimeColumn& column, std::size_t from,
                                            std::size_t to, double largest,
                                            const std::function<void(u64 q, u64 m)>& hit) {
    const __m512d one = _mm512_set1_pd(1.0);
    const __m512d zero = _mm512_setzero_pd();
    const u64 step_number = cofactor_step(p);
    const __m512d step = _mm512_set1_pd(static_cast<double>(step_number));
    const __m512d inverse_step = _mm512_set1_pd(1.0 / static_cast<double>(step_number));
    const __m512d prime = _mm512_set1_pd(p.prime);
    const __m512d bound_times_q = _mm512_set1_pd(largest / p.prime * bound_slack);
    const __m512d excluded_prime = _mm512_set1_pd(large_prime_factor(p.order));

    alignas(64) static thread_local std::array<double, rows * lanes> prefix;
    for (std::size_t block = from; block < to; block += rows * lanes) {
        const std::size_t count = std::min(rows * lanes, to - block);
        const std::size_t used_rows = (count + lanes - 1) / lanes;
        const auto mask_of = [&](std::size_t row, std::size_t vector) {
            const std::size_t first = row * lanes + vector * 8;
            const std::size_t left = count > first ? count - first : 0;
            return static_cast<__mmask8>(left >= 8 ? 0xFF : (1U << left) - 1);
        };
        const auto load_prime = [&](std::size_t row, std::size_t vector, __mmask8& valid) KESH_TABLES_AVX512 {
            valid = mask_of(row, vector);
            const __m512d q = load_numbers(valid, column.prime.data() + block + row * lanes + vector * 8);
            valid = _mm512_mask_cmp_pd_mask(valid, q, excluded_prime, _CMP_NEQ_OQ);
            return _mm512_mask_mov_pd(one, valid, q);
        };
        __m512d product[vectors];
        for (auto& x : product) x = one;
        for (std::size_t row = 0; row < used_rows; ++row) {
            for (std::size_t k = 0; k < vectors; ++k) {
                __mmask8 valid;
                const __m512d q = load_prime(row, k, valid);
                _mm512_store_pd(&prefix[row * lanes + 8 * k], product[k]);
                product[k] = multiply_modulo(product[k], q, step, inverse_step);
            }
        }
        alignas(64) std::array<double, lanes> total;
        for (std::size_t k = 0; k < vectors; ++k) _mm512_store_pd(&total[8 * k], product[k]);
        invert_all(total, step_number);
        for (std::size_t k = 0; k < vectors; ++k) product[k] = _mm512_load_pd(&total[8 * k]);
        for (std::size_t row = used_rows; row-- > 0;) {
            for (std::size_t k = 0; k < vectors; ++k) {
                __mmask8 valid;
                const std::size_t index = block + row * lanes + 8 * k;
                const __m512d q = load_prime(row, k, valid);
                __m512d m =
                    multiply_modulo(product[k], _mm512_load_pd(&prefix[row * lanes + 8 * k]), step, inverse_step);
                product[k] = multiply_modulo(product[k], q, step, inverse_step);
                m = _mm512_mask_add_pd(m, _mm512_cmp_pd_mask(m, zero, _CMP_LT_OQ), m, step);
                const __m512d bound = _mm512_div_pd(bound_times_q, q);
                __mmask8 open = _mm512_mask_cmp_pd_mask(valid, m, bound, _CMP_LE_OQ);
                if (open == 0) continue;
                const __m512d order = load_numbers(open, column.order.data() + index);
                const __m512d inverse_order = _mm512_div_pd(one, order);
                do {
                    const __m512d residue = multiply_modulo(prime, m, order, inverse_order);
                    for (u32 hits = _mm512_mask_cmp_pd_mask(open, residue, one, _CMP_EQ_OQ); hits != 0;
                         hits &= hits - 1) {
                        const auto lane = static_cast<std::size_t>(std::countr_zero(hits));
                        alignas(64) std::array<double, 8> cofactor;
                        _mm512_store_pd(cofactor.data(), m);
                        hit(column.prime[index + lane], static_cast<u64>(cofactor[lane]));
                    }
                    m = _mm512_add_pd(m, step);
                    open = _mm512_mask_cmp_pd_mask(open, m, bound, _CMP_LE_OQ);
                } while (open != 0);
            }
        }
    }
}

}  // namespace

void search_pairs(const PrimeOrder& p, const PrimeColumn& column, std::size_t from, std::size_t to, double largest,
                  const std::function<void(u64 q, u64 m)>& hit) {
    static const bool avx512 =
        __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
    if (from >= to) return;
    (avx512 ? search_pairs_avx512 : search_pairs_portable)(p, column, from, to, largest, hit);
}

}  // namespace prime_tables
