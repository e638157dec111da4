/**
 * @file   cofactor_conditions.h
 * @brief  Cheap necessary conditions on n = d * m, all primes of d with orders of 2-adic valuation v, to be a base-2
 *         strong pseudoprime.
 *
 * Let v(n) be the common 2-adic valuation of the orders of 2 modulo the prime factors of n: it must be the same for
 * all, or some power of 2 would be -1 modulo one factor and not modulo another. It is at most the valuation s of n -
 * 1, and 2^((n-1)/2) is -1 when it equals s and 1 otherwise. As this power is the Jacobi symbol (2/n), n modulo 8 and
 * s decide whether v fits.
 */
#pragma once

#include "order_of_two.h"

namespace prime_tables {

/**
 * True when no base-2 strong pseudoprime n whose orders have valuation v can have n's residue modulo a power of two.
 */
inline bool excludedByJacobi(u64 n, int v) {
    switch (v) {
        case 0:
            return (n & 7) != 1 && (n & 7) != 7;
        case 1:
            return (n & 7) != 1 && (n & 7) != 3;
        case 2:
            return (n & 3) != 1;
        default:
            return (n & ((u64{2} << v) - 1)) != 1;
    }
}

/**
 * True when the cofactor m of n has a prime factor up to 13 that cannot divide a pseudoprime: its order has another
 * valuation, or does not divide n - 1. Most cofactors end here.
 */
inline bool excluded_by_small_primes(u64 n, u64 m, int v) {
    return (m % 3 == 0 && v != 1) || (m % 5 == 0 && v != 2) || (m % 7 == 0 && (v != 0 || n % 3 != 1)) ||
           (m % 11 == 0 && (v != 1 || n % 5 != 1)) || (m % 13 == 0 && (v != 2 || n % 3 != 1));
}

/**
 * Residues of the cofactor m = n / p that are left by m = 1 modulo the order of 2 and by excludedByJacobi(): one or
 * two starts below a common modulus.
 */
struct CofactorClasses {
    u64 modulus;
    u64 start[2];
    int count;
};
CofactorClasses cofactor_classes(const PrimeOrder& p);

}  // namespace prime_tables
