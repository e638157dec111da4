/**
 * @file   planned_faults.h
 * @brief  The ways in which a callback fails, and at which of its calls.
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "HostKit/fault_plan.h"
#include "calls/call.h"

namespace kesh_host {

/**
 * Each of the first calls of a callback fails in a case of its own, up to this call; "often" means at least this many
 * calls.
 */
constexpr std::int64_t last_call_hit = 3;

/** One fault, as text for FaultPlan::add, or a table that is missing. */
struct HostFault {
    std::string plan;
    TableChoice table = TableChoice::full;
    mint left_position = 0;
};

/** One of the faults of a callback. */
struct Planned {
    std::string what;  ///< the fault in words, for the table
    HostFault fault;
    std::int64_t at = 1;
    bool throws = false;
};
/** The faults of a callback with that many calls: each at its first, second and third call. */
std::vector<Planned> faults_of(const FaultSlot& slot, std::int64_t calls);

}  // namespace kesh_host
