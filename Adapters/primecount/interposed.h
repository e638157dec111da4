/**
 * @file   interposed.h
 * @brief  What the functions that stand in for libprimecount's own share.
 *
 * libprimecount calls its own functions through its procedure linkage table. This library stands before it in the
 * lookup order (it links to it), so a function here that has the same mangled name is the one that is called; it
 * reaches the original through `RTLD_NEXT`. Each is written with C linkage under that very name, a member function with
 * the object as its first argument, as the ABI passes it: so the functions of all versions stand side by side, whatever
 * the classes of one version look like.
 *
 * A version of primecount calls those that it has itself, the others lie idle. Each file holds what came new with the
 * version in its name; `interposed-symbols.txt` lists which version has which. A count that was not started through
 * this library passes straight through.
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

/** The state of one thread in the A and C formulas (since 7.12), or in S2 and D. Only its beginning is of interest. */
struct ThreadData {
    int64_t low;
};

/**
 * One request for work. The owner of the balancer, if it is a count of ours, learns of it and may end. `take` asks the
 * original balancer and returns whether there was work, `low` is where it begins.
 *
 * A nested count runs to its end, also if the whole is to end: the A and C formulas look primes up by the number
 * that it returns, and a wrong one would be an index out of bounds. It takes some hundredths of a second at most if
 * the whole is one of 64 bits, and longer the farther beyond.
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
 * The calling thread builds the balancer of the hard special leaves. Returns the number of threads to tell it: half of
 * a single thread's range would be its first item.
 */
int begin_hard_leaves(const void* balancer, int64_t sieve_limit, int threads);

/**
 * The remaining time, as the balancer of the hard special leaves is to see it. It sizes its items by that: each is to
 * take a third of it, or 20 times its own set-up where that is more. Hence items of 0.1 s instead of many seconds;
 * measured at 10^17, the extra set-up costs less than 2 % of the phase.
 */
double remaining_for_items(const void* balancer, double seconds);

/** Whether libprimecount ends the process over a wrong result. */
bool results_are_checked();

}  // namespace kesh::counting
