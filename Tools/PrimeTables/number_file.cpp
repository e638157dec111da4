/**
 * @file   number_file.cpp
 * @brief  Reads and writes files of 64-bit numbers.
 */
#include "number_file.h"

#include <bit>
#include <fstream>
#include <stdexcept>

namespace prime_tables {

static_assert(std::endian::native == std::endian::little, "the files are written as memory holds the numbers");

void read_numbers(const std::filesystem::path& path, std::vector<u64>& numbers) {
    std::ifstream in(path, std::ios::binary);
    const std::size_t count = std::filesystem::file_size(path) / sizeof(u64);
    const std::size_t old = numbers.size();
    numbers.resize(old + count);
    in.read(reinterpret_cast<char*>(numbers.data() + old), static_cast<std::streamsize>(count * sizeof(u64)));
    if (!in) throw std::runtime_error("cannot read " + path.string());
}

void write_numbers(const std::filesystem::path& path, const std::vector<u64>& numbers) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(numbers.data()),
              static_cast<std::streamsize>(numbers.size() * sizeof(u64)));
    out.close();
    if (!out) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace prime_tables
