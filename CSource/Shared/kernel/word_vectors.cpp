/**
 * @file   word_vectors.cpp
 * @brief  64-bit numbers as two digits of 52 bits in vector lanes.
 *
 * R' = 2^104 is above 2^40 m, so that factors of a product may be as large as 2^20 m. So 2^c for four bits of an
 * exponent of 2, and a base below 2^16 for one bit, are factors without a reduction: a result is below 3 m, times 2^16
 * below 2^18 m.
 */

#include "Shared/kernel/word_vectors.h"

#include <algorithm>
#include <cassert>

#include "Shared/kernel/strong_word.h"
#include "Shared/kernel/vector_lanes.h"

namespace kesh::kernel {

namespace {

using namespace ifma_form;

using Pair = Numbers<2>;

/** a f for a factor of at most 17 bits, below 2^88: no reduction. */
KESH_IFMA_INLINE Pair times(const Pair& a, __m512i f) noexcept {
    const __m512i zero = _mm512_setzero_si512();
    const __m512i high = _mm512_madd52hi_epu64(zero, a.digit[0], f);
    return {{_mm512_madd52lo_epu64(zero, a.digit[0], f), _mm512_madd52lo_epu64(high, a.digit[1], f)}};
}

KESH_IFMA_INLINE Pair digits_of(__m512i n) noexcept {
    return {{_mm512_and_si512(n, all_lanes(digit_mask)), _mm512_srli_epi64(n, digit_bits)}};
}

/** `vectors` times eight numbers, with the constants of their tests. */
template <int vectors>
class Words {
    static_assert(vectors * vector_words <= word_vector_lanes);

  public:
    KESH_IFMA explicit Words(const umint* numbers) noexcept {
        for (int v = 0; v < vectors; ++v) {
            alignas(64) umint n[vector_words], zeros[vector_words];
            DigitTable<2> unit;
            for (std::size_t c = 0; c < vector_words; ++c) {
                n[c] = numbers[static_cast<std::size_t>(v) * vector_words + c];
                assert((n[c] & 1) == 1 && n[c] >> 32 != 0);
                zeros[c] = static_cast<umint>(math_count_trailing_zeros(n[c] - 1));
                most_zeros_ = std::max(most_zeros_, static_cast<int>(zeros[c]));
                bits_ = std::max(bits_, static_cast<int>(math_num_bits(n[c])));
                // 2^104 mod n from 2^64 mod n
                umint r = 0 - n[c], quotient = 0;
                if (r >= n[c]) r %= n[c];
                math_divmod(r << 40, r >> 24, n[c], quotient, r);
                unit.digit[0][c] = r & digit_mask;
                unit.digit[1][c] = r >> digit_bits;
            }
            const __m512i number = _mm512_load_si512(n);
            zeros_[v] = _mm512_load_si512(zeros);
            exponent_[v] = _mm512_srlv_epi64(_mm512_sub_epi64(number, all_lanes(1)), zeros_[v]);
            m_[v] = digits_of(number);
            unit_[v] = load<2>(unit);
        }
    }

    [[nodiscard]] KESH_IFMA unsigned strong_base2() const noexcept {
        const Modulus moduli(m_);
        Pair x[vectors];
        const int nibbles = (bits_ + 3) / 4;
        for (int v = 0; v < vectors; ++v) x[v] = times(unit_[v], power(v, nibbles - 1));
        for (int i = nibbles - 2; i >= 0; --i) {
            for (int j = 0; j < 4; ++j) moduli.square(x);
#pragma GCC unroll 2
            for (int v = 0; v < vectors; ++v) x[v] = times(x[v], power(v, i));
        }
        return end(moduli, x);
    }

    /** bases: one for each number of each vector. */
    [[nodiscard]] KESH_IFMA unsigned strong_to(const umint* first, const umint* second) const noexcept {
        const Modulus moduli(m_);
        __m512i base[2][vectors];
        Pair x[2][vectors];
        for (int v = 0; v < vectors; ++v) {
            alignas(64) umint memory[2][vector_words];
            std::copy_n(first + static_cast<std::size_t>(v) * vector_words, vector_words, memory[0]);
            std::copy_n(second + static_cast<std::size_t>(v) * vector_words, vector_words, memory[1]);
            for (int b = 0; b < 2; ++b) {
                base[b][v] = _mm512_load_si512(memory[b]);
                x[b][v] = unit_[v];
            }
        }
        for (int i = bits_ - 1; i >= 0; --i) {
#pragma GCC unroll 2
            for (int b = 0; b < 2; ++b) {
                moduli.square(x[b]);
#pragma GCC unroll 2
                for (int v = 0; v < vectors; ++v) {
                    const __mmask8 bit = _mm512_test_epi64_mask(exponent_[v], all_lanes(umint{1} << i));
                    x[b][v] = times(x[b][v], _mm512_mask_blend_epi64(bit, all_lanes(1), base[b][v]));
                }
            }
        }
        return end(moduli, x[0]) & end(moduli, x[1]);
    }

  private:
    class Modulus {
      public:
        KESH_IFMA explicit Modulus(const Pair (&m)[vectors]) noexcept {
            for (int v = 0; v < vectors; ++v) moduli_[v] = Moduli<2>(m[v]);
        }
        KESH_IFMA_INLINE void square(Pair (&x)[vectors]) const noexcept {
#pragma GCC unroll 2
            for (int v = 0; v < vectors; ++v) x[v] = moduli_[v].sqr(x[v]);
        }
        [[nodiscard]] const Moduli<2>& operator[](int v) const noexcept {
            return moduli_[v];
        }

      private:
        Moduli<2> moduli_[vectors];
    };

    /** 2 to the four bits number i of the exponents. */
    [[nodiscard]] KESH_IFMA_INLINE __m512i power(int v, int i) const noexcept {
        const __m512i bits = _mm512_srl_epi64(exponent_[v], _mm_cvtsi64_si128(mint{4} * i));
        return _mm512_sllv_epi64(all_lanes(1), _mm512_and_si512(bits, all_lanes(15)));
    }

    /** The end of the strong tests from the powers b^e. */
    [[nodiscard]] KESH_IFMA unsigned end(const Modulus& moduli, const Pair (&powers)[vectors]) const noexcept {
        unsigned passed = 0;
        Pair x[vectors], unit[vectors];
        for (int v = 0; v < vectors; ++v) {
            x[v] = moduli[v].mul(powers[v], unit_[v]);  // below 3 m again
            unit[v] = moduli[v].residue(unit_[v]);
            const Pair r = moduli[v].residue(x[v]);
            passed |= (equal<2>(r, unit[v]) | equal<2>(moduli[v].negative(r), unit[v])) << (8 * v);
        }
        for (int i = 1; i < most_zeros_; ++i) {
            moduli.square(x);
            for (int v = 0; v < vectors; ++v) {
                const auto in_time =
                    static_cast<unsigned>(_mm512_cmpgt_epu64_mask(zeros_[v], all_lanes(static_cast<umint>(i))));
                passed |= (equal<2>(moduli[v].negative(moduli[v].residue(x[v])), unit[v]) & in_time) << (8 * v);
            }
        }
        return passed;
    }

    Pair m_[vectors], unit_[vectors];
    __m512i exponent_[vectors], zeros_[vectors];
    int bits_ = 0, most_zeros_ = 0;
};

/** Puts the first number into the free places. */
WordVector filled(const WordVector& numbers, std::size_t count) noexcept {
    assert(0 < count && count <= word_vector_lanes);
    WordVector all = numbers;
    std::fill(all.begin() + static_cast<std::ptrdiff_t>(count), all.end(), all[0]);
    return all;
}

}  // namespace

KESH_IFMA unsigned divisors_in_lanes(const std::array<umint, vector_words>& numbers,
                                     std::span<const ExactDivisor> primes) noexcept {
    alignas(64) umint memory[vector_words];
    std::copy(numbers.begin(), numbers.end(), memory);
    const __m512i n = _mm512_load_si512(memory);
    unsigned none = 0xFF;
    for (const ExactDivisor& p : primes)
        none &= _mm512_cmpgt_epu64_mask(_mm512_mullo_epi64(n, all_lanes(p.inverse)), all_lanes(p.most));
    return none ^ 0xFF;
}

unsigned strong_base2_in_lanes(const WordVector& numbers, std::size_t count) noexcept {
    const WordVector all = filled(numbers, count);
    if (count <= vector_words) return Words<1>(all.data()).strong_base2();
    return Words<2>(all.data()).strong_base2();
}

unsigned strong_tests_in_lanes(const WordVector& numbers, const WordVector& first_bases, const WordVector& second_bases,
                               std::size_t count) noexcept {
    const WordVector all = filled(numbers, count), first = filled(first_bases, count),
                     second = filled(second_bases, count);
    if (count <= vector_words) return Words<1>(all.data()).strong_to(first.data(), second.data());
    return Words<2>(all.data()).strong_to(first.data(), second.data());
}

}  // namespace kesh::kernel
