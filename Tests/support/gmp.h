/**
 * @file   gmp.h
 * @brief  Limbs, limb arrays and engine words as GMP integers, and back.
 */
#pragma once

#include <gmpxx.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "Shared/intx/intx_types.h"

namespace kesh::test {

static_assert(GMP_NUMB_BITS == 64 && sizeof(mp_limb_t) == sizeof(umint), "limbs are shared with GMP");

/** The value of n limbs, least significant first. */
inline mpz_class mpz_of(const umint* limb, std::size_t n) {
    mpz_t view;
    return mpz_class(mpz_roinit_n(view, limb, static_cast<mp_size_t>(n)));
}

/** Writes the low n limbs of z (of its two's complement when z is negative). */
inline void write_limbs(const mpz_class& z, umint* limb, std::size_t n) {
    mpz_class low;
    mpz_fdiv_r_2exp(low.get_mpz_t(), z.get_mpz_t(), 64 * n);
    for (std::size_t i = 0; i < n; ++i) limb[i] = mpz_getlimbn(low.get_mpz_t(), static_cast<mp_size_t>(i));
}

template <std::size_t n>
using Limbs = std::array<umint, n>;

template <std::size_t n>
mpz_class to_mpz(const Limbs<n>& limbs) {
    return mpz_of(limbs.data(), n);
}

/** The lowest n limbs of a value. */
template <std::size_t n>
Limbs<n> from_mpz(const mpz_class& value) {
    Limbs<n> limbs;
    write_limbs(value, limbs.data(), n);
    return limbs;
}

/** The limbs of an engine word, least significant first. */
template <engine_word T>
const umint* limbs_of(const T& a) {
    if constexpr (wide_word<T>)
        return a.limb;
    else
        return &a;
}
template <engine_word T>
umint* limbs_of(T& a) {
    return const_cast<umint*>(limbs_of(std::as_const(a)));
}

/** The value of one word, or of two words (low, high). */
template <engine_word T>
mpz_class as_mpz(const T& a) {
    return mpz_of(limbs_of(a), limbs_v<T>);
}
template <engine_word T>
mpz_class as_mpz(const T& lo, const T& hi) {
    return (as_mpz(hi) << static_cast<mp_bitcnt_t>(width_v<T>)) + as_mpz(lo);
}

/** The low N bits of z (of its two's complement when z is negative). */
template <engine_word T>
T as_word(const mpz_class& z) {
    T a(0);
    write_limbs(z, limbs_of(a), limbs_v<T>);
    return a;
}

}  // namespace kesh::test
