/**
 * @file   small_primes.cpp
 * @brief  Builds the table of small primes, by a sieve or from the bitmap of the 64-bit test.
 */
#include "Prime/small_primes.h"

#include <algorithm>
#include <bit>
#include <mutex>
#include <new>

#include "Prime/prime_word.h"

namespace kesh {

std::vector<SmallPrime> primes_small;

std::vector<SmallPrime> gen_small_prime(mint limit) {
    KESH_REQUIRE(limit <= SMALL_PRIMES_UPTO);
    constexpr mint root = 1000;           // floor(sqrt(SMALL_PRIMES_UPTO))
    constexpr mint segment_size = 32768;  // one byte per number: it fits into the first-level cache

    std::vector<SmallPrime> primes;
    primes.emplace_back(2UL);

    std::vector<char> is_prime(root + 1, 1);
    std::vector<char> segment(segment_size);
    std::vector<mint> sieving_primes;
    std::vector<mint> next_multiple;  // of each sieving prime: offset in the next segment
    const auto at = [](mint i) { return static_cast<std::size_t>(i); };

    mint i = 3, s = 3, n = 3;
    for (mint low = 0; low <= limit; low += segment_size) {
        const mint high = std::min(low + segment_size - 1, limit);
        std::ranges::fill(segment, 1);

        for (; i * i <= high; i += 2) {
            if (is_prime[at(i)] == 0) continue;
            for (mint j = i * i; j <= root; j += i) is_prime[at(j)] = 0;
        }
        for (; s * s <= high; s += 2) {
            if (is_prime[at(s)] == 0) continue;
            sieving_primes.push_back(s);
            next_multiple.push_back(s * s - low);
        }
        for (std::size_t k = 0; k < sieving_primes.size(); ++k) {
            mint j = next_multiple[k];
            for (const mint step = 2 * sieving_primes[k]; j < segment_size; j += step) segment[at(j)] = 0;
            next_multiple[k] = j - segment_size;
        }
        for (; n <= high; n += 2) {
            if (segment[at(n - low)] != 0) primes.emplace_back(static_cast<unsigned long>(n));
        }
    }
    return primes;
}

std::vector<SmallPrime> small_primes_from_bitmap() {
    std::vector<SmallPrime> primes;
    primes.reserve(SMALL_PRIMES_COUNT);
    primes.emplace_back(2UL);
    std::uint32_t n = 3;  // the number of bit 0 of the word
    for (auto word = odd_prime_bitmap().begin(); n <= SMALL_PRIMES_UPTO; ++word, n += 64) {
        for (std::uint32_t bits = *word; bits != 0; bits &= bits - 1) {
            const std::uint32_t prime = n + 2 * static_cast<std::uint32_t>(std::countr_zero(bits));
            if (prime > SMALL_PRIMES_UPTO) break;
            primes.emplace_back(static_cast<unsigned long>(prime));
        }
    }
    return primes;
}

void init_small_primes() {
    static std::once_flag built;
    std::call_once(built, [] {
        if (!primes_small.empty()) return;
        try {
            primes_small = small_primes_from_bitmap();
        } catch (const std::bad_alloc&) {
            // No verdict needs the table. The exception is not left to the caller: when one passes through call_once,
            // the C library loads another library for the unwinding, and without memory it ends the process instead.
        }
    });
}

}  // namespace kesh
