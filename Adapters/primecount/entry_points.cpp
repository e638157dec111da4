/**
 * @file   entry_points.cpp
 * @brief  The counting functions that the exports call: each is the outermost call of one count.
 *
 * Some of these names are also declared by primecount's header. They are defined here for this library alone (they are
 * not exported): the exports call these definitions; libprimecount and everyone else use libprimecount's.
 */
#include <algorithm>
#include <cmath>
#include <primesieve.hpp>
#include <string>

#include "expression.h"
#include "interposed.h"
#include "primecount_adapter.h"
#include "running_count.h"

// Functions that libprimecount exports and its public header does not declare.
using kesh::counting::int128_t;
namespace primecount {
int64_t pi(int64_t x, int threads);
int128_t pi(int128_t x, int threads);
int64_t nth_prime(int64_t n, int threads);
int64_t phi(int64_t x, int64_t a, int threads, bool is_print);
int64_t pi_meissel(int64_t x, int threads, bool is_print);
int64_t pi_legendre(int64_t x, int threads, bool is_print);
int64_t pi_lehmer(int64_t x, int threads, bool is_print);
int64_t pi_lmo_parallel(int64_t x, int threads, bool is_print);
int64_t pi_deleglise_rivat(int64_t x, int threads);
}  // namespace primecount

namespace {

using kesh::counting::RunningCount;

/**
 * Whether primecount's calls arrive at the interposed functions; one small count finds this out.
 *
 * They do not if something else in the process has loaded libprimecount before this library: its calls are already
 * bound then. Nor do they if the libprimecount found at run time works differently from the one that the library was
 * built with. In both cases counts run without progress and cannot be ended.
 */
bool hooks_reach_primecount() {
    static const bool reached = [] {
        RunningCount probe(RunningCount::Purpose::probe);
        if (!kesh::counting::results_are_checked()) probe.saw(RunningCount::hook_check);
        return primecount::pi(int64_t{300'000'000}, 1) == 16'252'325 && probe.saw_all_hooks();
    }();
    return reached;
}

/** Runs one count that can report and be ended. */
template <typename Count>
auto supervised(Count count) {
    if (!hooks_reach_primecount()) return count();
    RunningCount running;
    running.throw_if_ended();
    auto result = count();
    running.finish();
    return result;
}

/** pi(x) by the sieve alone, in slices that are short, so that the count can stop between them. */
int64_t count_by_slices(RunningCount& running, int64_t x) {
    // Each slice begins by sieving the primes up to its end's root, so the slice has to be much longer than that.
    const auto slice = std::max<int64_t>(2'000'000'000, 30 * static_cast<int64_t>(std::sqrt(static_cast<double>(x))));
    uint64_t count = 0;
    for (int64_t low = 0;; low += slice) {
        running.report(100 * static_cast<double>(low) / static_cast<double>(x));
        running.throw_if_ended();
        if (x - low < slice)
            return static_cast<int64_t>(count +
                                        primesieve::count_primes(static_cast<uint64_t>(low), static_cast<uint64_t>(x)));
        count += primesieve::count_primes(static_cast<uint64_t>(low), static_cast<uint64_t>(low + slice - 1));
    }
}

}  // namespace

namespace primecount {

void set_callback(bool (*callback)(double percent)) {
    RunningCount::install_callback(callback);
}

void set_exitcall(bool request) {
    if (request) {
        RunningCount::request_end();
    } else {
        RunningCount::withdraw_requests();
    }
}

// For small x libprimecount reads pi(x) from a table; a negative x is outside of it.
int64_t pi(int64_t x) {
    if (x < 2) return 0;
    return supervised([=] { return pi(x, get_num_threads()); });
}

// The text is read here because libprimecount 7 wraps modulo 2^128 while it reads, and libprimecount 8 reads no text.
std::string pi(const std::string& text) {
    const int128_t x = kesh::counting::evaluate(text);
    if (x < 2) return "0";
    return kesh::counting::to_decimal(supervised([=] { return pi(x, get_num_threads()); }));
}

int64_t nth_prime(int64_t n) {
    return supervised([=] { return nth_prime(n, get_num_threads()); });
}

int64_t phi(int64_t x, int64_t a) {
    return supervised([=] { return phi(x, a, get_num_threads(), false); });
}

int64_t pi_meissel(int64_t x) {
    return supervised([=] { return pi_meissel(x, get_num_threads(), false); });
}

int64_t pi_deleglise_rivat(int64_t x) {
    return supervised([=] { return pi_deleglise_rivat(x, get_num_threads()); });
}

int64_t pi_legendre(int64_t x) {
    return supervised([=] { return pi_legendre(x, get_num_threads(), false); });
}

int64_t pi_lehmer(int64_t x) {
    return supervised([=] { return pi_lehmer(x, get_num_threads(), false); });
}

int64_t pi_lmo(int64_t x) {
    return supervised([=] { return pi_lmo_parallel(x, get_num_threads(), false); });
}

int64_t pi_primesieve(int64_t x) {
    if (x < 2) return 0;
    RunningCount running;
    running.throw_if_ended();
    const int64_t result = count_by_slices(running, x);
    running.finish();
    return result;
}

}  // namespace primecount
