/**
 * @file   call.h
 * @brief  One call of one export: prepares the slots, watches the result slot, catches exceptions, and takes strings
 * and tensors back.
 */
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "HostKit/export_table.h"
#include "HostKit/library.h"
#include "HostKit/task.h"
#include "HostKit/tensors.h"
#include "calls/arguments.h"
#include "calls/sum_check.h"

namespace kesh_host {

/** A tensor that the host releases with the last copy of the result. */
using TensorResult = std::shared_ptr<st_MTensor>;
using ResultValue = std::variant<std::monostate, mint, bool, std::string, TensorResult>;

enum class Status {
    ok,         ///< code 0
    error,      ///< another code, or a task that reported "Error"
    exception,  ///< an exception left the export
    stopped,    ///< ended because the user asked for it
    submitted,  ///< a task was given a count and works on it
    missing,    ///< the library has no such symbol
};
std::string_view status_name(Status status);

/** The outcome of a call. */
struct Outcome {
    const Export* entry = nullptr;
    std::vector<ArgumentValue> arguments;
    Status status = Status::ok;
    int code = 0;
    ResultValue result;
    std::string exception_type;
    std::string exception_text;
    double seconds = 0;
    std::optional<Task> task;      ///< the task that did the count, or that was given one
    std::size_t pieces = 1;        ///< the number of calls into which the host split the range
    std::optional<SumCheck> sum;   ///< for a sum of primes: whether it is larger than the 64 bits of the result
    bool wrote_result = false;     ///< the result slot was written, whatever the outcome of the call
    std::size_t kept_strings = 0;  ///< string arguments that the library did not disown
    std::vector<std::string> breaches;

    void add_breaches(const std::vector<std::string>& more) {
        breaches.insert(breaches.end(), more.begin(), more.end());
    }

    /** Whether the call succeeded. */
    bool good() const {
        return status == Status::ok || status == Status::submitted;
    }
};

/** The callback table that a call gets. */
enum class TableChoice { full, without_io, null };

/** Calls the export on this thread with the arguments as they are, whatever their number. */
Outcome call_export(const Library& library, const Export& entry, const std::vector<ArgumentValue>& arguments,
                    TableChoice table);

/** The same with integers, for calls that the host makes for its own purposes. */
Outcome call_export(const Library& library, std::string_view name, const std::vector<mint>& integers);

/** The readable name of a C++ type. */
std::string demangled(const char* name);

}  // namespace kesh_host
