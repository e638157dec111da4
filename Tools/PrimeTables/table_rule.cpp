/**
 * @file   table_rule.cpp
 * @brief  The search for the least base that satisfies the rule.
 */
#include "table_rule.h"

#include <algorithm>
#include <iterator>

#include "low_bucket.h"

namespace prime_tables {

bool clears(u32 base, u64 n, u64 third_from) {
    const Modulus mod(n);
    if (!is_strong_probable_prime(mod, base)) return true;
    return n >= third_from && !is_strong_probable_prime(mod, third_bases[third_index(base)]);
}

u32 least_clearing_base(const std::vector<u64>& pseudoprimes, u64 third_from, BaseRange range, const LowBucket* low) {
    std::vector<Modulus> open;  // the numbers that the third base of this range does not clear
    for (u32 base = range.first; base < range.end; ++base) {
        if (base == range.first || third_index(base) != third_index(base - 1)) {
            open.clear();
            for (const u64 n : pseudoprimes) {
                const Modulus mod(n);
                if (n < third_from || is_strong_probable_prime(mod, third_bases[third_index(base)]))
                    open.push_back(mod);
            }
        }
        const auto liar_for = std::find_if(open.begin(), open.end(),
                                           [base](const Modulus& mod) { return is_strong_probable_prime(mod, base); });
        if (liar_for == open.end()) {
            if (low == nullptr || low->first_passing(base) == 0) return base;
        } else if (liar_for != open.begin()) {
            // This moves numbers with many liars to the front, so that most bases fail early.
            std::iter_swap(liar_for, open.begin() + (liar_for - open.begin()) / 2);
        }
    }
    return 0;
}

u32 least_base(u32 bucket, const std::vector<u64>& pseudoprimes) {
    constexpr BaseRange with_margin = {2, bases_with_margin};
    constexpr std::array<BaseRange, 4> without = {with_margin, BaseRange{6 << 13, 7 << 13}, BaseRange{5 << 13, 6 << 13},
                                                  BaseRange{7 << 13, 8 << 13}};
    const LowBucket low(bucket);
    u32 base = least_clearing_base(pseudoprimes, third_base_from_with_margin, with_margin, &low);
    for (std::size_t i = 0; base == 0 && i < without.size(); ++i) {
        base = least_clearing_base(pseudoprimes, third_base_from, without[i], nullptr);
    }
    return base;
}

}  // namespace prime_tables
