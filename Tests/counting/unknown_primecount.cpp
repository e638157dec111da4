/**
 * @file   unknown_primecount.cpp
 * @brief  A libprimecount of a version that nobody knows: it has the functions that the library calls, and inside none
 *         of those that the library interposes. For check_silent.py, which puts it in the place of the installed one.
 */
#include <cstdint>
#include <primesieve.hpp>
#include <stdexcept>

__extension__ typedef __int128 int128_t;

namespace primecount {

#define KESH_OFFERED __attribute__((visibility("default")))

namespace {

int threads_of_all = 1;

int64_t count(int64_t x) {
    return x < 2 ? 0 : static_cast<int64_t>(primesieve::count_primes(2, static_cast<uint64_t>(x)));
}

[[noreturn]] void refuse() {
    throw std::logic_error("no test calls this one");
}

}  // namespace

KESH_OFFERED int get_num_threads() {
    return threads_of_all;
}
KESH_OFFERED void set_num_threads(int threads) {
    threads_of_all = threads;
}
KESH_OFFERED int64_t pi(int64_t x, int) {
    return count(x);
}
KESH_OFFERED int128_t pi(int128_t x, int) {
    return count(static_cast<int64_t>(x));
}
KESH_OFFERED int64_t nth_prime(int64_t, int) {
    refuse();
}
KESH_OFFERED int64_t phi(int64_t, int64_t, int, bool) {
    refuse();
}
KESH_OFFERED int64_t pi_meissel(int64_t, int, bool) {
    refuse();
}
KESH_OFFERED int64_t pi_legendre(int64_t, int, bool) {
    refuse();
}
KESH_OFFERED int64_t pi_lehmer(int64_t, int, bool) {
    refuse();
}
KESH_OFFERED int64_t pi_lmo_parallel(int64_t, int, bool) {
    refuse();
}
KESH_OFFERED int64_t pi_deleglise_rivat(int64_t, int) {
    refuse();
}

}  // namespace primecount
