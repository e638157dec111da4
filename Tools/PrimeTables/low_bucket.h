/**
 * @file   low_bucket.h
 * @brief  The odd composites below 2^32 of one bucket, tested to one base after another.
 */
#pragma once

#include <vector>

#include "strong_test.h"

namespace prime_tables {

class LowBucket {
  public:
    /** Lists the odd composites 2^16 < n < 2^32 of the bucket: above every base. */
    explicit LowBucket(u32 bucket);

    /** The first composite that is a strong probable prime to the base, in no order; 0 when none is. */
    [[nodiscard]] u32 first_passing(u32 base) const;

  private:
    LowBucket() = default;
    void append(u32 n);
    void fill_up();
    void drop_primes();

    // Montgomery form with R = 2^32, column by column for the vectors; filled up to whole vectors.
    std::vector<u32> modulus_;
    std::vector<u32> inverse_;
    std::vector<u32> one_;     // R modulo n
    std::vector<u32> square_;  // R^2 modulo n
};

}  // namespace prime_tables
