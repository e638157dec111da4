/**
 * @file   first_prime_on_ranks.cpp
 * @brief  Finds the smallest k for which k 2^e + 1 is prime on several processes or machines: in each round every MPI
 *         rank tests a block of k in one call, and the smallest k found by any of them is the answer.
 *
 *     c++ -std=c++20 first_prime_on_ranks.cpp $(pkg-config --cflags --libs ompi-c velmora-kesh) -o first_prime_on_ranks
 *     mpirun -n 2 ./first_prime_on_ranks 500
 */
#include <kesh_prime.h>

// The calls are those of C. The old C++ names of MPI, which need a library of their own, are left out.
#define OMPI_SKIP_MPICXX 1
#define MPICH_SKIP_MPICXX 1
#include <mpi.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <vector>

namespace {

constexpr std::int64_t block = 256, none = std::numeric_limits<std::int64_t>::max();

/** The smallest k with first <= k < first + block for which k 2^e + 1 is prime, or none. */
std::int64_t first_prime(std::int64_t first, unsigned e) {
    const std::size_t length = 16, limb = e / 64, shift = e % 64;
    std::vector<std::uint64_t> numbers(length * static_cast<std::size_t>(block));
    std::vector<std::uint8_t> prime(static_cast<std::size_t>(block));
    for (std::size_t i = 0; i < prime.size(); ++i) {
        const std::uint64_t k = static_cast<std::uint64_t>(first) + i;
        numbers[i * length + limb] = k << shift;
        if (shift > 0) numbers[i * length + limb + 1] = k >> (64 - shift);
        numbers[i * length] += 1;
    }
    if (KESH_ArePrime(numbers.data(), length, block, prime.data()) != KESH_DONE) MPI_Abort(MPI_COMM_WORLD, 1);
    const auto found = std::find(prime.begin(), prime.end(), 1);
    return found == prime.end() ? none : first + (found - prime.begin());
}

}  // namespace

int main(int argc, char** argv) {
    MPI_Init(&argc, &argv);
    int rank = 0, ranks = 1;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    MPI_Comm_size(MPI_COMM_WORLD, &ranks);
    const long e = argc == 2 ? std::strtol(argv[1], nullptr, 10) : 0;
    if (e < 1 || e > 900) {
        if (rank == 0) std::fprintf(stderr, "usage: first_prime_on_ranks E, with 1 <= E <= 900\n");
        MPI_Finalize();
        return 2;
    }
    std::int64_t found = none;
    for (std::int64_t first = 1; found == none; first += block * ranks) {
        const std::int64_t mine = first_prime(first + block * rank, static_cast<unsigned>(e));
        MPI_Allreduce(&mine, &found, 1, MPI_INT64_T, MPI_MIN, MPI_COMM_WORLD);
    }
    if (rank == 0) std::printf("%lld * 2^%ld + 1 is prime\n", static_cast<long long>(found), e);
    MPI_Finalize();
    return 0;
}
