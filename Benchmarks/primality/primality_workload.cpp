/**
 * @file   primality_workload.cpp
 * @brief  A fixed amount of work for counting instructions: primality_workload bits prime|semiprime|random times
 *
 * Tests one number once, which builds the table of small primes, and then another one `times` times: the difference
 * between the counts for 1 and 0 times is one test. Benchmarks/count_instructions does this for every row.
 */

#include <iostream>
#include <string>

#include "kesh_prime.h"
#include "numbers.h"

int main(int argc, char** argv) {
    using namespace kesh::bench;
    if (argc != 4) {
        std::cerr << "usage: primality_workload bits prime|semiprime|random times\n";
        return 2;
    }
    const auto bits = static_cast<unsigned>(std::stoul(argv[1]));
    const std::string word = argv[2];
    const Kind kind = word == "prime" ? Kind::prime : word == "semiprime" ? Kind::semiprime : Kind::random_odd;
    const auto length = static_cast<std::int64_t>(limb_count(bits));
    const std::vector<std::uint64_t> first = limbs_of(numbers(bits, Kind::prime, 1), bits);
    const std::vector<std::uint64_t> second = limbs_of(numbers(bits, kind, 1), bits);
    int prime = 0;
    KESH_PrimeQ(first.data(), length, &prime);
    for (int times = std::stoi(argv[3]); times > 0; --times) KESH_PrimeQ(second.data(), length, &prime);
    return 0;
}
