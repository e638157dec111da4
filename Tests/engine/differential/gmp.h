/**
 * @file   gmp.h
 * @brief  Engine words as GMP integers, and the answer type of the differential checks.
 */
#pragma once

#include <gmpxx.h>

#include <cstdint>
#include <string>

#include "Shared/intx/intx_operator.h"
#include "engine/operands.h"

namespace kesh::testing {

static_assert(GMP_NUMB_BITS == 64 && sizeof(mp_limb_t) == sizeof(umint), "limbs are shared with GMP");

/** A GMP integer that reads the limbs of one or two words (low, high) in place of a copy. The words must outlive it. */
template <engine_word T>
mpz_class as_mpz(const T& a) {
    mpz_t view;
    return mpz_class(mpz_roinit_n(view, limbs_of(a), static_cast<mp_size_t>(limbs_v<T>)));
}
template <engine_word T>
mpz_class as_mpz(const T& lo, const T& hi) {
    return (as_mpz(hi) << static_cast<mp_bitcnt_t>(width_v<T>)) + as_mpz(lo);
}

/** The low N bits of z (of its two's complement when z is negative). */
template <engine_word T>
T as_word(const mpz_class& z) {
    mpz_class low;
    mpz_fdiv_r_2exp(low.get_mpz_t(), z.get_mpz_t(), static_cast<mp_bitcnt_t>(width_v<T>));
    T a(0);
    std::size_t count = 0;
    mpz_export(limbs_of(a), &count, -1, sizeof(umint), 0, 0, low.get_mpz_t());
    return a;
}

template <engine_word T>
bool same(const T& a, const T& b) {
    return math_compare(a, b) == 0;
}

template <engine_word T>
std::string show(const operands<T>& s) {
    std::string text = "a=" + to_string(s.a, 16) + " b=" + to_string(s.b, 16) + " c=" + to_string(s.c, 16);
    text += " d=" + to_string(s.d, 16) + " limb=" + to_string(s.limb, 16) + " count=" + std::to_string(s.count);
    return text + " carry=" + std::to_string(s.carry);
}

/** Empty when everything agreed, else what differed and on which operands. */
using verdict = std::string;

/** Results found equal so far, for the report of a long run. */
inline std::uint64_t agreements = 0;

template <engine_word T>
verdict differs(const char* operation, const operands<T>& s) {
    return std::string(operation) + " differs: " + show(s);
}

}  // namespace kesh::testing

/** Inside a check: the condition holds, or the check ends with the operation's name and the operands `s`. */
#define KESH_AGREE(condition, operation)                             \
    if (!(condition)) return ::kesh::testing::differs(operation, s); \
    ++::kesh::testing::agreements
