/**
 * @file   number_stream.h
 * @brief  What KESH_PrimeQ answers for the numbers of a line, of a file or of a pipe, and the walks to their
 * neighbours.
 */
#pragma once

#include <string>
#include <vector>

#include "answers/print_look.h"
#include "calls/primality.h"
#include "commands/options.h"
#include "terminal/progress_text.h"
#include "terminal/terminal.h"

namespace kesh_host {

/** What all three forms work with. */
struct NumberJob {
    const PrimalityTest& test;
    const Options& options;
    PrintLook look;
    ProgressLook progress;
    Style errors;
};

/** Tests the numbers one after the other; nothing is tested when one of them is no number. Answers an exit code.
 * @throws BadInput */
int test_numbers(const NumberJob& job, const std::vector<std::string>& words);

/** Prints the neighbouring prime of each number. @throws BadInput */
int walk_from_numbers(const NumberJob& job, const std::vector<std::string>& words);

/** Tests the numbers of a file ("-": standard input), one a line; blank lines and lines beginning with # are skipped.
 * @throws BadInput */
int test_number_stream(const NumberJob& job, const std::string& path);

}  // namespace kesh_host
