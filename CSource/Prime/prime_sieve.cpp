/**
 * @file   prime_sieve.cpp
 * @brief  The exports that call primesieve. primesieve does the mathematics and sets the limits.
 */
#include "Prime/prime_sieve.h"

#include <algorithm>
#include <primesieve.hpp>

#include "primesieve_adapter.h"

using kesh::integer_argument;
using kesh::return_integer;
using kesh::unsigned_argument;

namespace {

/** The five lines that all counts over a closed range share. */
template <umint (*Count)(umint, umint)>
int count_in_range(mint Argc, MArgument* Args, MArgument Res) {
    if (Argc != 2) return LIBRARY_FUNCTION_ERROR;
    const umint a = unsigned_argument(Args, 0);
    const umint b = unsigned_argument(Args, 1);
    return return_integer(Res, Count(a, b));
}

/** Gives the collected primes to the host as a new integer tensor, sign-extending each element. */
int return_tensor(VelmoraLibraryData libData, const kesh::sieve::NarrowingPrimes& collected, MArgument Res) {
    const std::vector<int>& primes = collected.narrowed();
    const mint length = static_cast<mint>(primes.size());
    MTensor tensor = nullptr;
    const int error = libData->MTensor_new(MType_Integer, 1, &length, &tensor);
    if (error != LIBRARY_NO_ERROR) return error;
    std::copy(primes.begin(), primes.end(), libData->MTensor_getIntegerData(tensor));
    *Res.tensor = tensor;
    return LIBRARY_NO_ERROR;
}

}  // namespace

int PrimeSieve_NthPrime(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    if (Argc != 1) return LIBRARY_FUNCTION_ERROR;
    return return_integer(Res, primesieve::nth_prime(integer_argument(Args, 0), 0));
}

int PrimeSieve_CountPrimes(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    return count_in_range<primesieve::count_primes>(Argc, Args, Res);
}

int PrimeSieve_CountTwins(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    return count_in_range<primesieve::count_twins>(Argc, Args, Res);
}

int PrimeSieve_CountTriplets(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    return count_in_range<primesieve::count_triplets>(Argc, Args, Res);
}

int PrimeSieve_CountQuadruplets(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    return count_in_range<primesieve::count_quadruplets>(Argc, Args, Res);
}

int PrimeSieve_CountQuintuplets(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    return count_in_range<primesieve::count_quintuplets>(Argc, Args, Res);
}

int PrimeSieve_CountSextuplets(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    return count_in_range<primesieve::count_sextuplets>(Argc, Args, Res);
}

// The walks below build their iterator before they check the number of arguments, so that this object owns the sieve's
// memory however the function ends, also after a failure.

int PrimeSieve_NextPrime(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    primesieve::iterator it(0, primesieve::get_max_stop());
    if (Argc != 1) return LIBRARY_FUNCTION_ERROR;
    const umint n = unsigned_argument(Args, 0);
    kesh::sieve::skipto_for_next(it, n, kesh::sieve::hint_above(n, 1));
    return return_integer(Res, it.next_prime());
}

int PrimeSieve_PreviousPrime(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    primesieve::iterator it(0, primesieve::get_max_stop());
    if (Argc != 1) return LIBRARY_FUNCTION_ERROR;
    const umint n = unsigned_argument(Args, 0);
    kesh::sieve::skipto_for_prev(it, n, kesh::sieve::hint_below(n, 1));
    return return_integer(Res, it.prev_prime());
}

int PrimeSieve_NextKthPrime(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    primesieve::iterator it(0, primesieve::get_max_stop());
    if (Argc != 2) return LIBRARY_FUNCTION_ERROR;
    const umint n = unsigned_argument(Args, 0);
    const mint k = integer_argument(Args, 1);
    kesh::sieve::skipto_for_next(it, n, kesh::sieve::hint_above(n, k));
    umint prime = 0;  // the result for k <= 0
    for (mint i = 1; i <= k; ++i) prime = it.next_prime();
    return return_integer(Res, prime);
}

int PrimeSieve_PreviousKthPrime(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    primesieve::iterator it(0, primesieve::get_max_stop());
    if (Argc != 2) return LIBRARY_FUNCTION_ERROR;
    const umint n = unsigned_argument(Args, 0);
    const mint k = integer_argument(Args, 1);
    kesh::sieve::skipto_for_prev(it, n, kesh::sieve::hint_below(n, k));
    umint prime = 0;  // the result for k <= 0
    for (mint i = 1; i <= k; ++i) {
        prime = it.prev_prime();
        if (prime == 0) break;  // below 2 the iterator yields 0 for ever
    }
    return return_integer(Res, prime);
}

int PrimeSieve_PrimeSum(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    primesieve::iterator it(0, primesieve::get_max_stop());
    if (Argc != 1) return LIBRARY_FUNCTION_ERROR;
    const umint n = unsigned_argument(Args, 0);
    umint sum = 0;
    for (umint prime = 0; prime < n; prime = it.next_prime()) sum += prime;
    return return_integer(Res, sum);
}

int PrimeSieve_PrimeSumInterval(VelmoraLibraryData /*libData*/, mint Argc, MArgument* Args, MArgument Res) {
    primesieve::iterator it(0, primesieve::get_max_stop());
    if (Argc != 2) return LIBRARY_FUNCTION_ERROR;
    // Both ends wrap on purpose. The caller chooses the interval, and a check for the two values that have no
    // predecessor or successor would cost every other caller time.
    const umint b = unsigned_argument(Args, 1);
    // The walk ends with the first prime above b.
    kesh::sieve::skipto_for_next(it, unsigned_argument(Args, 0) - 1, kesh::sieve::hint_above(b, 1));
    const umint bound = b + 1;
    umint sum = 0;
    for (umint prime = it.next_prime(); prime < bound; prime = it.next_prime()) sum += prime;
    return return_integer(Res, sum);
}

int PrimeSieve_ListPrimes(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res) {
    kesh::sieve::NarrowingPrimes primes;
    if (Argc != 2) return LIBRARY_FUNCTION_ERROR;
    primesieve::generate_primes(unsigned_argument(Args, 0), unsigned_argument(Args, 1), &primes);
    return return_tensor(libData, primes, Res);
}

int PrimeSieve_ListNPrimes(VelmoraLibraryData libData, mint Argc, MArgument* Args, MArgument Res) {
    kesh::sieve::NarrowingPrimes primes;
    if (Argc != 1) return LIBRARY_FUNCTION_ERROR;
    primesieve::generate_n_primes(unsigned_argument(Args, 0), &primes);
    return return_tensor(libData, primes, Res);
}
