/**
 * @file   fuzz_primality.cpp
 * @brief  Any limbs for KESH_PrimeQ, at every length that holds them, compared with GMP; and invalid lengths.
 *
 * The other bytes are a number x. The first byte selects what is tested: x itself, the next prime, x^2, or x (k
 * (x - 1) + 1) with x replaced by a prime, the form of most strong pseudoprimes.
 */
#include <gmpxx.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "kesh_prime.h"
#include "show.h"

namespace {

mpz_class number_of(unsigned shape, const uint8_t* bytes, size_t size) {
    mpz_class x;
    mpz_import(x.get_mpz_t(), size, -1, 1, 0, 0, bytes);
    if (shape % 4 == 0) return x;
    if (shape % 4 == 2) return x * x;
    mpz_nextprime(x.get_mpz_t(), x.get_mpz_t());
    if (shape % 4 == 1) return x;
    const unsigned k = 2 + shape / 4 % 8;
    return x * (k * (x - 1) + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1 || size > 129) return 0;
    const mpz_class n = number_of(data[0], data + 1, size - 1);
    const size_t bits = mpz_sizeinbase(n.get_mpz_t(), 2);
    if (bits > 1024) return 0;
    kesh::fuzz::show("KESH_PrimeQ of ", n, ", ", bits, " bits, of shape ", data[0] % 4);
    const int expected = mpz_probab_prime_p(n.get_mpz_t(), 24) != 0 ? 1 : 0;

    std::array<uint64_t, 16> limbs{};
    size_t count = 0;
    mpz_export(limbs.data(), &count, -1, sizeof(uint64_t), 0, 0, n.get_mpz_t());
    for (size_t length = std::max<size_t>((bits + 63) / 64, 1); length <= limbs.size(); ++length) {
        // Storage of exactly this length, so that the sanitizer sees a read beyond it.
        const std::vector<uint64_t> given(limbs.begin(), limbs.begin() + static_cast<std::ptrdiff_t>(length));
        int prime = -1;
        if (KESH_PrimeQ(given.data(), static_cast<int64_t>(length), &prime) != 1 || prime != expected) std::abort();
    }
    for (const int64_t length : {int64_t{0}, int64_t{17}, static_cast<int64_t>(limbs[0] | 1ULL << 63), INT64_MAX}) {
        int prime = -1;
        if (KESH_PrimeQ(limbs.data(), length, &prime) != 0 || prime != -1) std::abort();
    }
    return 0;
}
