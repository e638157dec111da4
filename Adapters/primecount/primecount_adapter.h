/**
 * @file   primecount_adapter.h
 * @brief  primecount as the counting exports use it: its own header, and the progress callback, the exit call and the
 *         one-argument counting functions if the installed version lacks them.
 *
 * A primecount that has all of them is used as it is: the build finds out and defines KESH_PRIMECOUNT_HAS_HOOKS.
 * Otherwise this folder provides them. It then also defines `pi`, `nth_prime`, `phi` and `pi_primesieve` again for this
 * library only, so that a count started here reports progress, can be ended, and returns 0 for negative x.
 */
#pragma once

#include <cstdint>
#include <primecount.hpp>
#include <string>

#ifndef KESH_PRIMECOUNT_HAS_HOOKS

namespace primecount {

/**
 * Installs the process-wide callback of long computations. It receives the percentage of the work done, on any thread
 * but never on two at once for one count. If it returns true, the count ends. If it throws, the count ends too, and
 * that exception leaves the counting call in place of `primecount_error`. Null removes the callback.
 */
void set_callback(bool (*callback)(double percent));

/**
 * Asks all counts that are running to end (true), or withdraws earlier requests for the calling thread (false).
 *
 * An ended count throws `primecount_error`. A request made while no count runs has no effect, also on later counts. A
 * thread that withdraws requests and then counts is regarded as counting from the withdrawal on, so that a request
 * between the two is not lost.
 */
void set_exitcall(bool request);

/** pi(x) of text as text. Version 8 reads no text itself, so its header lacks the declaration. */
std::string pi(const std::string& text);  // NOLINT(readability-redundant-declaration)

/** pi(x) by one algorithm, on `get_num_threads()` threads. 0 for x < 2. */
int64_t pi_meissel(int64_t x);
int64_t pi_deleglise_rivat(int64_t x);
int64_t pi_legendre(int64_t x);
int64_t pi_lehmer(int64_t x);
int64_t pi_lmo(int64_t x);
int64_t pi_primesieve(int64_t x);

}  // namespace primecount

#endif
