/**
 * @file   pseudoprime_sample.h
 * @brief  Reads the committed sample of hard base-2 strong pseudoprimes between 2^32 and 2^64.
 *
 * The file holds, in every bucket of the 64-bit test's hash, seven numbers that pass the strong test to most prime
 * bases, none with a prime factor up to 61, and at least one of them below 2^49. It stores the differences of the
 * sorted numbers, seven bits a byte, the lowest first, the top bit set in all bytes but the last. Written by
 * prime-tables sample (Tools/PrimeTables).
 */
#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

/** The numbers, ascending; none when the file cannot be read. KESH_SOURCE_DIR is the tree's root. */
inline std::vector<std::uint64_t> read_pseudoprime_sample(const std::string& path = KESH_SOURCE_DIR
                                                          "/Tests/data/pseudoprimes_hard.varint") {
    std::ifstream in(path, std::ios::binary);
    std::vector<std::uint64_t> numbers;
    std::uint64_t previous = 0;
    std::uint64_t difference = 0;
    int shift = 0;
    for (char c; in.get(c);) {
        const auto byte = static_cast<unsigned char>(c);
        difference |= std::uint64_t{byte & 127U} << shift;
        shift += 7;
        if ((byte & 128U) != 0) continue;
        previous += difference;
        numbers.push_back(previous);
        difference = 0;
        shift = 0;
    }
    return numbers;
}
