/**
 * @file   interposed.cpp
 * @brief  The functions of libprimecount that are defined anew here, so that its own calls to them pass through us.
 *
 * libprimecount calls its own functions through its procedure linkage table. This library stands before it in the
 * lookup order (it links to it), so the definitions below are the ones that are called; each reaches the original
 * through `RTLD_NEXT`. The declarations repeat primecount 7's signatures: from them the compiler makes the mangled
 * names that `interposed-symbols.txt` lists. The classes show no members because none is touched here.
 *
 * A count that was not started through this library passes straight through.
 */
#include <dlfcn.h>

#include <algorithm>
#include <cstdint>

#include "running_count.h"

using kesh::counting::RunningCount;

// The signatures need primecount's 128-bit integer.
__extension__ typedef __int128 int128_t;

#define KESH_INTERPOSED __attribute__((visibility("default")))

namespace primecount {

/** The state of one thread in the S2 and D phases. Only its beginning is of interest. */
struct ThreadData {
    int64_t low;
};

/** Hands out [0, sqrt x] in the A and C formulas. */
class KESH_INTERPOSED LoadBalancerAC {
  public:
    LoadBalancerAC(int64_t sqrtx, int64_t y, int threads, bool is_print);
    bool get_work(int64_t& low, int64_t& high);
};

/** Hands out [sqrt x, x / y] in the P2 and B formulas. */
class KESH_INTERPOSED LoadBalancerP2 {
  public:
    LoadBalancerP2(int128_t x, int64_t sieve_limit, int threads, bool is_print);
    bool get_work(int64_t& low, int64_t& high);
    int get_threads() const;
};

/** Hands out the sieving range of the hard special leaves (S2_hard, D). */
class KESH_INTERPOSED LoadBalancerS2 {
  public:
    LoadBalancerS2(int128_t x, int64_t sieve_limit, int128_t sum_approx, int threads, bool is_print);
    bool get_work(ThreadData& thread);
    double remaining_secs() const;
};

KESH_INTERPOSED int64_t pi(int64_t x, int threads);
KESH_INTERPOSED int64_t pi_noprint(int64_t x, int threads);

}  // namespace primecount

namespace {

/** libprimecount's own definition of an interposed function. */
template <typename Function>
Function* original(const char* mangled_name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, mangled_name));
}

/**
 * One request for work. The owner of the balancer, if it is a count of ours, learns of it and may end. `take` asks the
 * original balancer and returns whether there was work, `low` is where it begins.
 *
 * A nested count runs to its end, also where the whole is to end: the A and C formulas look primes up by the number
 * that it gives them, and a wrong one leads out of the tables. It takes some hundredths of a second at most where
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

}  // namespace

namespace primecount {

LoadBalancerAC::LoadBalancerAC(int64_t sqrtx, int64_t y, int threads, bool is_print) {
    static const auto construct =
        original<void(LoadBalancerAC*, int64_t, int64_t, int, bool)>("_ZN10primecount14LoadBalancerACC1Ellib");
    if (RunningCount* const count = RunningCount::called_here()) {
        count->saw(RunningCount::hook_ac);
        count->begin_phase(RunningCount::Phase::ac, this, sqrtx, y);
        // A single thread would be given segments that take up to a minute, with nothing to poll in between. The
        // team has the size that the caller asked for, whatever the balancer believes.
        threads = std::max(threads, 2);
    }
    construct(this, sqrtx, y, threads, is_print);
}

bool LoadBalancerAC::get_work(int64_t& low, int64_t& high) {
    static const auto take =
        original<bool(LoadBalancerAC*, int64_t&, int64_t&)>("_ZN10primecount14LoadBalancerAC8get_workERlS1_");
    return hand_out(this, RunningCount::hook_ac_work, low, [&] { return take(this, low, high); });
}

LoadBalancerP2::LoadBalancerP2(int128_t x, int64_t sieve_limit, int threads, bool is_print) {
    static const auto construct =
        original<void(LoadBalancerP2*, int128_t, int64_t, int, bool)>("_ZN10primecount14LoadBalancerP2C1Enlib");
    if (RunningCount* const count = RunningCount::called_here()) {
        count->saw(RunningCount::hook_p2);
        count->begin_phase(RunningCount::Phase::p2, this, sieve_limit);
        count->set_team_size(threads);
        // An item is an eighth of a thread's share of the range, and nothing polls in between: more threads than there
        // are make it shorter. Each item costs one pi(low), so only long ranges are cut finer: a range of 2^32 takes
        // about half a second.
        threads = std::max(threads, static_cast<int>(std::min<int64_t>(16, 2 + (sieve_limit >> 32))));
    }
    construct(this, x, sieve_limit, threads, is_print);
}

bool LoadBalancerP2::get_work(int64_t& low, int64_t& high) {
    static const auto take =
        original<bool(LoadBalancerP2*, int64_t&, int64_t&)>("_ZN10primecount14LoadBalancerP28get_workERlS1_");
    return hand_out(this, RunningCount::hook_p2_work, low, [&] { return take(this, low, high); });
}

int LoadBalancerP2::get_threads() const {
    static const auto threads = original<int(const LoadBalancerP2*)>("_ZNK10primecount14LoadBalancerP211get_threadsEv");
    RunningCount* const count = RunningCount::called_here();
    if (count == nullptr) return threads(this);
    count->saw(RunningCount::hook_p2_threads);
    return std::min(count->team_size(), threads(this));
}

LoadBalancerS2::LoadBalancerS2(int128_t x, int64_t sieve_limit, int128_t sum_approx, int threads, bool is_print) {
    static const auto construct = original<void(LoadBalancerS2*, int128_t, int64_t, int128_t, int, bool)>(
        "_ZN10primecount14LoadBalancerS2C1Enlnib");
    if (RunningCount* const count = RunningCount::called_here()) {
        count->saw(RunningCount::hook_s2);
        count->begin_phase(RunningCount::Phase::s2, this, sieve_limit);
        threads = std::max(threads, 2);  // as in AC: half of a single thread's range would be its first item
    }
    construct(this, x, sieve_limit, sum_approx, threads, is_print);
}

bool LoadBalancerS2::get_work(ThreadData& thread) {
    static const auto take =
        original<bool(LoadBalancerS2*, ThreadData&)>("_ZN10primecount14LoadBalancerS28get_workERNS_10ThreadDataE");
    return hand_out(this, RunningCount::hook_s2_work, thread.low, [&] { return take(this, thread); });
}

/**
 * The estimate from which the balancer sizes its items: each is to take a third of it, or 20 times its own set-up where
 * that is more. Hence items of 0.1 s instead of many seconds; measured at 10^17, the extra set-up costs less than 2 %
 * of the phase.
 */
double LoadBalancerS2::remaining_secs() const {
    static const auto estimate =
        original<double(const LoadBalancerS2*)>("_ZNK10primecount14LoadBalancerS214remaining_secsEv");
    const double seconds = estimate(this);
    return RunningCount::enlist(this) == nullptr ? seconds : std::min(seconds, 0.3);
}

/** pi(x) as the whole count or as the longest part of an n-th prime, which must not go on from a wrong number. */
int64_t pi(int64_t x, int threads) {
    static const auto count_primes = original<int64_t(int64_t, int)>("_ZN10primecount2piEli");
    RunningCount* const count = RunningCount::called_here();
    const int64_t result = count_primes(x, threads);
    if (count != nullptr) {
        count->saw(RunningCount::hook_pi);
        count->throw_if_ended();
    }
    return result;
}

/** pi of a bound that a count needs on its way. */
int64_t pi_noprint(int64_t x, int threads) {
    static const auto count_primes = original<int64_t(int64_t, int)>("_ZN10primecount10pi_noprintEli");
    RunningCount* const count = RunningCount::called_here();
    if (count == nullptr) return count_primes(x, threads);
    count->saw(RunningCount::hook_pi_nested);
    const RunningCount::Nested nested(*count);
    return count_primes(x, threads);
}

}  // namespace primecount
