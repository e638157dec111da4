/**
 * @file   counting_reach.h
 * @brief  Whether prime counts report progress and can be stopped in this process. They cannot if the library's hooks
 *         do not work; the library has no export that says so.
 */
#pragma once

#include <span>
#include <string>

#include "HostKit/export_table.h"
#include "HostKit/library.h"
#include "calls/arguments.h"

namespace kesh_host {

/**
 * Empty if counts report progress and can be stopped; else one line that says why not. The first call finds out, by a
 * count of about a millisecond, which calls AbortQ if the hooks work. Also empty while a task runs, whose callback that
 * count would replace, and while faults are planned.
 */
std::string why_counts_are_silent(const Library& library);

/** Says so on standard error before the first long count. */
void warn_of_silent_count(const Library& library, const Export& entry, std::span<const ArgumentValue> arguments);

}  // namespace kesh_host
