/**
 * @file   bucket_walk.h
 * @brief  Members of an arithmetic progression whose hash lies in a block of neighbouring buckets, without visiting the
 *         others.
 *
 * The hash is linear modulo 2^32 before its shift, so along n = a + t d it advances by a constant c modulo 2^32, and a
 * block of buckets is an interval of it. By the three-gap theorem the steps between successive members inside the
 * interval are r, s or r + s, where r and s are the least steps that move the hash up, or down, by less than the
 * interval's length.
 */
#pragma once

#include <optional>

#include "buckets.h"

namespace prime_tables {

/** Buckets first <= b < first + count. */
struct BucketBlock {
    u32 first = 0;
    u32 count = bucket_count;
    [[nodiscard]] bool contains(u64 n) const {
        return bucket_of(n) - first < count;
    }
};

/**
 * Least t >= 0 with low <= (a * t) mod modulus <= high; nothing when there is none. 0 <= low <= high < modulus <=
 * 2^32.
 */
std::optional<u64> first_in_range(u64 a, u64 modulus, u64 low, u64 high);

class BucketWalk {
  public:
    /** Walks t = 0, 1, 2, ... of n = first + t * difference. */
    BucketWalk(const BucketBlock& block, u64 first, u64 difference);

    /** The next t inside the block, ascending; nothing when no further t is. */
    std::optional<u64> next();

  private:
    /** A number of steps and the distance by which they move the hash. */
    struct Move {
        u64 steps;
        u64 distance;
    };
    void advance(u64 steps);

    u64 length_;    // of the interval of hashes
    u64 step_;      // of the hash, per t
    u64 position_;  // of the hash of member_, relative to the interval
    u64 member_ = 0;
    bool started_ = false;
    std::optional<Move> up_;
    std::optional<Move> down_;
};

}  // namespace prime_tables
