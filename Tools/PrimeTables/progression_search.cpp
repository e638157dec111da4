/**
 * @file   progression_search.cpp
 * @brief  The sieve over the cofactors in a progression, segment by segment.
 */
#include "progression_search.h"

#include <algorithm>
#include <numeric>

#include "cofactor_conditions.h"

namespace prime_tables {
namespace {

constexpr u64 segment_members = u64{1} << 18;  // 32 KB of bits: the first-level cache
constexpr u64 largest_sieving_prime = 16384;

}  // namespace

ProgressionSearch::ProgressionSearch(u64 largest, u64 ratio, const BucketBlock& block)
    : largest_(largest),
      ratio_(ratio),
      block_(block),
      sieving_(orders_of_two(3, largest_sieving_prime)),
      struck_(segment_members / 64) {}

void ProgressionSearch::search(const PrimeOrder& p, FermatFilter& filter) {
    u64 largest_cofactor = largest_ / p.prime;
    if (ratio_ != 0) largest_cofactor = std::min(largest_cofactor, ratio_ * p.prime);
    const CofactorClasses classes = cofactor_classes(p);
    for (int i = 0; i < classes.count; ++i) {
        const u64 first = classes.start[i];
        if (first > largest_cofactor) continue;
        const Progression cofactors{first, classes.modulus, (largest_cofactor - first) / classes.modulus + 1};
        visited_ += cofactors.members;
        if (block_.count == bucket_count) {
            search_all(p, cofactors, filter);
        } else {
            search_block(p, cofactors, filter);
        }
    }
}

void ProgressionSearch::search_block(const PrimeOrder& p, const Progression& cofactors, FermatFilter& filter) const {
    BucketWalk walk(block_, p.prime * cofactors.first, p.prime * cofactors.step);
    for (auto t = walk.next(); t && *t < cofactors.members; t = walk.next()) {
        const u64 m = cofactors.first + *t * cofactors.step;
        const u64 n = p.prime * m;
        if (m > 1 && !excluded_by_small_primes(n, m, p.valuation())) filter.push(n, m);
    }
}

/**
 * Members m = first + t * step. A small prime q divides m for t = t0 modulo q. Then n must be 1 modulo ord_q, which no
 * t does when the valuations differ, every t when ord_q divides step, and else one t in w = ord_q / gcd(ord_q, step).
 */
void ProgressionSearch::search_all(const PrimeOrder& p, const Progression& cofactors, FermatFilter& filter) {
    const auto [first, step, members] = cofactors;
    const auto push = [&](u64 t) {
        const u64 m = cofactors.first + t * cofactors.step;
        if (m > 1) filter.push(p.prime * m, m);
    };

    strikes_.clear();
    // Setting up a prime costs about as much as the tests that it saves among 100 q members.
    const u64 bound = std::min(members / 100, largest_sieving_prime);
    for (const PrimeOrder& small : sieving_) {
        const u32 q = small.prime;
        if (q > bound) break;
        const u64 step_mod_q = step % q;
        if (step_mod_q == 0) continue;  // then q divides the order, and m = 1 modulo q
        const u64 t0 = (q - first % q) * inverse_modulo(step_mod_q, q) % q;
        if (small.valuation() != p.valuation()) {
            strikes_.push_back({q, q, t0});
            continue;
        }
        const u64 order = small.order;
        const u64 common = std::gcd(order, step);
        const u64 w = order / common;
        if (w == 1) continue;
        // n = p (first + (t0 + q u) step) = 1 modulo ord_q, solved for u modulo w.
        const u64 p_mod = p.prime % order;
        const u64 at_t0 = p_mod * ((first + t0 * step) % order) % order;
        const u64 slope = p_mod * (q * (step % order) % order) % order;
        const u64 u0 = (order + 1 - at_t0) % order / common * inverse_modulo(slope / common, w) % w;
        if (q < 64) {
            for (u64 u = 0; u < w; ++u) {
                if (u != u0) strikes_.push_back({q, static_cast<u32>(q * w), t0 + q * u});
            }
        } else {
            strikes_.push_back({q, q, t0});
            for (u64 t = t0 + q * u0; t < members; t += q * w) push(t);
        }
    }

    for (u64 base = 0; base < members; base += segment_members) {
        const u64 length = std::min(segment_members, members - base);
        const std::size_t words = (length + 63) / 64;
        std::fill_n(struck_.begin(), words, 0);
        if (length % 64 != 0) struck_[words - 1] = ~u64{0} << (length % 64);
        for (Strike& strike : strikes_) {
            u64 t = strike.position;
            for (; t < length; t += strike.step) struck_[t / 64] |= u64{1} << (t % 64);
            strike.position = t - length;
        }
        for (std::size_t i = 0; i < words; ++i) {
            for (u64 left = ~struck_[i]; left != 0; left &= left - 1) {
                push(base + 64 * i + static_cast<u64>(std::countr_zero(left)));
            }
        }
    }
}

}  // namespace prime_tables
