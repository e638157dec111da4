/**
 * @file   sum_check.cpp
 * @brief  Bounds a sum of primes by the number of primes in its range.
 */
#include "calls/sum_check.h"

#include <algorithm>
#include <cmath>

namespace kesh_host {

namespace {

const cpp_int modulus = cpp_int(1) << 64;
/** Rounding errors in the bounds below are far smaller than this. */
constexpr double slack = 1e-9;
constexpr double two_to_64 = 0x1p64;
/** The largest range that is counted; it takes a fraction of a second. */
constexpr umint counted_length = 100'000'000;

/** A bound on the number of primes among y consecutive numbers: 2 y / ln y (Montgomery and Vaughan 1973), or every odd
 * number.
 */
double most_primes(double y) {
    return y < 100 ? y / 2 + 1 : 2 * y / std::log(y);
}

/** pi(x) is above x / (ln x - 1) and below x / (ln x - 1.1) (Dusart 1999). Precondition: x >= 60184. */
double pi_from_below(double x) {
    return x / (std::log(x) - 1);
}
double pi_from_above(double x) {
    return x / (std::log(x) - 1.1);
}

}  // namespace

SumCheck check_sum(umint a, umint b, umint residue, const PrimeCounter& count) {
    SumCheck whole{Wrapped::no, cpp_int(residue)};
    if (a > b || b < first_wrapped_sum) return whole;
    if (a <= 2) return {Wrapped::yes, std::nullopt};

    const auto last = static_cast<double>(b);
    const double most = most_primes(static_cast<double>(b - a) + 1) * last;
    if (most * (1 + slack) < two_to_64) return whole;
    const double middle = std::max(static_cast<double>(a), last / 2);
    const double least = (pi_from_below(last) - pi_from_above(middle)) * middle;
    if (least * (1 - slack) > two_to_64) return {Wrapped::yes, std::nullopt};

    const umint length = std::min(b - a, counted_length);
    const auto primes = count(b - length, b);
    if (!primes) return {};
    // At most 10^8 primes that differ by at most 10^8: the bounds are less than 2^64 apart, and one number between them
    // has the residue.
    const cpp_int low = cpp_int(b - length) * *primes;
    if (b - length > a) return {low >= modulus ? Wrapped::yes : Wrapped::unknown, std::nullopt};
    const cpp_int exact = low + (residue + modulus - low % modulus) % modulus;
    if (exact > cpp_int(b) * *primes) return {};
    return {exact >= modulus ? Wrapped::yes : Wrapped::no, exact};
}

}  // namespace kesh_host
