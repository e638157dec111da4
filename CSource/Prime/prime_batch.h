/**
 * @file   prime_batch.h
 * @brief  Primality of many integers per call: the same verdicts as KESH_PrimeQ, in rounds, with several numbers side
 *         by side. docs/batch.md says what that saves.
 */
#pragma once

#include <limits>

#include "Shared/intx/intx_types.h"
#include "Tools/kesh.h"
#include "kesh_prime.h"

namespace kesh {

/** The largest number of integers in a block; their places and the survivors are kept on the stack. */
inline constexpr mint largest_block = 512;

/** The number of integers of len limbs in a block; it is so small that a block takes milliseconds. */
constexpr mint block_size(mint len) {
    return largest_block / len;
}

class WideBatch;

/**
 * verdicts[i] = 1 when the integer of len limbs at n + i len is prime, else 0, for 0 <= i < count; those of 2^64 and
 * more only after wide.finish(). divided means that no number has a prime factor by which its test divides first; this
 * step is then left out. Preconditions: 1 <= len <= 16, 0 <= count <= largest_block.
 */
void test_block(const umint* n, mint len, mint count, std::uint8_t* verdicts, WideBatch& wide, bool divided = false);

/** A bound on the limbs of any array, less a thousand blocks, so that counting beyond the end cannot overflow. */
inline constexpr mint longest_array =
    std::numeric_limits<mint>::max() / static_cast<mint>(sizeof(umint)) - 1000 * largest_block;

/** len without the zero limbs on top, at least 1. */
inline mint significant_limbs(const umint* n, mint len) {
    while (len > 1 && n[len - 1] == 0) --len;
    return len;
}

}  // namespace kesh

KESH_EXPORT int KESH_ArePrime(const std::uint64_t* n, std::int64_t len, std::int64_t count, std::uint8_t* verdicts);

KESH_EXPORT int KESH_ArePrimeOnThreads(const std::uint64_t* n, std::int64_t len, std::int64_t count,
                                       std::uint8_t* verdicts, int threads, KESH_Progress progress, void* data);
