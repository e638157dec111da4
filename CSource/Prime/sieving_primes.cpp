/**
 * @file   sieving_primes.cpp
 * @brief  Builds the groups of sieving primes from the bitmap of the 64-bit test, as far as they are needed.
 */
#include "Prime/sieving_primes.h"

#include <atomic>
#include <bit>
#include <cassert>
#include <mutex>

#include "Prime/prime_word.h"

namespace kesh {
namespace {

/** pi(2^20) less the prime 2. */
constexpr std::size_t prime_count = 82024;

/**
 * The groups are built in parts. Part k has the primes of the words part_end[k - 1] ... part_end[k] - 1 of the bitmap,
 * each of which has 32 odd numbers, from 3 on. The first part has the primes below 64.
 */
constexpr std::array<std::size_t, 9> part_end = {1, 8, 32, 128, 512, 2048, 4096, 8192, 16384};
static_assert(64 * part_end.back() >= most_sieving_prime);

constexpr umint product_bound = umint{1} << 60;

/** Three primes below 2^20 have a product below the bound, so that only the last group of a part has fewer. */
constexpr std::size_t most_groups = prime_count / 3 + part_end.size();

/** Static memory: the system provides only the pages that are used, and there is no allocation that could fail. */
std::array<SievingPrime, prime_count> stored_primes;
std::array<SievingGroup, most_groups> groups;
std::array<std::size_t, part_end.size()> groups_to_part;
std::atomic<std::size_t> parts_built = 0;

void build_constants(SievingGroup& group) {
    group.product = 1;
    for (const SievingPrime* each = group.first; each != group.last; ++each) group.product *= each->p;
    group.inverse = word_inverse(group.product);
    const umint modulus = group.product, r = (umint{0} - modulus) % modulus;
    umint quotient = 0, square_of_r = 0, weight = 0;
    math_divmod(0, r, modulus, quotient, square_of_r);
    math_divmod(0, modulus / 2, modulus, quotient, weight);  // -R / 2
    for (umint& each : group.weight) {
        each = weight;
        weight = group.reduce(detail::limb_product(weight, square_of_r));
    }
}

/** Appends the primes and groups of a part. */
void build_part(std::size_t part, std::size_t& prime_end, std::size_t& group_end) {
    const std::span<const std::uint32_t> bitmap = odd_prime_bitmap();
    SievingGroup* group = nullptr;
    umint product = product_bound;
    for (std::size_t word = part == 0 ? 0 : part_end[part - 1]; word < part_end[part]; ++word) {
        for (std::uint32_t bits = bitmap[word]; bits != 0; bits &= bits - 1) {
            const umint p = 64 * word + 2 * static_cast<umint>(std::countr_zero(bits)) + 3;
            if (p > most_sieving_prime) break;
            if (product >= product_bound / p) {
                if (group != nullptr) build_constants(*group);
                group = &groups[group_end++];
                group->first = &stored_primes[prime_end];
                product = 1;
            }
            product *= p;
            stored_primes[prime_end] = {p, ~umint{0} / p};
            group->last = &stored_primes[prime_end++] + 1;
        }
    }
    build_constants(*group);
    groups_to_part[part] = group_end;
}

}  // namespace

std::span<const SievingGroup> sieving_groups(umint limit) {
    assert(3 <= limit && limit <= most_sieving_prime);
    std::size_t part = 0;
    while (64 * part_end[part] + 1 < limit) ++part;
    if (parts_built.load(std::memory_order_acquire) <= part) {
        static std::mutex building;
        static std::size_t prime_end = 0, group_end = 0;
        const std::lock_guard lock(building);
        for (std::size_t next = parts_built; next <= part; ++next) {
            build_part(next, prime_end, group_end);
            parts_built.store(next + 1, std::memory_order_release);
        }
    }
    const std::span<const SievingGroup> all(groups.data(), groups_to_part[part]);
    const auto above = std::ranges::partition_point(all, [&](const SievingGroup& g) { return g.first->p <= limit; });
    return all.first(static_cast<std::size_t>(above - all.begin()));
}

}  // namespace kesh
