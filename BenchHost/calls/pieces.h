/**
 * @file   pieces.h
 * @brief  Splits long sieving calls into pieces with exactly the same result, so that they show progress and can be
 * stopped.
 *
 * Counts. In a prime tuplet of at least three members that does not contain 2, 3 or 5, all residues modulo 30 are from
 * 7 to 23; a twin pair may also have the residues 29 and 1. The tuplets with a member 3 or 5 end at 17 at the latest.
 * So no tuplet has members on both sides of a cut between m and m + 1 when m leaves 26 on division by 30, and the
 * counts over the pieces add up to the whole.
 *
 * Sums. The sum over [a, b] modulo 2^64 is the sum over any pieces modulo 2^64.
 *
 * Walks. The k-th prime after n is the (k - j)-th prime after the j-th prime after n; backwards likewise.
 */
#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <vector>

#include "HostKit/export_table.h"
#include "HostKit/library.h"
#include "calls/arguments.h"
#include "calls/call.h"

namespace kesh_host {

/**
 * The largest m <= end with m mod 30 = 26 at which a range that begins at `begin` may be cut; `begin` itself must stay
 * below it.
 */
std::optional<umint> cut_before(umint begin, umint end);

/** Whether a call is long enough, and its arguments are simple enough, to be split. */
bool worth_splitting(const Export& entry, const std::vector<ArgumentValue>& arguments);

/**
 * Calls the export piece by piece until everything is done, a piece fails or `stop` returns true.
 * @param fraction receives the part that is done, 0 to 1
 */
Outcome call_in_pieces(const Library& library, const Export& entry, const std::vector<ArgumentValue>& arguments,
                       std::atomic<double>& fraction, const std::function<bool()>& stop);

}  // namespace kesh_host
