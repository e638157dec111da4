/**
 * @file   interposed.h
 * @brief  The common parts of the functions that replace libprimecount's own.
 *
 * libprimecount calls its own functions through its procedure linkage table. This library links to it and so comes
 * first in the lookup order: a function here with the same mangled name is called instead, and it reaches the original
 * through `RTLD_NEXT`. Each function has C linkage and that mangled name; a member function has the object as its first
 * argument, as the ABI passes it. So one binary can hold the functions of all versions, although their classes differ.
 *
 * Each version of primecount calls the functions that it has itself; the others are unused. Each file contains the
 * functions that were new in the version in its name; `interposed-symbols.txt` lists which version has which. A count
 * that was not started through this library is passed on unchanged.
 */
#pragma once

#include <dlfcn.h>

#include <cstdint>

#include "expression.h"  // int128_t
#include "running_count.h"

namespace kesh::counting {

#define KESH_INTERPOSED extern "C" __attribute__((visibility("default")))

/** libprimecount's own definition of the interposed function of this name; null if its version has none. */
template <typename Function>
Function* original(const char* mangled_name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, mangled_name));
}

/** The beginning of the state of one thread in the A and C formulas (since 7.12), or in S2 and D. */
struct ThreadData {
    int64_t low;
};

/**
 * One request for work. If the balancer belongs to a count of ours, that count notices the request and may end. `take`
 * asks the original balancer and returns whether there was work; `low` is where the work begins.
 *
 * A nested count runs to its end even if the whole count is to end: the A and C formulas use its result as the index of
 * a prime, and a wrong one would be an index out of bounds. A nested count takes some hundredths of a second at most if
 * the whole count is of 64 bits, and longer for larger x.
 */
template <typename Take>
bool hand_out(const void* balancer, RunningCount::Hook hook, const int64_t& low, Take take) {
    RunningCount* const owner = RunningCount::enlist(balancer);
    if (owner == nullptr) return take();
    owner->saw(hook);
    if (!owner->ended() && take() && owner->begin_item(low)) return true;
    RunningCount::stop_serving();
    return false;
}

/**
 * The calling thread builds the balancer of the hard special leaves. Returns the number of threads to pass to it: for
 * one thread the first item would be half of the range.
 */
int begin_hard_leaves(const void* balancer, int64_t sieve_limit, int threads);

/**
 * The remaining time to report to the balancer of the hard special leaves, which sizes its items by it: each is to take
 * a third of it, or 20 times its own set-up if that is more. So items take 0.1 s instead of many seconds; measured at
 * 10^17, the extra set-up costs less than 2 % of the phase.
 */
double remaining_for_items(const void* balancer, double seconds);

/** Whether libprimecount ends the process when a result is wrong. */
bool results_are_checked();

}  // namespace kesh::counting
