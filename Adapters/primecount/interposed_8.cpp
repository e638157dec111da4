/**
 * @file   interposed_8.cpp
 * @brief  What is new in libprimecount 8: the balancer of the hard special leaves needs no approximate sum and
 *         estimates the remaining time for one thread; results are checked.
 */
#include <string_view>

#include "interposed.h"

// NOLINTBEGIN(bugprone-reserved-identifier): the names are libprimecount's

using namespace kesh::counting;

// LoadBalancerS2::LoadBalancerS2(int128_t x, int64_t y, int64_t sieve_limit, int threads, bool is_print)
KESH_INTERPOSED void _ZN10primecount14LoadBalancerS2C1Enllib(void* balancer, int128_t x, int64_t y, int64_t sieve_limit,
                                                             int threads, bool is_print) {
    static const auto construct = original<void(void*, int128_t, int64_t, int64_t, int, bool)>(__func__);
    threads = begin_hard_leaves(balancer, sieve_limit, threads);
    construct(balancer, x, y, sieve_limit, threads, is_print);
}

// LoadBalancerS2::remaining_secs(ThreadData& thread, int64_t low) const
KESH_INTERPOSED double _ZNK10primecount14LoadBalancerS214remaining_secsERNS_10ThreadDataEl(const void* balancer,
                                                                                           ThreadData& thread,
                                                                                           int64_t low) {
    static const auto estimate = original<double(const void*, ThreadData&, int64_t)>(__func__);
    return remaining_for_items(balancer, estimate(balancer, thread, low));
}

// verify_pix(std::string_view algorithm, int128_t x, int128_t pix) ends the process if pix is too far from Li(x). The
// number of an ended count is too far from it.
KESH_INTERPOSED void _ZN10primecount10verify_pixESt17basic_string_viewIcSt11char_traitsIcEEnn(
    std::string_view algorithm, int128_t x, int128_t pix) {
    static const auto verify = original<void(std::string_view, int128_t, int128_t)>(__func__);
    if (RunningCount* const count = RunningCount::called_here()) {
        count->saw(RunningCount::hook_check);
        count->throw_if_ended();
    }
    verify(algorithm, x, pix);
}

namespace kesh::counting {

bool results_are_checked() {
    return original<void>("_ZN10primecount10verify_pixESt17basic_string_viewIcSt11char_traitsIcEEnn") != nullptr;
}

}  // namespace kesh::counting

// NOLINTEND(bugprone-reserved-identifier)
