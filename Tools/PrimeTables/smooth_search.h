/**
 * @file   smooth_search.h
 * @brief  Every base-2 strong pseudoprime whose prime factors all lie below a bound, by its largest prime factors.
 *
 * A product d of prime factors of n fixes the cofactor modulo L, the least common multiple of the orders of 2 modulo
 * these primes: n / d = d^(-1) modulo L. Starting from the largest prime p, further primes are chosen in falling order
 * until so few cofactors are left that trying them all is cheaper. These cofactors are not restricted in any way, so
 * numbers with one more, larger prime factor are also found, but not completely.
 */
#pragma once

#include <vector>

#include "fermat_filter.h"
#include "order_of_two.h"
#include "pair_search.h"

namespace prime_tables {

class SmoothSearch {
  public:
    /** Finds n <= largest whose largest prime factor is below `bound` <= 2^24. */
    SmoothSearch(u64 largest, u64 bound);

    /** Pushes every candidate whose largest prime factor is the prime p. */
    void search(const PrimeOrder& p, FermatFilter& filter) const;

  private:
    struct ValuationClass {
        std::vector<PrimeOrder> primes;  // ascending
        PrimeColumn column;              // the same
    };
    /** d has a prime factor; residue = d^(-1) modulo order; the primes of index below `open` may still be chosen. */
    void descend(const ValuationClass& primes, int valuation, u64 d, u64 order, u64 residue, std::size_t open,
                 FermatFilter& filter) const;
    void try_child(const ValuationClass& primes, int valuation, u64 d, u64 order, std::size_t index, std::size_t open,
                   FermatFilter& filter) const;
    void push_cofactor(int valuation, u64 d, u64 m, FermatFilter& filter) const;

    u64 largest_;
    std::vector<ValuationClass> classes_;  // by the 2-adic valuation of the order
};

}  // namespace prime_tables
