/**
 * @file   neighbours.h
 * @brief  The commands next-prime, previous-prime and primes: true values at any size up to 1024 bits.
 */
#pragma once

#include <string>
#include <vector>

#include "HostKit/library.h"
#include "answers/print_look.h"
#include "commands/options.h"
#include "terminal/progress_text.h"

namespace kesh_host {

/** Prints the prime above each number, or below it. Answers an exit code. @throws BadInput */
int print_neighbours(const Library& library, const Options& options, const std::vector<std::string>& words,
                     PrintLook look, bool upwards);

/** Prints the first COUNT primes from FROM on, one a line. Answers an exit code. @throws BadInput */
int print_primes(const Library& library, const Options& options, const std::vector<std::string>& words,
                 const ProgressLook& progress);

}  // namespace kesh_host
