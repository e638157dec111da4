/**
 * @file   interposed_7_12.cpp
 * @brief  The function that is new in libprimecount 7.12: the A and C formulas keep a thread's range in an object.
 */
#include "interposed.h"

// NOLINTBEGIN(bugprone-reserved-identifier): the names are libprimecount's

using namespace kesh::counting;

// LoadBalancerAC::get_work(ThreadDataAC& thread)
KESH_INTERPOSED bool _ZN10primecount14LoadBalancerAC8get_workERNS_12ThreadDataACE(void* balancer, ThreadData& thread) {
    static const auto take = original<bool(void*, ThreadData&)>(__func__);
    return hand_out(balancer, RunningCount::hook_ac_work, thread.low, [&] { return take(balancer, thread); });
}

// NOLINTEND(bugprone-reserved-identifier)
