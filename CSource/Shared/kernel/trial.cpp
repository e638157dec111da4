/**
 * @file   trial.cpp
 * @brief  Trial division by the odd primes up to 541 with multiplications only.
 *
 * The primes are taken in groups whose product P stays below 2^59. For each group the limbs are folded with the
 * residues c[i] = 2^(64 i) mod P into one sum below 16 * 2^64 * 2^59 = 2^127, which one Montgomery reduction modulo P
 * brings to a limb w with w 2^64 = sum (mod P). A prime p of the group divides the value exactly when it divides w,
 * because 2^64 is prime to p; ExactDivisor tells whether p divides w. A group costs one product per limb, and each of
 * its primes one more product; the order of the primes does not change the verdict.
 */

#include <array>
#include <cassert>

#include "Shared/intx/intx_gcc.h"
#include "Shared/kernel/kernel.h"

namespace kesh::kernel {

namespace {

constexpr umint largest_prime = trial_limit;
constexpr std::size_t prime_count = 99;
constexpr std::size_t largest_limb_count = 16;
constexpr umint product_bound = umint{1} << 59;

struct Group {
    umint product;                                   ///< P, the product of the group's primes
    umint inverse;                                   ///< 1/P mod 2^64
    std::array<umint, largest_limb_count> residues;  ///< 2^(64 i) mod P
    std::size_t first, last;                         ///< the group's primes are those with first <= index < last
};

constexpr std::array<umint, prime_count> odd_primes() {
    std::array<umint, prime_count> primes{};
    std::size_t count = 0;
    for (umint candidate = 3; candidate <= largest_prime; candidate += 2) {
        bool prime = true;
        for (std::size_t i = 0; i < count; ++i) prime = prime && candidate % primes[i] != 0;
        if (prime) primes[count++] = candidate;
    }
    return primes;
}

constexpr std::array<umint, prime_count> primes = odd_primes();
static_assert(primes.back() == largest_prime);

/**
 * One past the last prime of the group that begins at `first`: it has as many primes as keep the product below the
 * bound.
 */
constexpr std::size_t group_end(std::size_t first) {
    umint product = 1;
    std::size_t end = first;
    while (end < prime_count && product < product_bound / primes[end]) product *= primes[end++];
    return end;
}

constexpr std::size_t count_groups() {
    std::size_t count = 0;
    for (std::size_t first = 0; first < prime_count; first = group_end(first)) ++count;
    return count;
}

constexpr auto make_primes() {
    std::array<ExactDivisor, prime_count> table{};
    for (std::size_t i = 0; i < prime_count; ++i) table[i] = ExactDivisor(primes[i]);
    return table;
}

constexpr auto make_groups() {
    std::array<Group, count_groups()> table{};
    std::size_t first = 0;
    for (Group& group : table) {
        group.first = first;
        group.last = group_end(first);
        group.product = 1;
        for (std::size_t i = group.first; i < group.last; ++i) group.product *= primes[i];
        group.inverse = word_inverse(group.product);
        umint residue = 1;
        for (umint& entry : group.residues) {
            entry = residue;
            residue = static_cast<umint>((static_cast<umint2>(residue) << 64) % group.product);
        }
        first = group.last;
    }
    return table;
}

constexpr auto prime_table = make_primes();
constexpr auto group_table = make_groups();

}  // namespace

bool has_small_factor(std::span<const umint> limbs) noexcept {
    assert(limbs.size() <= largest_limb_count);
    for (const Group& group : group_table) {
        umint2 sum = 0;
        for (std::size_t i = 0; i < limbs.size(); ++i) sum += static_cast<umint2>(limbs[i]) * group.residues[i];
        const umint q = static_cast<umint>(sum) * group.inverse;
        const umint qp = static_cast<umint>((static_cast<umint2>(q) * group.product) >> 64);
        const umint w = static_cast<umint>(sum >> 64) + (group.product - qp);
        bool divides = false;
        for (std::size_t i = group.first; i < group.last; ++i) divides |= prime_table[i].divides(w);
        if (divides) return true;
    }
    return false;
}

}  // namespace kesh::kernel
