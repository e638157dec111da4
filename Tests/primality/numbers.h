/**
 * @file   numbers.h
 * @brief  Numbers for the tests of primality, made with GMP: families that some part of a probable-prime test finds
 *         hard.
 */
#pragma once

#include <gmpxx.h>

#include <algorithm>
#include <vector>

#include "support/gmp.h"

namespace kesh::test {

inline bool gmp_says_prime(const mpz_class& n) {
    return mpz_probab_prime_p(n.get_mpz_t(), 24) != 0;
}

inline mpz_class power_of_2(unsigned exponent) {
    return mpz_class(1) << exponent;
}

/** A reproducible source of numbers with exactly the wanted bit length. */
class number_source {
  public:
    explicit number_source(unsigned long seed) {
        gmp_randinit_mt(random);
        gmp_randseed_ui(random, seed);
    }
    ~number_source() {
        gmp_randclear(random);
    }
    number_source(const number_source&) = delete;
    number_source& operator=(const number_source&) = delete;

    mpz_class below(const mpz_class& bound) {
        mpz_class n;
        mpz_urandomm(n.get_mpz_t(), random, bound.get_mpz_t());
        return n;
    }
    mpz_class of_bits(unsigned bits) {
        mpz_class n;
        mpz_urandomb(n.get_mpz_t(), random, bits - 1);
        mpz_setbit(n.get_mpz_t(), bits - 1);
        return n;
    }
    mpz_class odd(unsigned bits) {
        return of_bits(bits) | 1;
    }

    /** Long runs of equal bits: carries travel far in such numbers. */
    mpz_class skewed_odd(unsigned bits) {
        mpz_class n;
        mpz_rrandomb(n.get_mpz_t(), random, bits);
        return n | 1;
    }

    mpz_class prime(unsigned bits) {
        for (;;) {
            mpz_class p = odd(bits);
            mpz_nextprime(p.get_mpz_t(), p.get_mpz_t());
            if (mpz_sizeinbase(p.get_mpz_t(), 2) == bits) return p;
        }
    }

    /** Two primes of half the size next to each other. */
    mpz_class close_semiprime(unsigned bits) {
        const mpz_class p = prime(bits / 2);
        mpz_class q;
        mpz_nextprime(q.get_mpz_t(), p.get_mpz_t());
        return p * q;
    }
    /** A prime of 16 to 32 bits and a large one. */
    mpz_class far_semiprime(unsigned bits) {
        const unsigned small = 16 + static_cast<unsigned>(below(17).get_ui());
        return prime(small) * prime(bits - small);
    }

    /** (ag + 1)(bg + 1)(cg + 1), all prime. n - 1 is a multiple of g, so every base has a high power near 1. */
    mpz_class three_primes_with_common_g(unsigned bits) {
        const unsigned third = bits / 3;
        const unsigned free_bits = 12;
        const mpz_class g = of_bits(third - free_bits) & ~mpz_class(1);
        return prime_in_progression(g, free_bits) * prime_in_progression(g, free_bits) *
               prime_in_progression(g, free_bits);
    }

    /** (g + 1)(kg + 1), both prime, 2 <= k <= 9: one in a few is a strong pseudoprime to base 2. */
    mpz_class strong_pseudoprime_candidate(unsigned bits) {
        for (;;) {
            const mpz_class p = prime(bits / 2 - 1), g = p - 1;
            for (unsigned k = 2; k <= 9; ++k) {
                const mpz_class q = k * g + 1;
                if (gmp_says_prime(q)) return p * q;
            }
        }
    }

    /**
     * p q with q = k(p + 1) + 1, both prime. The rank of a Lucas sequence with (D/p) = -1 modulo p divides p + 1; with
     * (D/q) = 1 modulo q it divides q - 1. And n + 1 is 0 modulo p + 1, and p + 1 modulo q - 1. One in a few passes
     * Lucas tests.
     */
    mpz_class lucas_pseudoprime_candidate(unsigned bits) {
        for (;;) {
            const mpz_class p = prime(bits / 2 - 1);
            for (unsigned k = 2; k <= 9; ++k) {
                const mpz_class q = k * (p + 1) + 1;
                if (gmp_says_prime(q)) return p * q;
            }
        }
    }

    mpz_class square_of_a_prime(unsigned bits) {
        const mpz_class p = prime(bits / 2);
        return p * p;
    }

  private:
    mpz_class prime_in_progression(const mpz_class& step, unsigned factor_bits) {
        for (;;) {
            const mpz_class p = of_bits(factor_bits) * step + 1;
            if (gmp_says_prime(p)) return p;
        }
    }

    gmp_randstate_t random;
};

/** A family of numbers, and how many of them a quick test takes at 128 bits. */
struct family {
    const char* name;
    mpz_class (number_source::*make)(unsigned bits);
    unsigned quick_count;
    bool costly;  ///< whether most of its numbers pass trial division: then the cost grows with the cube of the width

    [[nodiscard]] unsigned count_at(long width) const {
        const unsigned ratio = static_cast<unsigned>(width) / 128;
        return costly ? std::max(20u, quick_count / (ratio * ratio * ratio)) : quick_count;
    }
};

inline const std::vector<family>& families() {
    static const std::vector<family> all = {
        {"odd", &number_source::odd, 70000, false},
        {"skewed odd", &number_source::skewed_odd, 30000, false},
        {"prime", &number_source::prime, 3000, true},
        {"semiprime of close factors", &number_source::close_semiprime, 2000, true},
        {"semiprime of far factors", &number_source::far_semiprime, 2000, true},
        {"three primes with a common g", &number_source::three_primes_with_common_g, 1500, true},
        {"(g + 1)(kg + 1)", &number_source::strong_pseudoprime_candidate, 1500, true},
        {"p (k (p + 1) + 1)", &number_source::lucas_pseudoprime_candidate, 1500, true},
        {"square of a prime", &number_source::square_of_a_prime, 500, true},
    };
    return all;
}

/** Mersenne and Fermat numbers, and the odd numbers next to each power of two, from 65 bits to 1024. */
inline std::vector<mpz_class> special_numbers() {
    std::vector<mpz_class> all;
    for (unsigned exponent = 65; exponent <= 1024; ++exponent) {
        all.push_back(power_of_2(exponent) - 1);
        if (exponent < 1024) all.push_back(power_of_2(exponent) + 1);
    }
    for (unsigned exponent : {65u, 127u, 128u, 129u, 255u, 256u, 257u, 511u, 512u, 513u, 1023u, 1024u}) {
        for (unsigned k = 3; k < 200; k += 2) all.push_back(power_of_2(exponent) - k);
    }
    return all;
}

}  // namespace kesh::test
