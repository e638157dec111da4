/**
 * @file   numbers.h
 * @brief  The numbers that primality is measured on: the same in every run.
 */
#pragma once

#include <gmpxx.h>

#include <cstdint>
#include <vector>

namespace kesh::bench {

enum class Kind { prime, semiprime, random_odd };

inline const char* name(Kind kind) {
    return kind == Kind::prime ? "prime" : kind == Kind::semiprime ? "semiprime" : "random odd";
}

/**
 * `count` numbers of exactly `bits` bits: primes, products of two primes of half the length (one a bit longer where
 * `bits` is odd), or uniformly random odd numbers.
 */
inline std::vector<mpz_class> numbers(unsigned bits, Kind kind, std::size_t count) {
    gmp_randclass random(gmp_randinit_mt);
    random.seed(20240917);
    const auto odd = [&random](unsigned length) {
        mpz_class n = random.get_z_bits(length);
        mpz_setbit(n.get_mpz_t(), length - 1);
        mpz_setbit(n.get_mpz_t(), 0);
        return n;
    };
    // A random prime of exactly this length; the next prime above a number may be one bit longer.
    const auto prime = [&odd](unsigned length) {
        mpz_class p;
        do mpz_nextprime(p.get_mpz_t(), odd(length).get_mpz_t());
        while (mpz_sizeinbase(p.get_mpz_t(), 2) != length);
        return p;
    };
    const auto one = [&](Kind which) {
        if (which == Kind::random_odd) return odd(bits);
        if (which == Kind::prime) return prime(bits);
        mpz_class n;
        do n = prime((bits + 1) / 2) * prime(bits / 2);
        while (mpz_sizeinbase(n.get_mpz_t(), 2) != bits);
        return n;
    };
    std::vector<mpz_class> list;
    for (std::size_t i = 0; i < count; ++i) list.push_back(one(kind));
    return list;
}

/** The number of limbs of `bits` bits. */
inline std::size_t limb_count(unsigned bits) {
    return (bits + 63) / 64;
}

/** The limbs of numbers of `bits` bits, one number after another, least significant limb first. */
inline std::vector<std::uint64_t> limbs_of(const std::vector<mpz_class>& list, unsigned bits) {
    const std::size_t length = limb_count(bits);
    std::vector<std::uint64_t> limbs(length * list.size());
    for (std::size_t i = 0; i < list.size(); ++i)
        mpz_export(&limbs[i * length], nullptr, -1, sizeof(std::uint64_t), 0, 0, list[i].get_mpz_t());
    return limbs;
}

}  // namespace kesh::bench
