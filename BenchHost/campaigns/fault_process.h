/**
 * @file   fault_process.h
 * @brief  Makes one call with one fault in a separate process.
 */
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "HostKit/library.h"
#include "campaigns/fault_calls.h"
#include "campaigns/planned_faults.h"

namespace kesh_host {

/** The outcome of the call. */
struct FaultResult {
    std::string outcome;
    std::string answer;                         ///< the result of the call or its task
    std::map<std::string, std::int64_t> calls;  ///< of each callback
    std::int64_t status_events = 0;             ///< that arrived
};

/** Runs the case in a child process. @throws std::runtime_error without a pipe or a process */
FaultResult run_apart(const Library& library, const Call& call, const HostFault& fault);

}  // namespace kesh_host
