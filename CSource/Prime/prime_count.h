/**
 * @file   prime_count.h
 * @brief  Exports that call primecount: pi(x), the n-th prime and the partial sieve function, on the calling thread or
 *         as asynchronous tasks that report through the host's events, and pi(x) of decimal strings.
 *
 * All have the host's calling convention. With a wrong number of arguments they return 6 and read and write nothing;
 * functions without arguments ignore all arguments that are passed. docs/prime-counting.md describes tasks, progress
 * and cancellation as a user sees them.
 */
#pragma once

#include "Tools/kesh.h"

/** (n): pi(n), 0 for negative n. Calls the host's AbortQ while it counts; 6 after an abort. O(n^(2/3) / log^2 n). */
KESH_EXPORT int PrimeCount_PrimePi(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (n): the n-th prime, for 1 <= n <= 216289611853439384, 6 beyond. Calls AbortQ as PrimeCount_PrimePi does. */
KESH_EXPORT int PrimeCount_Prime(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (a, b): phi(a, b), the number of integers in [1, a] that none of the first b primes divides. */
KESH_EXPORT int PrimeCount_Coprime(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/**
 * (n): pi(n) by the algorithm named. These functions install no callback: they use the callback that the last other
 * count installed. If that callback ends the count, an exception leaves the export.
 */
KESH_EXPORT int PrimeCount_Meissel(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeCount_DelegliseRivat(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeCount_Legendre(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeCount_Lehmer(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeCount_LMO(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);
KESH_EXPORT int PrimeCount_PrimeSieve(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (): the number of threads that a count uses. */
KESH_EXPORT int PrimeCount_GetThreads(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (n): sets the number of threads to the low 32 bits of n, clamped by primecount, and returns the new number. */
KESH_EXPORT int PrimeCount_SetThreads(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/**
 * (x as a decimal string): pi(x) as a decimal string, for x up to 3.0258 10^31; 6 after an abort, on malformed
 * text and on larger x. The result stays valid until the next successful call. Calls AbortQ as PrimeCount_PrimePi does.
 */
KESH_EXPORT int PrimeCount_ExprPrimePi(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res);

/** (): a new task of the host, to which one count can be submitted. */
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
