/**
 * @file   kesh_prime.h
 * @brief  The functions of libVelmoraKesh that programs outside the host call: primality of integers of up to 1024
 * bits, one or many per call, and the next and previous prime. For C and C++.
 *
 * An integer is an array of len limbs of 64 bits each, least significant limb first, 1 <= len <= 16; zero limbs on top
 * change nothing. Below 2^64 every result is exact. From 2^64 up the Baillie-PSW test decides: "not prime" is proven,
 * and no composite number is known that passes as prime.
 *
 * Every function may be called from any number of threads at once. The first call with a number of 2^64 or more builds
 * a table of a few megabytes (about a millisecond), and the first searches for primes build another one, of which 128
 * bits need less than 20 kilobytes, and 1024 bits up to 6 megabytes (up to 4 milliseconds).
 */
#ifndef KESH_PRIME_H
#define KESH_PRIME_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The codes that the functions return. */
enum {
    KESH_BAD_ARGUMENT = 0, /**< len outside 1 ... 16, a negative count, a null pointer: nothing was written */
    KESH_DONE = 1,
    KESH_STOPPED = 2, /**< the progress callback asked to stop */
    KESH_NO_PRIME = 3 /**< there is no such prime, or none that fits into len limbs */
};

/**
 * Tests the integer of len limbs at n.
 *
 * Returns 1 and sets *r to 1 (prime) or 0 (not prime). Returns 0 and does not write *r when len is not in 1 ... 16. n
 * must point to len readable limbs; limbs above them are not read.
 */
int KESH_PrimeQ(const uint64_t* n, int64_t len, int* r);

/**
 * Tests count integers of len limbs each, stored one after the other at n: verdicts[i] becomes 1 if integer i is prime,
 * else 0. The verdicts are the same as those of KESH_PrimeQ, but the call takes less time than single calls. Sizes may
 * differ within a call; the time for each integer depends on its own size. No allocation grows with count.
 *
 * Returns KESH_DONE, or KESH_BAD_ARGUMENT. n and verdicts may be null when count is 0.
 */
int KESH_ArePrime(const uint64_t* n, int64_t len, int64_t count, uint8_t* verdicts);

/**
 * A progress callback: done of total integers are finished, 0 at first. It returns 0 to continue; any other value stops
 * the call within a tenth of a second, and the callback is not called again. It runs on the thread that made the call,
 * and must not throw.
 */
typedef int (*KESH_Progress)(void* data, int64_t done, int64_t total);

/**
 * KESH_ArePrime on `threads` threads, including the calling one; 0 means one per processor. progress may be null.
 *
 * Returns KESH_DONE; KESH_STOPPED when the callback asked to stop (then only some of the verdicts are written, and the
 * caller cannot know which); or KESH_BAD_ARGUMENT, also for a negative number of threads. If the system cannot start a
 * thread, the existing threads do the work.
 */
int KESH_ArePrimeOnThreads(const uint64_t* n, int64_t len, int64_t count, uint8_t* verdicts, int threads,
                           KESH_Progress progress, void* data);

/**
 * Sets the len limbs at r to the smallest prime above the integer at n. r may be n.
 * Returns KESH_DONE; KESH_NO_PRIME when that prime has more than len limbs (r is not written); or KESH_BAD_ARGUMENT.
 */
int KESH_NextPrime(const uint64_t* n, int64_t len, uint64_t* r);

/**
 * Sets the len limbs at r to the largest prime below the integer at n. r may be n.
 * Returns KESH_DONE; KESH_NO_PRIME when n is 2 or less (r is not written); or KESH_BAD_ARGUMENT.
 */
int KESH_PreviousPrime(const uint64_t* n, int64_t len, uint64_t* r);

/**
 * Writes the count smallest primes above the integer at n, in increasing order, to r, which has room for count integers
 * of len limbs each and does not overlap n. *found, if found is not null, becomes the number of primes written.
 *
 * progress, if not null, receives the number of primes found so far and count. Returns KESH_DONE; KESH_NO_PRIME when
 * fewer than count primes fit into len limbs; KESH_STOPPED when the callback asked to stop; or KESH_BAD_ARGUMENT. After
 * KESH_NO_PRIME and KESH_STOPPED, the first *found primes are at r.
 */
int KESH_NextPrimes(const uint64_t* n, int64_t len, int64_t count, uint64_t* r, int64_t* found, KESH_Progress progress,
                    void* data);

#ifdef __cplusplus
}
#endif

#endif
