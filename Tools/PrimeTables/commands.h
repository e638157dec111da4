/**
 * @file   commands.h
 * @brief  The commands of prime-tables that have a source of their own, and what the commands share.
 */
#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bucket_walk.h"

namespace prime_tables {

/** enumerate: the searches for base-2 strong pseudoprimes. */
void add_enumerate(CLI::App& program);
/** derive: the second bases from the pseudoprimes that were found. The exit status is 2 if a table to compare differs.
 */
void add_derive(CLI::App& program);
/** sample: test data from the pseudoprimes. */
void add_sample(CLI::App& program);

/** The option --buckets of a command: the first bucket of a block and their number. */
void add_buckets(CLI::App& command, std::vector<u32>& buckets);
/** The block that the option --buckets names; all buckets if it was not given. */
BucketBlock block_of(const std::vector<u32>& buckets);

/** Replaces the file. Throws std::runtime_error when it cannot be written. */
void write_text(const std::filesystem::path& path, const std::string& text);

}  // namespace prime_tables
