/**
 * @file   prime_count.h
 * @brief  Exports over primecount: pi(x), the n-th prime and the partial sieve function, on the calling thread or as
 *         asynchronous tasks that report through the host's events, and pi(x) of decimal strings.
 *
 * All have the host's calling convention. A count of arguments other than the one named returns 6 with nothing read
 * or written; functions without arguments ignore whatever is passed. docs/prime-counting.md describes tasks, progress
 * and cancellation as a user sees them.
 */
#pragma once

#include "Tools/kesh.h"

/** (n): pi(n), 0 for negative n. Asks the host's AbortQ while it counts; 6 after an abort. O(n^(2/3) / log^2 n). */
KESH_EXPORT int PrimeCount_PrimePi(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (n): the n-th prime, for 1 <= n <= 216289611853439384, 6 beyond. Asks AbortQ as PrimeCount_PrimePi does. */
KESH_EXPORT int PrimeCount_Prime(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (a, b): phi(a, b), the number of integers in [1, a] that none of the first b primes divides. */
KESH_EXPORT int PrimeCount_Coprime(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/**
 * (n): pi(n) by the algorithm named. These install no callback: they run under the one that the last other count
 * left, and what it ends leaves the export as an exception.
 */
KESH_EXPORT int PrimeCount_Meissel(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeCount_DelegliseRivat(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeCount_Legendre(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeCount_Lehmer(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeCount_LMO(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeCount_PrimeSieve(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (): the number of threads that a count uses. */
KESH_EXPORT int PrimeCount_GetThreads(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (n): sets it to the low 32 bits of n, as far as primecount accepts them, and returns what it then is. */
KESH_EXPORT int PrimeCount_SetThreads(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/**
 * (x as a decimal string): pi(x) as a decimal string, for x up to 3.0258 10^31; 6 after an abort, on malformed
 * text and on larger x. The result stays valid until the next successful call. Asks AbortQ as PrimeCount_PrimePi does.
 */
KESH_EXPORT int PrimeCount_ExprPrimePi(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (): a new task of the host's, to which one count can be submitted. */
KESH_EXPORT int PrimeCount_CreateTask(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/**
 * (task, n): starts pi(n), the n-th prime, or pi of a decimal string on a thread of its own and returns at once. The
 * task receives "Status" events with a percentage, then one "Result" or one "Error" ("$Failed"), and is then removed.
 * Counts run one at a time. The result slot is not written.
 */
KESH_EXPORT int PrimeCount_SubmitPrimePi(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeCount_SubmitPrime(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeCount_SubmitExprPrimePi(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (): ends the count that is running. Queued tasks are not affected. */
KESH_EXPORT int PrimeCount_StopTask(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
