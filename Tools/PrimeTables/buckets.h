/**
 * @file   buckets.h
 * @brief  The hash by which the 64-bit test finds its second base: numbers with the same hash are a bucket.
 */
#pragma once

#include "strong_test.h"

namespace prime_tables {

constexpr u32 bucket_count = 16384;
constexpr u32 hash_multiplier = 0xAD625B89;

/** Bucket of n: the top 14 bits of the low 32 bits times a fixed multiplier. */
constexpr u32 bucket_of(u64 n) {
    return (static_cast<u32>(n) * hash_multiplier) >> 18;
}

}  // namespace prime_tables
