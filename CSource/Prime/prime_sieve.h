/**
 * @file   prime_sieve.h
 * @brief  Exports that call primesieve: counts of primes and prime k-tuplets, the n-th prime, neighbouring primes, sums
 *         and lists of primes, on 64-bit ranges.
 *
 * All have the host's calling convention and require exactly the arguments named. With any other number of arguments
 * they return 6 and read and write nothing. Integer arguments reach primesieve as 64-bit patterns, so a negative bound
 * is one of 2^63 or more; results of 2^63 and above reach the host as negative integers. Bounds are not checked and
 * exceptions are not caught: what primesieve throws (`primesieve::primesieve_error`) leaves the export.
 */
#pragma once

#include "Tools/kesh.h"

/**
 * (n): the n-th prime; for n <= 0 primesieve decides. O(n log n log log n) at most: the sieve runs to the n-th prime.
 */
KESH_EXPORT int PrimeSieve_NthPrime(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (a, b): the number of primes in [a, b]; 0 if a > b. */
KESH_EXPORT int PrimeSieve_CountPrimes(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (a, b): the number of prime twins, triplets, ..., sextuplets that lie in [a, b]. */
KESH_EXPORT int PrimeSieve_CountTwins(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeSieve_CountTriplets(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeSieve_CountQuadruplets(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeSieve_CountQuintuplets(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeSieve_CountSextuplets(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (n): the smallest prime > n. */
KESH_EXPORT int PrimeSieve_NextPrime(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (n): the largest prime < n, 0 if there is none. */
KESH_EXPORT int PrimeSieve_PreviousPrime(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (n, k): the k-th prime after n. For k <= 0 the function looks for no prime: it succeeds, and the result is 0. */
KESH_EXPORT int PrimeSieve_NextKthPrime(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (n, k): the k-th prime before n, 0 if there is none or if k <= 0. */
KESH_EXPORT int PrimeSieve_PreviousKthPrime(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (n): the sum of the primes < n, modulo 2^64. */
KESH_EXPORT int PrimeSieve_PrimeSum(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/**
 * (a, b): the sum of the primes in [a, b], modulo 2^64, for a >= 1 and b < 2^64 - 59, the last 64-bit prime. The ends
 * are not checked: a = 0 starts the walk at the top of the 64-bit range, and a walk past 2^64 - 59 needs a prime above
 * it; primesieve throws in both cases. b = -1 ends the walk before its first step, and the result is 0 if
 * a <= 2^64 - 59.
 */
KESH_EXPORT int PrimeSieve_PrimeSumInterval(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/**
 * (a, b): the primes in [a, b] as an integer tensor of rank 1, each narrowed to its low 32 bits and sign-extended:
 * primes up to 2^31 - 1 arrive unchanged. If `MTensor_new` fails, its code is returned and the result slot is not
 * written. Memory: 4 bytes per prime for the collection and 8 for the tensor.
 */
KESH_EXPORT int PrimeSieve_ListPrimes(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (n): the first n primes as such a tensor. For a negative n the vector's `reserve` throws std::length_error. */
KESH_EXPORT int PrimeSieve_ListNPrimes(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
