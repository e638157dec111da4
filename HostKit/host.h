/**
 * @file   host.h
 * @brief  The state of the host, on which the callbacks work. There is one per process, because the library calls back
 *         without a context pointer. It is never destroyed, because detached workers of the library may outlive main().
 */
#pragma once

#include <atomic>

#include "HostKit/breaches.h"
#include "HostKit/fault_plan.h"
#include "HostKit/lent_strings.h"
#include "HostKit/task_board.h"
#include "HostKit/tensors.h"

namespace kesh_host {

struct Host {
    Breaches breaches;
    FaultPlan faults;
    TensorStore tensors;
    StringStore strings;
    TaskBoard tasks{breaches};
    /** The value that AbortQ returns: not 0 if the user has asked to abort the running call. */
    std::atomic<mint> abort_answer = 0;
    /** How often AbortQ was called. */
    std::atomic<mint> abort_questions = 0;
    /** The position that a faulted MTensor_getInteger leaves behind with code 0. */
    std::atomic<mint> left_position = 0;
};

Host& host();

}  // namespace kesh_host
