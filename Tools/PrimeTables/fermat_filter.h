/**
 * @file   fermat_filter.h
 * @brief  Collects candidates n = d * m and keeps the base-2 strong pseudoprimes among them.
 *
 * The candidates of both searches satisfy 2^(n-1) = 1 modulo d by construction, so the test that rejects nearly all of
 * them runs modulo the cofactor m alone. With AVX-512 IFMA a batch of cofactors below 2^48 is raised side by side in
 * 52-bit Montgomery form; elsewhere, and for larger cofactors, one at a time. Survivors take the full strong test.
 */
#pragma once

#include <array>
#include <vector>

#include "strong_test.h"

namespace prime_tables {

class FermatFilter {
  public:
    /** Base-2 strong pseudoprimes at or above `least` are appended to `found`. */
    FermatFilter(std::vector<u64>& found, u64 least) : found_(found), least_(least) {}

    /** Candidate n, an odd composite; m an odd cofactor of n. */
    void push(u64 n, u64 m) {
        if (m >= largest_batched || m == 1) {
            test_whole(n);
            return;
        }
        n_[fill_] = n;
        m_[fill_] = m;
        if (++fill_ == batch) flush();
    }
    /** Tests the candidates that still wait. To be called once after the last push. */
    void flush();

    [[nodiscard]] u64 tested() const {
        return tested_;
    }

    static constexpr std::size_t batch = 48;

  private:
    static constexpr u64 largest_batched = u64{1} << 48;
    void test_whole(u64 n);

    std::vector<u64>& found_;
    u64 least_;
    u64 tested_ = 0;
    std::size_t fill_ = 0;
    alignas(64) std::array<u64, batch> n_{};
    alignas(64) std::array<u64, batch> m_{};
};

/** Bit i is set when 2^(n[i]-1) = 1 modulo m[i]. Odd 1 < m[i] < 2^48, 2^2 < n[i]. */
u64 fermat_mask(const u64* n, const u64* m);
/** The same, one candidate at a time: the form for every processor, and the reference for the batch. */
u64 fermat_mask_portable(const u64* n, const u64* m);

}  // namespace prime_tables
