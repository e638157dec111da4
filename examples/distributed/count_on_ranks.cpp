/**
 * @file   count_on_ranks.cpp
 * @brief  Counts the primes of a range on several processes or machines: the range is cut into pieces, each MPI rank
 *         counts its share of them with PrimeSieve_CountPrimes, and the counts are added.
 *
 *     c++ -std=c++20 count_on_ranks.cpp $(pkg-config --cflags --libs ompi-c velmora-kesh-host) -ldl -o count_on_ranks
 *     mpirun -n 2 ./count_on_ranks /usr/lib/x86_64-linux-gnu/libVelmoraKesh.so 0 100000000
 */
#include <dlfcn.h>

// The calls are those of C. The old C++ names of MPI, which need a library of their own, are left out.
#define OMPI_SKIP_MPICXX 1
#define MPICH_SKIP_MPICXX 1
#include <mpi.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "VelmoraLibrary.h"

namespace {

/** Every export that is a function of the host's language has this form. */
using Export = int (*)(VelmoraLibraryData, mint, MArgument*, MArgument);

/** Ends all ranks, because one of them cannot count its share. */
[[noreturn]] void give_up(const char* reason) {
    std::fprintf(stderr, "%s\n", reason);
    MPI_Abort(MPI_COMM_WORLD, 1);
    std::exit(1);
}

Export find_count_primes(const char* path) {
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    void* symbol = library == nullptr ? nullptr : dlsym(library, "PrimeSieve_CountPrimes");
    if (symbol == nullptr) give_up(dlerror());
    return reinterpret_cast<Export>(symbol);
}

/** The primes in [from, to]. The export throws when primesieve reports an error. */
mint count_primes(Export count, mint from, mint to) {
    // This export needs nothing from the host, so an empty table is enough.
    static st_VelmoraLibraryData host{};
    MArgument arguments[2], result;
    mint primes = 0;
    arguments[0].integer = &from;
    arguments[1].integer = &to;
    result.integer = &primes;
    if (count(&host, 2, arguments, result) != LIBRARY_NO_ERROR) give_up("the count failed");
    return primes;
}

}  // namespace

int main(int argc, char** argv) {
    MPI_Init(&argc, &argv);
    int rank = 0, ranks = 1;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    MPI_Comm_size(MPI_COMM_WORLD, &ranks);
    if (argc != 4) give_up("usage: count_on_ranks LIBRARY FROM TO");
    const mint from = std::strtoll(argv[2], nullptr, 10), to = std::strtoll(argv[3], nullptr, 10);
    if (from < 0 || to < from) give_up("FROM and TO are integers with 0 <= FROM <= TO");

    // More pieces than ranks, because a piece at the lower end takes less time; no piece is shorter than a million.
    const mint length = std::max<mint>(1'000'000, (to - from) / (16 * ranks) + 1);
    const Export count = find_count_primes(argv[1]);
    mint mine = 0, all = 0;
    try {
        for (mint piece = rank; piece <= (to - from) / length; piece += ranks) {
            const mint first = from + piece * length;
            mine += count_primes(count, first, to - first < length ? to : first + length - 1);
        }
    } catch (const std::exception& error) {
        give_up(error.what());
    }
    MPI_Reduce(&mine, &all, 1, MPI_INT64_T, MPI_SUM, 0, MPI_COMM_WORLD);
    if (rank == 0)
        std::printf("%lld primes from %lld to %lld, counted by %d ranks\n", static_cast<long long>(all),
                    static_cast<long long>(from), static_cast<long long>(to), ranks);
    MPI_Finalize();
    return 0;
}
