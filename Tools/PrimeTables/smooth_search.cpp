/**
 * @file   smooth_search.cpp
 * @brief  The recursion over prime factors in falling order.
 */
#include "smooth_search.h"

#include <algorithm>
#include <numeric>

#include "cofactor_conditions.h"

namespace prime_tables {
namespace {

/** A squared prime divides a pseudoprime to base 2 only when 2^(p-1) = 1 modulo p^2; below 2^32 these two do. */
bool may_be_squared(u32 p) {
    return p == 1093 || p == 3511;
}

}  // namespace

SmoothSearch::SmoothSearch(u64 largest, u64 bound) : largest_(largest), classes_(32) {
    for (const PrimeOrder& p : orders_of_two(3, bound)) {
        ValuationClass& c = classes_[static_cast<std::size_t>(p.valuation())];
        c.primes.push_back(p);
        c.column.prime.push_back(p.prime);
        c.column.order.push_back(p.order);
    }
}

void SmoothSearch::push_cofactor(int valuation, u64 d, u64 m, FermatFilter& filter) const {
    if ((m & 1) == 0) return;
    const u64 n = d * m;
    if (excludedByJacobi(n, valuation) || excluded_by_small_primes(n, m, valuation)) return;
    filter.push(n, m);
}

void SmoothSearch::try_child(const ValuationClass& primes, int valuation, u64 d, u64 order, std::size_t index,
                             std::size_t open, FermatFilter& filter) const {
    const PrimeOrder& q = primes.primes[index];
    // q cannot divide n - 1 as n. The primes of d are at least q and hence do not divide its order.
    if (order % q.prime == 0) return;
    const u64 child = d * q.prime;
    // Below 2^64: the caller descends only while order <= largest / d, and q <= d.
    const u64 child_order = order / std::gcd(order, u64{q.order}) * q.order;
    descend(primes, valuation, child, child_order, inverse_modulo(child, child_order), open, filter);
}

void SmoothSearch::descend(const ValuationClass& primes, int valuation, u64 d, u64 order, u64 residue, std::size_t open,
                           FermatFilter& filter) const {
    const u64 bound = largest_ / d;
    // Trying a cofactor costs about a tenth of setting up a child.
    if (bound / order <= 10 * open) {
        for (u64 m = residue; m <= bound; m += order) {
            push_cofactor(valuation, d, m, filter);
            if (bound - m < order) break;
        }
        return;
    }
    if (residue == 1) push_cofactor(valuation, d, 1, filter);
    for (std::size_t i = 0; i < open && primes.primes[i].prime <= bound; ++i) {
        try_child(primes, valuation, d, order, i, i + (may_be_squared(primes.primes[i].prime) ? 1 : 0), filter);
    }
}

void SmoothSearch::search(const PrimeOrder& p, FermatFilter& filter) const {
    const int valuation = p.valuation();
    const ValuationClass& c = classes_[static_cast<std::size_t>(valuation)];
    const auto below = [&](u64 q) {
        const auto at = std::lower_bound(c.primes.begin(), c.primes.end(), q,
                                         [](const PrimeOrder& x, u64 value) { return x.prime < value; });
        return static_cast<std::size_t>(at - c.primes.begin());
    };
    const std::size_t open = below(p.prime);
    // A pair by vectors costs two cycles and half a cycle for each cofactor modulo ord_p; one by the recursion 400 at
    // least.
    const double square = static_cast<double>(p.prime) * static_cast<double>(p.order);
    const double balance = static_cast<double>(largest_) / square / 800;
    const u64 first_paired = std::max<u64>(least_paired_prime, static_cast<u64>(balance));
    const std::size_t paired = std::min(open, below(first_paired));
    for (std::size_t i = 0; i < paired && c.primes[i].prime <= largest_ / p.prime; ++i) {
        try_child(c, valuation, p.prime, p.order, i, i + (may_be_squared(c.primes[i].prime) ? 1 : 0), filter);
    }
    if (may_be_squared(p.prime)) try_child(c, valuation, p.prime, p.order, open, open, filter);
    search_pairs(p, c.column, paired, open, static_cast<double>(largest_), [&](u64 q, u64 m) {
        const u64 d = p.prime * q;
        if (m <= largest_ / d) push_cofactor(valuation, d, m, filter);
    });
}

}  // namespace prime_tables
