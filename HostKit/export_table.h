/**
 * @file   export_table.h
 * @brief  The one table of the library's exports. The list, the help, the completion, the binding of arguments and the
 *         generated reference page all read it, so they always agree.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kesh_host {

/** Kinds of argument and result slots, as the host declares them for each export. */
enum class Kind {
    none,     ///< nothing is written
    integer,  ///< machine integer, signed 64-bit
    pattern,  ///< machine integer that the export takes as its unsigned 64-bit pattern
    task,     ///< id of an asynchronous task (machine integer)
    text,     ///< UTF-8 string, passed on as typed
    tensor,   ///< integer tensor
    boolean,  ///< true or false
    limbs,    ///< unsigned integer of up to 1024 bits (plain C call, outside the slot convention)
};

/** "integer", "string" and so on. */
std::string_view kind_name(Kind kind);

enum class Family { lifecycle, counting, tasks, sieve, primality };
std::string_view family_title(Family family);

/** How the host can show a long call's progress and stop it. */
enum class Route {
    direct,        ///< no progress, only the elapsed time
    as_task,       ///< the same count can be submitted as a task (`task_form`)
    status,        ///< the progress callback of the counting library reports; an earlier task has installed it
    range_pieces,  ///< a count over [a, b] is the sum over pieces; no cut goes through a prime tuplet
    sum_pieces,    ///< a sum of primes is the sum over any pieces, modulo 2^64
    walk_pieces,   ///< k steps from n are k' steps and then k - k' steps
    nth_pieces,    ///< the n-th prime is the (n - c)-th after a range from 0 with c < n primes
};

struct Parameter {
    std::string_view name;
    Kind kind;
    std::string_view meaning;
};

struct Export {
    std::string_view name;
    Family family;
    std::vector<Parameter> parameters;
    Kind result;
    std::string_view summary;    ///< what it computes, in one line
    std::string_view sentence;   ///< the result in words, with places for arguments and result (remarks.cpp)
    std::string_view errors;     ///< what it returns or throws, and when
    std::string_view cost;       ///< order of the running time
    std::string_view stop = {};  ///< how a call that may take minutes is stopped; empty: no call takes so long
    std::vector<std::string_view> example;  ///< arguments of a call that takes well under a second
    std::string_view example_result;        ///< its result
    Route route = Route::direct;
    std::string_view task_form = {};
    std::string_view default_begin =
        {};  ///< the beginning of a range if only its end is given; empty: both ends are needed

    /** Whether it gives a count to a task, its first argument. */
    bool submits() const {
        return family == Family::tasks && !parameters.empty();
    }
    /** Whether the last argument, and the result, is text. */
    bool takes_text() const {
        return !parameters.empty() && parameters.back().kind == Kind::text;
    }
};

/** All exports, by family, in the order in which they are listed. */
const std::vector<Export>& export_table();

/** Whether a long call of the export can be stopped, as its help says. */
bool can_be_stopped(const Export& entry);

/** The export of that name, or null. */
const Export* find_export(std::string_view name);

/** "PrimeSieve_CountPrimes a b". */
std::string usage_line(const Export& entry);

/** Names of host error codes: 6 is "LIBRARY_FUNCTION_ERROR". */
std::string_view error_name(int code);

}  // namespace kesh_host
