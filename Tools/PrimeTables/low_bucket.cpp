#include "low_bucket.h"

#include "table_rule.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop

namespace prime_tables {
namespace {

constexpr std::size_t lanes = 32;
constexpr u32 filler = 9;  // below the numbers listed

/// Strong tests to these three bases decide below 4,759,123,141 (G. Jaeschke, On strong pseudoprimes to several bases, 1993).
bool isPrime32(const Modulus& mod) {
    return isStrongProbablePrime(mod, 2) && isStrongProbablePrime(mod, 7) && isStrongProbablePrime(mod, 61);
}

struct Columns {
    const u32* modulus;
    const u32* inverse;
    const u32* one;
    const u32* square;
};

/// Bit i is set when base^(n-1) = 1 modulo the i-th of 32 moduli n.
u32 fermatMaskPortable(const Columns& c, u32 base) {
    u32 mask = 0;
    for (std::size_t i = 0; i < lanes; ++i) {
        const Modulus mod(c.modulus[i]);
        if (mod.power(mod.enter(base), c.modulus[i] - 1) == mod.one()) mask |= u32{1} << i;
    }
    return mask;
}

#define KESH_TABLES_AVX512 __attribute__((target("avx512f,avx512dq")))

KESH_TABLES_AVX512 inline __m512i multiply(__m512i x, __m512i y, __m512i modulus, __m512i inverse) {
    const __m512i product = _mm512_mul_epu32(x, y);
    const __m512i quotient = _mm512_mul_epu32(product, inverse);
    const __m512i low_cancelled = _mm512_mul_epu32(quotient, modulus);
    const __m512i difference = _mm512_sub_epi64(_mm512_maskz_srli_epi64(0xFF, product, 32),
                                                _mm512_maskz_srli_epi64(0xFF, low_cancelled, 32));
    // A negative difference is huge as an unsigned number, its sum with the modulus is not.
    return _mm512_maskz_min_epu64(0xFF, difference, _mm512_add_epi64(difference, modulus));
}

KESH_TABLES_AVX512 inline __m512i widen(const u32* from) {
    return _mm512_maskz_cvtepu32_epi64(0xFF, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)));
}

KESH_TABLES_AVX512 u32 fermatMaskAvx512(const Columns& c, u32 base) {
    constexpr std::size_t vectors = lanes / 8;
    __m512i modulus[vectors];
    __m512i inverse[vectors];
    __m512i factor[vectors];
    __m512i x[vectors];
    for (std::size_t k = 0; k < vectors; ++k) {
        modulus[k] = widen(c.modulus + 8 * k);
        inverse[k] = widen(c.inverse + 8 * k);
        x[k] = widen(c.one + 8 * k);
        factor[k] = multiply(_mm512_set1_epi64(base), widen(c.square + 8 * k), modulus[k], inverse[k]);
    }
    for (int bit = 31; bit >= 0; --bit) {
        // The exponent n - 1 of an odd n has the bits of n but the lowest.
        const __m512i selected = _mm512_set1_epi64(bit == 0 ? 0 : i64{1} << bit);
        for (std::size_t k = 0; k < vectors; ++k) {
            x[k] = multiply(x[k], x[k], modulus[k], inverse[k]);
            const __mmask8 set = _mm512_test_epi64_mask(modulus[k], selected);
            x[k] = _mm512_mask_mov_epi64(x[k], set, multiply(x[k], factor[k], modulus[k], inverse[k]));
        }
    }
    u32 mask = 0;
    for (std::size_t k = 0; k < vectors; ++k) {
        mask |= u32{_mm512_cmpeq_epi64_mask(x[k], widen(c.one + 8 * k))} << (8 * k);
    }
    return mask;
}

u32 fermatMask(const Columns& c, u32 base) {
    static const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq");
    return avx512 ? fermatMaskAvx512(c, base) : fermatMaskPortable(c, base);
}

}  // namespace

LowBucket::LowBucket(u32 bucket) {
    u32 unhash = hash_multiplier;
    for (int bits = 3; bits < 32; bits *= 2) unhash *= 2 - hash_multiplier * unhash;
    for (u32 low = 0; low < u32{1} << 18; ++low) {
        const u32 n = ((bucket << 18) + low) * unhash;
        if (n % 2 == 1 && n > 65536) append(n);
    }
    fillUp();
    dropPrimes();
    fillUp();
}

void LowBucket::append(u32 n) {
    const u64 one = (u64{1} << 32) % n;
    modulus_.push_back(n);
    u32 inverse = n;
    for (int bits = 3; bits < 32; bits *= 2) inverse *= 2 - n * inverse;
    inverse_.push_back(inverse);
    one_.push_back(static_cast<u32>(one));
    square_.push_back(static_cast<u32>(one * one % n));
}

void LowBucket::fillUp() {
    while (modulus_.size() % lanes != 0) append(filler);
}

void LowBucket::dropPrimes() {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < modulus_.size(); i += lanes) {
        const u32 mask = fermatMask({&modulus_[i], &inverse_[i], &one_[i], &square_[i]}, 2);
        for (std::size_t k = 0; k < lanes; ++k) {
            if ((mask >> k & 1) != 0 && isPrime32(Modulus(modulus_[i + k]))) continue;
            modulus_[kept] = modulus_[i + k];
            inverse_[kept] = inverse_[i + k];
            one_[kept] = one_[i + k];
            square_[kept] = square_[i + k];
            ++kept;
        }
    }
    for (auto* column : {&modulus_, &inverse_, &one_, &square_}) column->resize(kept);
}

u32 LowBucket::firstPassing(u32 base) const {
    for (std::size_t i = 0; i < modulus_.size(); i += lanes) {
        u32 mask = fermatMask({&modulus_[i], &inverse_[i], &one_[i], &square_[i]}, base);
        for (; mask != 0; mask &= mask - 1) {
            const u32 n = modulus_[i + static_cast<std::size_t>(std::countr_zero(mask))];
            if (n != filler && isStrongProbablePrime(n, base)) return n;
        }
    }
    return 0;
}

}  // namespace prime_tables
