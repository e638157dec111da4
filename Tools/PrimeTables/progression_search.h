/**
 * @file   progression_search.h
 * @brief  Every base-2 strong pseudoprime with a given prime factor p, found in the progression of its cofactor.
 *
 * If p divides n then 2^(n-1) = 1 modulo p, so the order o of 2 modulo p divides n - 1, and with it the cofactor
 * satisfies n / p = 1 modulo o. The conditions of cofactor_conditions.h leave a half to a quarter of this progression,
 * and a sieve by small primes leaves about a tenth of that for the Fermat test.
 */
#pragma once

#include <vector>

#include "bucket_walk.h"
#include "fermat_filter.h"
#include "order_of_two.h"

namespace prime_tables {

class ProgressionSearch {
  public:
    /**
     * Finds n <= largest whose cofactor n / p is at most ratio * p (0: any cofactor) and whose bucket is in the block.
     */
    explicit ProgressionSearch(u64 largest, u64 ratio = 0, const BucketBlock& block = {});

    /** Pushes every candidate n = p * m <= largest, m > 1, to the filter. p.prime > 2^16. */
    void search(const PrimeOrder& p, FermatFilter& filter);

    /** Number of progression members visited so far, before the sieve. */
    [[nodiscard]] u64 visited() const {
        return visited_;
    }

  private:
    /** Cofactors first + t * step for 0 <= t < members. */
    struct Progression {
        u64 first;
        u64 step;
        u64 members;
    };
    void search_all(const PrimeOrder& p, const Progression& cofactors, FermatFilter& filter);
    void search_block(const PrimeOrder& p, const Progression& cofactors, FermatFilter& filter) const;

    u64 largest_;
    u64 ratio_;
    BucketBlock block_;
    u64 visited_ = 0;
    std::vector<PrimeOrder> sieving_;
    struct Strike {
        u32 prime;
        u32 step;      // members between two strikes
        u64 position;  // the next member to strike
    };
    std::vector<Strike> strikes_;
    std::vector<u64> struck_;  // one bit a member of the segment
};

}  // namespace prime_tables
