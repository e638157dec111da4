/**
 * @file   number_file.h
 * @brief  Files of 64-bit numbers, eight bytes each, little-endian.
 */
#pragma once

#include <filesystem>
#include <vector>

#include "strong_test.h"

namespace prime_tables {

/** Appends the numbers of a file. Throws std::runtime_error when it cannot be read. */
void read_numbers(const std::filesystem::path& path, std::vector<u64>& numbers);
/** Replaces the file. Throws std::runtime_error when it cannot be written. */
void write_numbers(const std::filesystem::path& path, const std::vector<u64>& numbers);

}  // namespace prime_tables
