/**
 * @file   header_writer.h
 * @brief  The text of prime_data.h from the committed data files.
 */
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "strong_test.h"

namespace prime_tables {

/** A bucket whose published base differs from the derived one; the table has the published one. */
struct TableException {
    u32 bucket;
    u32 derived;
    u32 published;
};

/** Decimal numbers separated by white space. Throws std::runtime_error when the file cannot be read as such. */
std::vector<u32> read_table(const std::filesystem::path& path);

/** Lines "bucket derived published"; lines that begin with # are comments. */
std::vector<TableException> read_exceptions(const std::filesystem::path& path);

/**
 * The derived table with the exceptions put in. Throws std::runtime_error unless every exception names a bucket once,
 * the value derived there, and another one.
 */
std::vector<u32> apply_exceptions(std::vector<u32> derived, const std::vector<TableException>& exceptions);

/** 16,384 words: bit k of all of them is 1 when 2 k + 3 is prime. */
std::vector<u32> odd_prime_bits();

/** The header, from the files bases_32.txt, bases_64_derived.txt and bases_64_exceptions.txt of the folder. */
std::string prime_data_header(const std::filesystem::path& folder);

}  // namespace prime_tables
