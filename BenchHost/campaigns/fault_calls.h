/**
 * @file   fault_calls.h
 * @brief  The calls during which callbacks are made to fail.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "HostKit/export_table.h"

namespace kesh_host {

/** The call that was made before and left its progress callback installed. */
enum class Before { nothing, count, task };

/** A call that succeeds, or fails in a known way, if the host works. */
struct Call {
    const Export* entry = nullptr;
    std::vector<std::string> words;
    Before before = Before::nothing;
    bool reports = false;  ///< it is long enough to report progress often, and has a callback for that

    std::string text() const;
};

/** The calls of one export: its example, or, if callbacks are involved, calls of every length. */
std::vector<Call> calls_of(const Export& entry);

/** The known result of the call: that of the export's example, pi(n) or the n-th prime; else nothing. */
std::string_view known_answer(const Call& call);

}  // namespace kesh_host
