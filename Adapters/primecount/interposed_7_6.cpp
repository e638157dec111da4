/**
 * @file   interposed_7_6.cpp
 * @brief  The functions of libprimecount 7.6 that are replaced; most of them are the same in all later versions.
 */
#include <algorithm>
#include <cmath>

#include "interposed.h"

// NOLINTBEGIN(bugprone-reserved-identifier): the names are libprimecount's

using kesh::counting::hand_out;
using kesh::counting::int128_t;
using kesh::counting::original;
using kesh::counting::RunningCount;
using kesh::counting::ThreadData;

namespace kesh::counting {

int begin_hard_leaves(const void* balancer, int64_t sieve_limit, int threads) {
    RunningCount* const count = RunningCount::called_here();
    if (count == nullptr) return threads;
    count->saw(RunningCount::hook_s2);
    count->begin_phase(RunningCount::Phase::s2, balancer, sieve_limit);
    return count->phase_is_long() ? std::max(threads, 2) : threads;
}

double remaining_for_items(const void* balancer, double seconds) {
    return RunningCount::enlist(balancer) == nullptr ? seconds : std::min(seconds, 0.3);
}

}  // namespace kesh::counting

// --- LoadBalancerAC hands out [0, sqrt x] in the A and C formulas

// LoadBalancerAC::LoadBalancerAC(int64_t sqrtx, int64_t y, int threads, bool is_print)
KESH_INTERPOSED void _ZN10primecount14LoadBalancerACC1Ellib(void* balancer, int64_t sqrtx, int64_t y, int threads,
                                                            bool is_print) {
    static const auto construct = original<void(void*, int64_t, int64_t, int, bool)>(__func__);
    if (RunningCount* const count = RunningCount::called_here()) {
        count->saw(RunningCount::hook_ac);
        count->begin_phase(RunningCount::Phase::ac, balancer, sqrtx, y);
        // A single thread would get segments that take up to a minute, and nothing is polled in between. The number of
        // threads at work is what the caller asked for, whatever the balancer is told.
        if (count->phase_is_long()) threads = std::max(threads, 2);
    }
    construct(balancer, sqrtx, y, threads, is_print);
}

// LoadBalancerAC::get_work(int64_t& low, int64_t& high)
KESH_INTERPOSED bool _ZN10primecount14LoadBalancerAC8get_workERlS1_(void* balancer, int64_t& low, int64_t& high) {
    static const auto take = original<bool(void*, int64_t&, int64_t&)>(__func__);
    return hand_out(balancer, RunningCount::hook_ac_work, low, [&] { return take(balancer, low, high); });
}

// --- LoadBalancerP2 hands out [sqrt x, x / y] in the P2 and B formulas

// LoadBalancerP2::LoadBalancerP2(int128_t x, int64_t sieve_limit, int threads, bool is_print)
KESH_INTERPOSED void _ZN10primecount14LoadBalancerP2C1Enlib(void* balancer, int128_t x, int64_t sieve_limit,
                                                            int threads, bool is_print) {
    static const auto construct = original<void(void*, int128_t, int64_t, int, bool)>(__func__);
    if (RunningCount* const count = RunningCount::called_here()) {
        count->saw(RunningCount::hook_p2);
        count->begin_phase(RunningCount::Phase::p2, balancer, sieve_limit);
        count->set_team_size(threads);
        // An item is an eighth of a thread's share of the range, and nothing is polled in between: a larger number of
        // threads makes it shorter. Each item costs one pi(low), so only long ranges get shorter items: a range of 2^32
        // takes about half a second. Beyond 64 bits pi(low) takes longer, and so do the items.
        if (count->phase_is_long()) {
            const int finer = x <= INT64_MAX ? static_cast<int>(std::min<int64_t>(16, 2 + (sieve_limit >> 32)))
                                             : static_cast<int>(std::cbrt(static_cast<double>(sieve_limit)) / 128);
            threads = std::max(threads, finer);
        }
    }
    construct(balancer, x, sieve_limit, threads, is_print);
}

// LoadBalancerP2::get_work(int64_t& low, int64_t& high)
KESH_INTERPOSED bool _ZN10primecount14LoadBalancerP28get_workERlS1_(void* balancer, int64_t& low, int64_t& high) {
    static const auto take = original<bool(void*, int64_t&, int64_t&)>(__func__);
    return hand_out(balancer, RunningCount::hook_p2_work, low, [&] { return take(balancer, low, high); });
}

// LoadBalancerP2::get_threads() const
KESH_INTERPOSED int _ZNK10primecount14LoadBalancerP211get_threadsEv(const void* balancer) {
    static const auto threads = original<int(const void*)>(__func__);
    RunningCount* const count = RunningCount::called_here();
    if (count == nullptr) return threads(balancer);
    count->saw(RunningCount::hook_p2_threads);
    return std::min(count->team_size(), threads(balancer));
}

// --- LoadBalancerS2 hands out the sieving range of the hard special leaves (S2_hard, D)

// LoadBalancerS2::LoadBalancerS2(int128_t x, int64_t sieve_limit, int128_t sum_approx, int threads, bool is_print)
KESH_INTERPOSED void _ZN10primecount14LoadBalancerS2C1Enlnib(void* balancer, int128_t x, int64_t sieve_limit,
                                                             int128_t sum_approx, int threads, bool is_print) {
    static const auto construct = original<void(void*, int128_t, int64_t, int128_t, int, bool)>(__func__);
    threads = kesh::counting::begin_hard_leaves(balancer, sieve_limit, threads);
    construct(balancer, x, sieve_limit, sum_approx, threads, is_print);
}

// LoadBalancerS2::get_work(ThreadData& thread)
KESH_INTERPOSED bool _ZN10primecount14LoadBalancerS28get_workERNS_10ThreadDataE(void* balancer, ThreadData& thread) {
    static const auto take = original<bool(void*, ThreadData&)>(__func__);
    return hand_out(balancer, RunningCount::hook_s2_work, thread.low, [&] { return take(balancer, thread); });
}

// LoadBalancerS2::remaining_secs() const
KESH_INTERPOSED double _ZNK10primecount14LoadBalancerS214remaining_secsEv(const void* balancer) {
    static const auto estimate = original<double(const void*)>(__func__);
    return kesh::counting::remaining_for_items(balancer, estimate(balancer));
}

// --- whole functions

// S2_easy(int64_t x, int64_t y, int64_t z, int64_t c, int threads, bool is_print) takes two thirds of the time of
// pi_deleglise_rivat. It asks for no work; a request made before it begins does not have to wait for its end.
KESH_INTERPOSED int64_t _ZN10primecount7S2_easyEllllib(int64_t x, int64_t y, int64_t z, int64_t c, int threads,
                                                       bool is_print) {
    static const auto sum = original<int64_t(int64_t, int64_t, int64_t, int64_t, int, bool)>(__func__);
    if (const RunningCount* const count = RunningCount::called_here()) count->throw_if_ended();
    return sum(x, y, z, c, threads, is_print);
}

// pi(int64_t x, int threads) as the whole count or as the longest part of an n-th prime, which must not continue with a
// wrong number
KESH_INTERPOSED int64_t _ZN10primecount2piEli(int64_t x, int threads) {
    static const auto count_primes = original<int64_t(int64_t, int)>(__func__);
    RunningCount* const count = RunningCount::called_here();
    const int64_t result = count_primes(x, threads);
    if (count != nullptr) {
        count->saw(RunningCount::hook_pi);
        count->throw_if_ended();
    }
    return result;
}

// pi_noprint(int64_t x, int threads), pi of a bound that a count needs
KESH_INTERPOSED int64_t _ZN10primecount10pi_noprintEli(int64_t x, int threads) {
    static const auto count_primes = original<int64_t(int64_t, int)>(__func__);
    RunningCount* const count = RunningCount::called_here();
    if (count == nullptr) return count_primes(x, threads);
    count->saw(RunningCount::hook_pi_nested);
    const RunningCount::Nested nested(*count);
    return count_primes(x, threads);
}

// NOLINTEND(bugprone-reserved-identifier)
