/**
 * @file   prime_next.h
 * @brief  The next and the previous prime of integers of up to 1024 bits, and walks over many primes: candidates are
 *         sieved in windows, and the remaining ones are tested in batches.
 */
#pragma once

#include "Shared/intx/intx_types.h"
#include "Tools/kesh.h"
#include "kesh_prime.h"

KESH_EXPORT int KESH_NextPrime(const std::uint64_t* n, std::int64_t len, std::uint64_t* r);

KESH_EXPORT int KESH_PreviousPrime(const std::uint64_t* n, std::int64_t len, std::uint64_t* r);

KESH_EXPORT int KESH_NextPrimes(const std::uint64_t* n, std::int64_t len, std::int64_t count, std::uint64_t* r,
                                std::int64_t* found, KESH_Progress progress, void* data);
