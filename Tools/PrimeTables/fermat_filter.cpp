/**
 * @file   fermat_filter.cpp
 * @brief  The Fermat test of a batch of cofactors, by AVX-512 IFMA or one at a time.
 */
#include "fermat_filter.h"

#include "intrinsics.h"

namespace prime_tables {

u64 fermat_mask_portable(const u64* n, const u64* m) {
    u64 mask = 0;
    for (std::size_t i = 0; i < FermatFilter::batch; ++i) {
        const Modulus mod(m[i]);
        if (mod.power_of_two(n[i] - 1) == mod.one()) mask |= u64{1} << i;
    }
    return mask;
}

namespace {

/**
 * Montgomery form with R = 2^52, residues kept in (0, 2m] by adding m before the subtraction; a doubling may follow
 * before the next square, as (4m)^2 < 2^52 m for m < 2^48.
 *
 * The ladder starts without a multiplication: x = 2^j is the form of 2^(j-52), so with E = -ceil(e / 2^59) it holds
 * 2^E, and 59 squarings with the bits of -e - E 2^59 lead to 2^(-e), which is 1 exactly when 2^e is. The exponent is
 * first shifted up to 64 bits: a multiple of n - 1, so the condition stays necessary, and the strong test that follows
 * is exact.
 */
__attribute__((target("avx512f,avx512dq,avx512cd,avx512ifma"))) u64 fermat_mask_ifma(const u64* n, const u64* m) {
    constexpr std::size_t vectors = FermatFilter::batch / 8;
    constexpr int squarings = 59;
    const __m512i zero = _mm512_setzero_si512();
    const __m512i one = _mm512_set1_epi64(1);
    const __m512i two = _mm512_set1_epi64(2);
    __m512i mod[vectors];
    __m512i inverse[vectors];
    __m512i bits[vectors];
    __m512i x[vectors];
    for (std::size_t i = 0; i < vectors; ++i) {
        mod[i] = _mm512_load_si512(m + 8 * i);
        // 3m xor 2 inverts m modulo 2^5; each Newton step doubles the correct bits.
        __m512i y = _mm512_xor_si512(_mm512_add_epi64(mod[i], _mm512_add_epi64(mod[i], mod[i])), two);
        for (int k = 0; k < 4; ++k) {
            y = _mm512_madd52lo_epu64(zero, y, _mm512_sub_epi64(two, _mm512_madd52lo_epu64(zero, mod[i], y)));
        }
        inverse[i] = y;
        __m512i e = _mm512_sub_epi64(_mm512_load_si512(n + 8 * i), one);
        e = _mm512_sllv_epi64(e, _mm512_lzcnt_epi64(e));
        const __m512i top =
            _mm512_add_epi64(_mm512_srli_epi64(_mm512_sub_epi64(e, one), squarings), one);  // -E, 16 to 32
        x[i] = _mm512_sllv_epi64(one, _mm512_sub_epi64(_mm512_set1_epi64(52), top));
        bits[i] = _mm512_slli_epi64(_mm512_sub_epi64(zero, e), 64 - squarings);
    }
    for (int step = 0; step < squarings; ++step) {
        __m512i high[vectors];
        __m512i low[vectors];
        for (std::size_t i = 0; i < vectors; ++i) low[i] = _mm512_madd52lo_epu64(zero, x[i], x[i]);
        for (std::size_t i = 0; i < vectors; ++i) high[i] = _mm512_madd52hi_epu64(mod[i], x[i], x[i]);
        for (std::size_t i = 0; i < vectors; ++i) low[i] = _mm512_madd52lo_epu64(zero, low[i], inverse[i]);
        for (std::size_t i = 0; i < vectors; ++i) low[i] = _mm512_madd52hi_epu64(zero, low[i], mod[i]);
        for (std::size_t i = 0; i < vectors; ++i) {
            const __mmask8 set = _mm512_movepi64_mask(bits[i]);
            bits[i] = _mm512_add_epi64(bits[i], bits[i]);
            x[i] = _mm512_sub_epi64(high[i], low[i]);
            x[i] = _mm512_mask_add_epi64(x[i], set, x[i], x[i]);
        }
    }
    u64 mask = 0;
    for (std::size_t i = 0; i < vectors; ++i) {
        const __m512i q = _mm512_madd52hi_epu64(zero, _mm512_madd52lo_epu64(zero, x[i], inverse[i]), mod[i]);
        const __mmask8 pass = _mm512_cmpeq_epi64_mask(_mm512_sub_epi64(mod[i], q), one);
        mask |= u64{pass} << (8 * i);
    }
    return mask;
}

}  // namespace

u64 fermat_mask(const u64* n, const u64* m) {
    static const bool ifma = __builtin_cpu_supports("avx512ifma") && __builtin_cpu_supports("avx512dq") &&
                             __builtin_cpu_supports("avx512cd");
    return ifma ? fermat_mask_ifma(n, m) : fermat_mask_portable(n, m);
}

void FermatFilter::test_whole(u64 n) {
    ++tested_;
    if (n >= least_ && is_strong_probable_prime(n, 2)) found_.push_back(n);
}

void FermatFilter::flush() {
    const std::size_t waiting = fill_;
    fill_ = 0;
    if (waiting == 0) return;
    for (std::size_t i = waiting; i < batch; ++i) {
        n_[i] = 15;  // any composite with a cofactor: its verdict is not read
        m_[i] = 3;
    }
    tested_ += waiting;
    for (u64 mask = fermat_mask(n_.data(), m_.data()); mask != 0; mask &= mask - 1) {
        const auto i = static_cast<std::size_t>(std::countr_zero(mask));
        if (i < waiting && n_[i] >= least_ && is_strong_probable_prime(n_[i], 2)) found_.push_back(n_[i]);
    }
}

}  // namespace prime_tables
