/**
 * @file   endurance.h
 * @brief  Mixed calls of every export for as long as you like, every answer checked, and the process's memory,
 *         descriptors and threads watched: they are to stay as they were (memory in runs of five minutes and more).
 */
#pragma once

#include "HostKit/library.h"

namespace kesh_host {

/** How long, and how hard. */
struct EnduranceLook {
    double minutes = 30;  ///< 0: one round of calls
    double load = 1;      ///< share of the time that is spent in calls; the rest is slept
};

/** Runs it, prints a line a minute and a summary, and answers the exit code of the process. */
int endure(const Library& library, const EnduranceLook& look);

}  // namespace kesh_host
