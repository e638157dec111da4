/**
 * @file   primesieve_adapter.h
 * @brief  The services of primesieve in the form that the sieve exports need: placing an iterator strictly above or
 *         below a number, telling it how far a walk will go, and collecting primes into 32-bit elements.
 *
 * Everything else of primesieve is used directly.
 */
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <primesieve.hpp>
#include <vector>

namespace kesh::sieve {

/**
 * The distance within which the k-th prime above or below x nearly always is: 1.2 times the average distance, plus
 * 1550, the largest gap between primes below 2^64.
 *
 * Without a hint the iterator expects to continue to 2^64 and sieves about sqrt(x) numbers at a time: 2 GB of primes
 * for the one prime below 2^64. A hint changes no result: if it was too near, the iterator continues without it.
 */
inline uint64_t expected_distance(uint64_t x, int64_t k) {
    const double average = std::log(static_cast<double>(x) + 2);
    const double distance = 1.2 * average * static_cast<double>(std::max<int64_t>(k, 0)) + 1550;
    return distance < 0x1p63 ? static_cast<uint64_t>(distance) : uint64_t{1} << 63;
}

/** A stop hint for k primes above x. */
inline uint64_t hint_above(uint64_t x, int64_t k) {
    return x + std::min(expected_distance(x, k), std::numeric_limits<uint64_t>::max() - x);
}

/** A stop hint for k primes below x. */
inline uint64_t hint_below(uint64_t x, int64_t k) {
    return x - std::min(expected_distance(x, k), x);
}

/** True for iterators of primesieve before version 11, which have `skipto` with the strict meaning. */
template <typename Iterator>
concept has_skipto = requires(Iterator it, uint64_t x) { it.skipto(x, x); };

/**
 * Places the iterator so that the following `next_prime()` calls yield the primes > x in increasing order.
 *
 * Since version 11 `jump_to(y)` includes y, hence x + 1. For x = 2^64 - 1 the sum x + 1 would wrap to 0 and start again
 * at 2; x itself is used instead, because it is composite: `next_prime()` then throws primesieve's "cannot generate
 * primes > 2^64".
 */
template <typename Iterator>
void skipto_for_next(Iterator& it, uint64_t x, uint64_t stop_hint) {
    if constexpr (has_skipto<Iterator>) {
        it.skipto(x, stop_hint);
    } else {
        it.jump_to(x == std::numeric_limits<uint64_t>::max() ? x : x + 1, stop_hint);
    }
}

/**
 * Places the iterator so that the following `prev_prime()` calls yield the primes < x in decreasing order, and then 0.
 */
template <typename Iterator>
void skipto_for_prev(Iterator& it, uint64_t x, uint64_t stop_hint) {
    if constexpr (has_skipto<Iterator>) {
        it.skipto(x, stop_hint);
    } else {
        it.jump_to(x == 0 ? 0 : x - 1, stop_hint);
    }
}

/**
 * A `std::vector<int>` that keeps the low 32 bits of every prime appended to it.
 *
 * Since version 11 primesieve refuses to fill a container whose `value_type` cannot hold the largest prime. This one
 * declares 64-bit elements and stores 4 bytes per prime. It has the members that primesieve's templates use; `reserve`
 * is the vector's own, with its length error.
 */
class NarrowingPrimes {
  public:
    using value_type = uint64_t;

    size_t size() const noexcept {
        return primes_.size();
    }

    void reserve(size_t n) {
        primes_.reserve(n);
    }

    std::vector<int>::iterator end() noexcept {
        return primes_.end();
    }

    void insert(std::vector<int>::iterator position, const uint64_t* first, const uint64_t* last) {
        primes_.insert(position, first, last);
    }

    void push_back(uint64_t prime) {
        primes_.push_back(static_cast<int>(prime));
    }

    const std::vector<int>& narrowed() const noexcept {
        return primes_;
    }

  private:
    std::vector<int> primes_;
};

}  // namespace kesh::sieve
