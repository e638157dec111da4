/**
 * @file   kesh_prime.h
 * @brief  The one function of libVelmoraKesh that programs outside the host call: primality of integers of up to 1024
 *         bits. For C and C++.
 */
#ifndef KESH_PRIME_H
#define KESH_PRIME_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Tests the unsigned integer of len limbs at n, 64 bits each, least significant limb first.
 *
 * Returns 1 and sets *r to 1 (prime) or 0 (not prime). Returns 0 and leaves *r alone when len is not in 1 ... 16.
 * n must point to len readable limbs; limbs above them are not read, and zero limbs on top change nothing.
 *
 * Below 2^64 the answer is exact. From there up it is that of the Baillie-PSW test: "not prime" is proven, and no
 * composite number is known that it calls prime.
 *
 * Safe to call from any number of threads. The first call with a number of 2^64 or more builds a table of a few
 * megabytes (about a millisecond) and is the only one that allocates.
 */
int KESH_PrimeQ(const uint64_t* n, int64_t len, int* r);

#ifdef __cplusplus
}
#endif

#endif
