/**
 * @file   neighbours.h
 * @brief  The commands next-prime, previous-prime and primes, for numbers of up to 1024 bits.
 */
#pragma once

#include "commands/command.h"
#include "commands/session.h"

namespace kesh_host {

/** Prints the smallest prime above each number. */
int print_next_primes(Session& session, const Request& request);
/** Prints the largest prime below each number. */
int print_previous_primes(Session& session, const Request& request);
/** Prints the first COUNT primes from FROM on, one per line. */
int print_primes(Session& session, const Request& request);

}  // namespace kesh_host
