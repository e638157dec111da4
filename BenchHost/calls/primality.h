/**
 * @file   primality.h
 * @brief  KESH_PrimeQ for people: numbers of up to 1024 bits, walks to neighbouring primes.
 */
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "HostKit/library.h"
#include "calls/expression.h"
#include "kesh_prime.h"

namespace kesh_host {

/** Largest number of bits that the library tests. */
constexpr unsigned primality_bits = 1024;

/** Calls KESH_PrimeQ of one library. */
class PrimalityTest {
  public:
    /** @throws BadInput when the library does not export KESH_PrimeQ */
    explicit PrimalityTest(const Library& library);

    /** Whether n is prime. Precondition: 0 <= n < 2^1024. The number of limbs passed is 1, 2, 4, 8 or 16. */
    bool operator()(const cpp_int& n) const;

    /** The verdicts on many numbers, tested in one call if the library exports KESH_ArePrimeOnThreads. go_on(done) is
     * called between blocks of numbers; if it returns false, there are no verdicts. */
    std::vector<bool> operator()(std::span<const cpp_int> numbers, const std::function<bool(std::size_t)>& go_on) const;

  private:
    PrimeQFunction function_;
    decltype(&KESH_ArePrimeOnThreads) many_;
};

/** Reads one number of at most 1024 bits. @throws BadInput */
cpp_int read_candidate(const std::string& text);

/** Where a walk to a neighbouring prime ended. */
struct Neighbour {
    cpp_int prime;
    std::size_t tested = 0;  ///< candidates given to the library
    bool found = false;      ///< false: stopped, or no prime in that direction within 1024 bits
};

/** The smallest prime above n, or the largest below it; calls `stop` between candidates. */
Neighbour find_neighbour(const PrimalityTest& test, const cpp_int& n, bool upwards, const std::function<bool()>& stop);

/** "there is no prime below 2": for a walk that found none. */
std::string no_neighbour_text(bool upwards, const std::string& number);

/** How a number of that many bits is tested: "64-bit test, proven" or "Baillie-PSW at 512 bits". */
std::string test_name(unsigned bits);

}  // namespace kesh_host
