/**
 * @file   endurance.h
 * @brief  Makes mixed calls of every export for a chosen time, and checks every result. The numbers of descriptors and
 *         threads of the process must not grow, and in runs of five minutes or more its memory must not grow either.
 */
#pragma once

#include "HostKit/library.h"

namespace kesh_host {

/** The length of a run, and its load. */
struct EnduranceLook {
    double minutes = 30;  ///< 0: one round of calls
    double load = 1;      ///< share of the time that is spent in calls; the rest is slept
};

/** Makes the run, prints a line every minute and a summary, and returns the exit code of the process. */
int endure(const Library& library, const EnduranceLook& look);

}  // namespace kesh_host
