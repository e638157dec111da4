/**
 * @file   low_bucket.cpp
 * @brief  Lists the composites of a bucket and tests 32 of them at a time, portably or by AVX-512.
 */
#include "low_bucket.h"

#include "buckets.h"
#include "intrinsics.h"

namespace prime_tables {
namespace {

constexpr std::size_t lanes = 32;
constexpr u32 filler = 9;  // below the numbers listed

struct Columns {
    const u32* modulus;
    const u32* inverse;
    const u32* one;
    const u32* square;
};

/** Bit i is set when the i-th of 32 moduli passes the strong test to the base. */
u32 strong_mask_portable(const Columns& c, u32 base) {
    u32 mask = 0;
    for (std::size_t i = 0; i < lanes; ++i) mask |= u32{is_strong_probable_prime(c.modulus[i], base)} << i;
    return mask;
}

#define KESH_TABLES_AVX512 __attribute__((target("avx512f,avx512dq,avx512cd")))

KESH_TABLES_AVX512 inline __m512i multiply(__m512i x, __m512i y, __m512i modulus, __m512i inverse) {
    const __m512i product = _mm512_mul_epu32(x, y);
    const __m512i quotient = _mm512_mul_epu32(product, inverse);
    const __m512i low_cancelled = _mm512_mul_epu32(quotient, modulus);
    const __m512i difference =
        _mm512_sub_epi64(_mm512_maskz_srli_epi64(0xFF, product, 32), _mm512_maskz_srli_epi64(0xFF, low_cancelled, 32));
    // A negative difference is huge as an unsigned number, its sum with the modulus is not.
    return _mm512_maskz_min_epu64(0xFF, difference, _mm512_add_epi64(difference, modulus));
}

KESH_TABLES_AVX512 inline __m512i widen(const u32* from) {
    return _mm512_maskz_cvtepu32_epi64(0xFF, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)));
}

KESH_TABLES_AVX512 u32 strong_mask_avx512(const Columns& c, u32 base) {
    constexpr std::size_t vectors = lanes / 8;
    const __m512i one = _mm512_set1_epi64(1);
    __m512i modulus[vectors];
    __m512i inverse[vectors];
    __m512i factor[vectors];
    __m512i squarings[vectors];  // of the odd power, before n - 1 is reached
    __m512i exponent[vectors];   // the odd part of n - 1, its top bit in the sign
    __m512i x[vectors];
    for (std::size_t k = 0; k < vectors; ++k) {
        modulus[k] = widen(c.modulus + 8 * k);
        inverse[k] = widen(c.inverse + 8 * k);
        x[k] = widen(c.one + 8 * k);
        factor[k] = multiply(_mm512_set1_epi64(base), widen(c.square + 8 * k), modulus[k], inverse[k]);
        const __m512i even = _mm512_sub_epi64(modulus[k], one);
        const __m512i lowest = _mm512_and_si512(even, _mm512_sub_epi64(_mm512_setzero_si512(), even));
        squarings[k] = _mm512_sub_epi64(_mm512_set1_epi64(63), _mm512_lzcnt_epi64(lowest));
        exponent[k] = _mm512_maskz_slli_epi64(0xFF, _mm512_maskz_srlv_epi64(0xFF, even, squarings[k]), 32);
    }
    for (int bit = 0; bit < 32; ++bit) {
        for (std::size_t k = 0; k < vectors; ++k) {
            x[k] = multiply(x[k], x[k], modulus[k], inverse[k]);
            const __mmask8 set = _mm512_movepi64_mask(exponent[k]);
            exponent[k] = _mm512_add_epi64(exponent[k], exponent[k]);
            x[k] = _mm512_mask_mov_epi64(x[k], set, multiply(x[k], factor[k], modulus[k], inverse[k]));
        }
    }
    u32 mask = 0;
    for (std::size_t k = 0; k < vectors; ++k) {
        const __m512i plus = widen(c.one + 8 * k);
        const __m512i minus = _mm512_sub_epi64(modulus[k], plus);
        __mmask8 passed = _mm512_cmpeq_epi64_mask(x[k], plus);
        __mmask8 open = 0xFF;
        for (i64 round = 0; open != 0; ++round) {
            passed = static_cast<__mmask8>(passed | _mm512_mask_cmpeq_epi64_mask(open, x[k], minus));
            open = _mm512_cmpgt_epi64_mask(squarings[k], _mm512_set1_epi64(round + 1));
            x[k] = multiply(x[k], x[k], modulus[k], inverse[k]);
        }
        mask |= u32{passed} << (8 * k);
    }
    return mask;
}

u32 strong_mask(const Columns& c, u32 base) {
    static const bool avx512 =
        __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512cd");
    return avx512 ? strong_mask_avx512(c, base) : strong_mask_portable(c, base);
}

}  // namespace

LowBucket::LowBucket(u32 bucket) {
    for (auto* column : {&modulus_, &inverse_, &one_, &square_}) column->reserve(u32{1} << 17);
    u32 unhash = hash_multiplier;
    for (int bits = 3; bits < 32; bits *= 2) unhash *= 2 - hash_multiplier * unhash;
    for (u32 low = 0; low < u32{1} << 18; ++low) {
        const u32 n = ((bucket << 18) + low) * unhash;
        if (n % 2 == 1 && n > 65536) append(n);
    }
    fill_up();
    drop_primes();
    fill_up();
}

void LowBucket::append(u32 n) {
    const u64 one = (0 - n) % n;
    modulus_.push_back(n);
    u32 inverse = n;
    for (int bits = 3; bits < 32; bits *= 2) inverse *= 2 - n * inverse;
    inverse_.push_back(inverse);
    one_.push_back(static_cast<u32>(one));
    square_.push_back(static_cast<u32>(one * one % n));
}

void LowBucket::fill_up() {
    while (modulus_.size() % lanes != 0) append(filler);
}

/**
 * Strong tests to the bases 2, 7 and 61 decide below 4,759,123,141 (G. Jaeschke, On strong pseudoprimes to several
 * bases, 1993). Numbers that pass base 2 are set aside and tested to the other two.
 */
void LowBucket::drop_primes() {
    LowBucket suspects;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < modulus_.size(); i += lanes) {
        const u32 mask = strong_mask({&modulus_[i], &inverse_[i], &one_[i], &square_[i]}, 2);
        for (std::size_t k = 0; k < lanes; ++k) {
            if ((mask >> k & 1) == 0) {
                modulus_[kept] = modulus_[i + k];
                inverse_[kept] = inverse_[i + k];
                one_[kept] = one_[i + k];
                square_[kept] = square_[i + k];
                ++kept;
            } else {
                suspects.append(modulus_[i + k]);
            }
        }
    }
    for (auto* column : {&modulus_, &inverse_, &one_, &square_}) column->resize(kept);
    suspects.fill_up();
    for (std::size_t i = 0; i < suspects.modulus_.size(); i += lanes) {
        const Columns c{&suspects.modulus_[i], &suspects.inverse_[i], &suspects.one_[i], &suspects.square_[i]};
        const u32 primes = strong_mask(c, 7) & strong_mask(c, 61);
        for (std::size_t k = 0; k < lanes; ++k) {
            if ((primes >> k & 1) == 0) append(c.modulus[k]);
        }
    }
}

u32 LowBucket::first_passing(u32 base) const {
    for (std::size_t i = 0; i < modulus_.size(); i += lanes) {
        u32 mask = strong_mask({&modulus_[i], &inverse_[i], &one_[i], &square_[i]}, base);
        for (; mask != 0; mask &= mask - 1) {
            const u32 n = modulus_[i + static_cast<std::size_t>(std::countr_zero(mask))];
            if (n != filler) return n;
        }
    }
    return 0;
}

}  // namespace prime_tables
