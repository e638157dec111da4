/**
 * @file   fault_calls.h
 * @brief  The calls under which callbacks go wrong.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "HostKit/export_table.h"

namespace kesh_host {

/** What was called before, and has left its progress callback installed. */
enum class Before { nothing, count, task };

/** A call that succeeds, or fails in a known way, with a host that does its part. */
struct Call {
    const Export* entry = nullptr;
    std::vector<std::string> words;
    Before before = Before::nothing;
    bool reports = false;  ///< it is long enough for its progress to be reported often, and has a callback for that

    std::string text() const;
};

/** The calls of one export: its example, or if callbacks are involved calls of every length. */
std::vector<Call> calls_of(const Export& entry);

/** What the call answers, if that is known: its export's example, pi(n) or the n-th prime; else nothing. */
std::string_view known_answer(const Call& call);

}  // namespace kesh_host
