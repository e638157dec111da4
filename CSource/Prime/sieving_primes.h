/**
 * @file   sieving_primes.h
 * @brief  The primes that sieve a window of odd numbers base, base + 2, ..., and the place of the first multiple of
 * each in it.
 *
 * base + 2 i is a multiple of the odd p when i = -base / 2 modulo p. The primes are taken in groups whose product P is
 * below 2^60. With the weights -2^(64 (j + 1)) / 2 mod P, the sum of the limbs of base times their weights stays below
 * 2^128, and one Montgomery reduction makes a w = -base / 2 modulo P of it. A prime of the group then takes one
 * remainder of w. So a group of three primes or more costs one product a limb and no division.
 */
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "Shared/intx/intx_gcc.h"

namespace kesh {

/** The bound of the sieving primes. */
inline constexpr umint most_sieving_prime = umint{1} << 20;

struct SievingPrime {
    umint p;
    umint reciprocal;  ///< floor(2^64 / p), and of 2^64 - 1 as well, for p is odd

    /** w mod p. With this reciprocal the quotient is right or 1 too small. */
    [[nodiscard]] umint remainder(umint w) const {
        const umint r = w - detail::high_limb(detail::limb_product(w, reciprocal)) * p;
        return std::min(r, r - p);
    }
};

struct SievingGroup {
    umint product;                 ///< P
    umint inverse;                 ///< 1/P mod 2^64
    std::array<umint, 16> weight;  ///< -2^(64 (j + 1)) / 2 mod P
    const SievingPrime* first;
    const SievingPrime* last;  ///< past the last prime

    /** A word that is -base / 2 modulo each prime of the group. Precondition: at most 16 limbs. */
    [[nodiscard]] umint place(std::span<const umint> base) const {
        umint2 sum = 0;
        for (std::size_t j = 0; j < base.size(); ++j) sum += detail::limb_product(base[j], weight[j]);
        return reduce(sum);
    }

    /** sum / 2^64 modulo P, for any sum. The result is below 2^64, not always below P. */
    [[nodiscard]] umint reduce(umint2 sum) const {
        const umint upper = detail::high_limb(sum),
                    part = detail::high_limb(detail::limb_product(detail::low_limb(sum) * inverse, product));
        return upper - part + (upper < part ? product : 0);
    }
};

/**
 * The groups of the odd primes up to limit, in increasing order; the last group may have primes above it. The first
 * ones are of the primes below 64, and a group that begins above 64 has none below. The first call with a limit builds
 * the groups; any number of threads may call. Precondition: 3 <= limit <= most_sieving_prime.
 */
[[nodiscard]] std::span<const SievingGroup> sieving_groups(umint limit);

}  // namespace kesh
