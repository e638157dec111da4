/**
 * @file   batch.h
 * @brief  Lists of limb arrays for the tests of batches, and their verdicts by single calls.
 */
#pragma once

#include <gmpxx.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "Shared/kernel/kernel.h"
#include "kesh_prime.h"
#include "support/gmp.h"

namespace kesh::test {

using limbs = std::vector<std::uint64_t>;

/** The verdict on one number by a single call; the limbs are copied, so that the sanitizer sees a read beyond them. */
inline int verdict(const std::uint64_t* n, std::int64_t len) {
    const limbs given(n, n + len);
    int prime = -1;
    EXPECT_EQ(KESH_PrimeQ(given.data(), len, &prime), 1);
    return prime;
}

inline std::vector<std::uint8_t> verdicts(const limbs& n, std::int64_t len) {
    const std::int64_t count = static_cast<std::int64_t>(n.size()) / len;
    std::vector<std::uint8_t> found(static_cast<std::size_t>(count), 7);
    EXPECT_EQ(KESH_ArePrime(n.data(), len, count, found.data()), KESH_DONE);
    return found;
}

inline void expect_verdicts(const limbs& n, std::int64_t len) {
    const std::vector<std::uint8_t> found = verdicts(n, len);
    for (std::size_t i = 0; i < found.size(); ++i) {
        const std::uint64_t* one = n.data() + i * static_cast<std::size_t>(len);
        ASSERT_EQ(found[i], verdict(one, len))
            << "number " << i << " of " << found.size() << ", " << len << " limbs, low limb " << *one;
    }
}

/** Runs the check at every level of kernels that this processor has. */
template <class Check>
void at_every_level(Check check) {
    using kesh::Level;
    for (const Level level : {Level::portable, Level::adx, Level::ifma}) {
        if (!kesh::force(level)) continue;
        SCOPED_TRACE(kesh::name(level));
        check();
    }
    kesh::force(kesh::supported_level());
}

inline mpz_class random_number(unsigned bits, std::mt19937_64& random) {
    mpz_class n = 0;
    for (unsigned have = 0; have < bits; have += 64) n = (n << 64) + mpz_class(static_cast<unsigned long>(random()));
    n >>= mpz_sizeinbase(n.get_mpz_t(), 2) > bits ? mpz_sizeinbase(n.get_mpz_t(), 2) - bits : 0;
    mpz_setbit(n.get_mpz_t(), bits - 1);
    return n;
}

inline mpz_class random_prime(unsigned bits, std::mt19937_64& random) {
    mpz_class p;
    do {
        p = random_number(bits, random);
        mpz_nextprime(p.get_mpz_t(), p.get_mpz_t());
    } while (mpz_sizeinbase(p.get_mpz_t(), 2) != bits);
    return p;
}

inline void append(limbs& to, const mpz_class& n, std::int64_t len) {
    const std::size_t at = to.size();
    to.resize(at + static_cast<std::size_t>(len));
    ASSERT_LE(mpz_sizeinbase(n.get_mpz_t(), 2), static_cast<std::size_t>(64 * len));
    write_limbs(n, to.data() + at, static_cast<std::size_t>(len));
}

/** Primes whose top limb is not 0, of various bit lengths. */
inline limbs primes(std::int64_t len, std::int64_t count, std::mt19937_64& random) {
    limbs found;
    for (std::int64_t i = 0; i < count; ++i)
        append(found, random_prime(static_cast<unsigned>(64 * len) - static_cast<unsigned>(random() % 31), random),
               len);
    return found;
}

/** Products of two primes of about half the size, exactly 64 len bits or one less. */
inline limbs semiprimes(std::int64_t len, std::int64_t count, std::mt19937_64& random) {
    const unsigned half = static_cast<unsigned>(32 * len);
    limbs found;
    for (std::int64_t i = 0; i < count; ++i)
        append(found, random_prime(half, random) * random_prime(half, random), len);
    return found;
}

/**
 * Numbers of up to len limbs with structure: runs of ones and zeros, neighbours of powers of two, squares, p (k
 * (p - 1) + 1), products of three primes as in Carmichael numbers, neighbours of Fermat and Mersenne numbers, and
 * random odd numbers.
 */
inline limbs structured(std::int64_t len, std::int64_t count, std::mt19937_64& random) {
    limbs found;
    const unsigned bits = static_cast<unsigned>(64 * len);
    const auto below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
    while (static_cast<std::int64_t>(found.size()) < count * len) {
        mpz_class n;
        switch (below(8)) {
            case 0:
                for (unsigned at = 0; at < bits; at += 1 + below(bits)) n ^= (mpz_class(1) << (bits - at)) - 1;
                break;
            case 1:
                n = (mpz_class(1) << (2 + below(bits - 2))) + below(64) - 1;
                break;
            case 2: {
                const mpz_class p = random_prime(2 + below(bits / 2 - 1), random);
                n = p * p;
                break;
            }
            case 3: {
                const mpz_class p = random_prime(2 + below(bits / 2 - 5), random);
                n = p * ((2 + below(8)) * (p - 1) + 1);
                break;
            }
            case 4: {
                const mpz_class k = random_number(2 + below(bits / 3 - 4), random);
                n = (6 * k + 1) * (12 * k + 1) * (18 * k + 1);
                break;
            }
            default:
                n = random_number(2 + below(bits - 1), random);
        }
        if (below(16) != 0) mpz_setbit(n.get_mpz_t(), 0);
        if (mpz_sizeinbase(n.get_mpz_t(), 2) <= bits) append(found, n, len);
    }
    return found;
}

}  // namespace kesh::test
