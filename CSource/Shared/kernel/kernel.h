/**
 * @file   kernel.h
 * @brief  The hot loops of the wide primality tests on plain limb arrays, with CPU-specific forms chosen at run time.
 *
 * Every function returns the same bits at every level, and the same bits as the generic templates of the integer
 * engine: residues are fully reduced and in Montgomery form with R = 2^(64 n). Limb arrays are least significant limb
 * first; n, the number of limbs, is 2 to 16. README.md in this folder describes how each level works and what it costs.
 */
#pragma once

#include <cstdint>
#include <span>

#include "Shared/intx/level.h"

namespace kesh::kernel {

template <int n>
concept supported_limbs = 2 <= n && n <= 16;

/**
 * One odd modulus and the constants for Montgomery arithmetic modulo it. No kernel needs R^2. The assembly of the level
 * adx knows the order of the members.
 */
template <int n>
    requires supported_limbs<n>
struct Modulus {
    umint twice[n];       ///< 2 m modulo 2^(64 n)
    umint m[n];           ///< the modulus, odd, above 1
    umint zero[n];        ///< 0; the loops select the value that they add, from 2 m to R - m, by its address
    umint complement[n];  ///< R - m
    umint mu[n];          ///< (m k + 1) / 2^64, a rounded-up m k / 2^64
    umint r1[n];          ///< R mod m, the Montgomery form of 1
    umint k;              ///< -m^(-1) mod 2^64
    umint inverse;        ///< m^(-1) mod 2^64
    umint inverse_high;   ///< the upper limb of m^(-1) mod 2^128

    /** Cost: n limb products, and one division by the highest limb for each 64 bits that m is shorter than R. */
    explicit Modulus(const umint* modulus) noexcept;
};

/** r = a b / R mod m. Preconditions: a < m, b < m. r may be a or b. */
template <int n>
void mont_mul(umint* r, const umint* a, const umint* b, const Modulus<n>& modulus) noexcept;

/** r = a^2 / R mod m. Precondition: a < m. r may be a. */
template <int n>
void mont_sqr(umint* r, const umint* a, const Modulus<n>& modulus) noexcept;

/** x = 2^e R mod m, for any n-limb e. Left to right: one squaring per bit of e. */
template <int n>
void pow2(umint* x, const umint* e, const Modulus<n>& modulus) noexcept;

/**
 * The Lucas sequence V with parameters (a, 1) at e and e + 1: l = V(e), h = V(e + 1), where a, l and h are in
 * Montgomery form. Preconditions: a < m, e != 0. One product and one squaring per bit of e.
 */
template <int n>
void lucas_ladder(umint* l, umint* h, const umint* a, const umint* e, const Modulus<n>& modulus) noexcept;

/** Whether m is a strong probable prime to base 2. Precondition: m > 3. */
template <int n>
[[nodiscard]] bool strong_base2(const Modulus<n>& modulus) noexcept;

/**
 * The Lucas condition U(m + 1) = 0 modulo m of the sequence with P = 1 and the given Q, evaluated by the ladder over V
 * with a = 1/Q - 2; precisely: D U(m + 1) = 0 with D = 1 - 4 Q, which is the same if D is prime to m, as when
 * (D/m) = -1. If Q has a factor in common with m, 0 is used as its inverse, and the condition holds. Preconditions: Q
 * != 0, and |Q| < 2^63.
 */
template <int n>
[[nodiscard]] bool lucas_u_vanishes(const Modulus<n>& modulus, mint q) noexcept;

/** The largest prime of has_small_factor. */
inline constexpr umint trial_limit = 541;

/**
 * Whether one of the 99 odd primes 3, 5, ..., 541 divides the value of the limbs. Precondition: at most 16 limbs. A
 * prime of the table divides itself: for "proven composite" a caller must pass values above 541.
 */
[[nodiscard]] bool has_small_factor(std::span<const umint> limbs) noexcept;

/** The value of the limbs modulo d. Precondition: d != 0. Cost: one hardware division per limb. */
[[nodiscard]] umint mod_limb(std::span<const umint> limbs, umint d) noexcept;

}  // namespace kesh::kernel
