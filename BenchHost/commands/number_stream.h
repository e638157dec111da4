/**
 * @file   number_stream.h
 * @brief  The verdicts of KESH_PrimeQ on the numbers of a line, a file or a pipe, and walks to their neighbours.
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

/** The input that all three forms share. */
struct NumberJob {
    const PrimalityTest& test;
    const Options& options;
    PrintLook look;
    ProgressLook progress;
    Style errors;
};

/**
 * Tests the numbers one after another; tests none if one of them is not a number. Returns an exit code.
 * @throws BadInput
 */
int test_numbers(const NumberJob& job, const std::vector<std::string>& words);

/** Prints the neighbouring prime of each number. @throws BadInput */
int walk_from_numbers(const NumberJob& job, const std::vector<std::string>& words);

/**
 * Tests the numbers of a file ("-": standard input), one per line; skips blank lines and lines that begin with #.
 * @throws BadInput
 */
int test_number_stream(const NumberJob& job, const std::string& path);

}  // namespace kesh_host
