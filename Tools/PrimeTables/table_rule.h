/**
 * @file   table_rule.h
 * @brief  The rule that fixes the second base of the 64-bit primality test in every bucket of its hash.
 *
 * The test needs a base that clears the base-2 strong pseudoprimes of its bucket from 2^32 to 2^49 alone, and those
 * from 2^49 up with the third base that it names. The rule of the table asks for more if possible: see least_base().
 */
#pragma once

#include <array>
#include <vector>

#include "buckets.h"

namespace prime_tables {

/** The third base of the test, named by the top three bits of the second. */
constexpr std::array<u32, 8> third_bases = {15, 135, 13, 60, 15, 117, 65, 29};
constexpr std::size_t third_index(u32 base) {
    return base >> 13;
}

/** From here up the test uses the third base. */
constexpr u64 third_base_from = u64{1} << 49;
/** A base with margin clears the pseudoprimes below this alone. */
constexpr u64 third_base_from_with_margin = u64{1} << 50;
/** Bases with margin are below this. */
constexpr u32 bases_with_margin = 5 << 13;

/**
 * True when the second base, or from `third_from` on the third base that it names, proves the base-2 strong
 * pseudoprime n composite.
 */
bool clears(u32 base, u64 n, u64 third_from);

class LowBucket;

/** Bases first <= b < end. */
struct BaseRange {
    u32 first;
    u32 end;
};

/**
 * The least base of the range that clears all given base-2 strong pseudoprimes of a bucket; with a low bucket, only a
 * base that clears its composites alone as well, whether or not they pass base 2. 0 when there is none.
 */
u32 least_clearing_base(const std::vector<u64>& pseudoprimes, u64 third_from, BaseRange range, const LowBucket* low);

/**
 * The entry of the table: the least base below 5 * 2^13 with margin, that is, one which alone clears every odd
 * composite between 2^16 and 2^32 and every base-2 strong pseudoprime below 2^50 of the bucket. If there is none, the
 * first base that does what the test needs: those below 5 * 2^13 are tried first, then those with third base 65, 117
 * and 29, each in ascending order. 0 if there is no such base either.
 */
u32 least_base(u32 bucket, const std::vector<u64>& pseudoprimes);

}  // namespace prime_tables
