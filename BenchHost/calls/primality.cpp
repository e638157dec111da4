/**
 * @file   primality.cpp
 * @brief  Calls KESH_PrimeQ with limbs, and walks over odd numbers.
 */
#include "calls/primality.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cstdint>

#include "HostKit/host.h"
#include "terminal/bad_input.h"
#include "terminal/printable.h"

namespace kesh_host {

PrimalityTest::PrimalityTest(const Library& library)
    : function_(library.symbol<PrimeQFunction>("KESH_PrimeQ")),
      many_(library.symbol<decltype(&KESH_ArePrimeOnThreads)>("KESH_ArePrimeOnThreads")) {
    if (function_ == nullptr) throw BadInput("this library does not export KESH_PrimeQ");
}

bool PrimalityTest::operator()(const cpp_int& n) const {
    std::vector<umint> limbs = to_limbs(n);
    limbs.resize(std::bit_ceil(limbs.size()));
    mbool prime = -1;
    if (function_(limbs.data(), static_cast<mint>(limbs.size()), &prime) != 1) {
        host().breaches.report(fmt::format("KESH_PrimeQ refused {} limbs", limbs.size()));
    } else if (prime != 0 && prime != 1) {
        host().breaches.report(fmt::format("KESH_PrimeQ wrote {} instead of 0 or 1", prime));
    }
    return prime == 1;
}

std::vector<bool> PrimalityTest::operator()(std::span<const cpp_int> numbers,
                                            const std::function<bool(std::size_t)>& go_on) const {
    std::vector<bool> prime;
    if (many_ == nullptr) {
        for (const cpp_int& n : numbers) {
            if (!go_on(prime.size())) return {};
            prime.push_back((*this)(n));
        }
        return prime;
    }
    std::size_t len = 1;
    for (const cpp_int& n : numbers) len = std::max(len, to_limbs(n).size());
    std::vector<umint> limbs;
    limbs.reserve(len * numbers.size());
    for (const cpp_int& n : numbers) {
        const std::vector<umint> given = to_limbs(n);
        limbs.insert(limbs.end(), given.begin(), given.end());
        limbs.resize(limbs.size() + len - given.size());
    }
    std::vector<std::uint8_t> verdicts(numbers.size(), 2);
    const KESH_Progress ask = [](void* data, std::int64_t done, std::int64_t) {
        return (*static_cast<const std::function<bool(std::size_t)>*>(data))(static_cast<std::size_t>(done)) ? 0 : 1;
    };
    const int code = many_(limbs.data(), static_cast<std::int64_t>(len), std::ssize(numbers), verdicts.data(), 1, ask,
                           const_cast<std::function<bool(std::size_t)>*>(&go_on));
    if (code == KESH_STOPPED) return {};
    if (code != KESH_DONE)
        host().breaches.report(
            fmt::format("KESH_ArePrimeOnThreads returned {} for {} numbers of {} limbs", code, numbers.size(), len));
    for (const std::uint8_t verdict : verdicts) {
        if (code == KESH_DONE && verdict > 1)
            host().breaches.report(
                fmt::format("KESH_ArePrimeOnThreads wrote the verdict {} instead of 0 or 1", verdict));
        prime.push_back(verdict == 1);
    }
    return prime;
}

cpp_int read_candidate(const std::string& text) {
    const std::string shown = shortened(text, 40);
    cpp_int value;
    try {
        value = parse_integer(text);
    } catch (const ExpressionError& error) {
        throw BadInput(error.what());
    }
    if (value < 0)
        throw BadInput(fmt::format("'{}' is negative; KESH_PrimeQ takes integers from 0 to 2^1024-1", shown));
    if (const unsigned bits = bit_length(value); bits > primality_bits) {
        throw BadInput(fmt::format("'{}' has {} bits; KESH_PrimeQ takes at most 1024", shown, bits));
    }
    return value;
}

Neighbour find_neighbour(const PrimalityTest& test, const cpp_int& n, bool upwards, const std::function<bool()>& stop) {
    Neighbour result;
    cpp_int candidate = n + (upwards ? 1 : -1);
    if (upwards && candidate < 2) candidate = 2;
    const auto usable = [&] { return candidate >= 2 && bit_length(candidate) <= primality_bits; };
    for (; usable() && !stop(); upwards ? ++candidate : --candidate) {
        if (candidate > 2 && !bit_test(candidate, 0)) continue;
        ++result.tested;
        if (test(candidate)) {
            result.prime = candidate;
            result.found = true;
            break;
        }
    }
    return result;
}

std::string no_neighbour_text(bool upwards, const std::string& number) {
    return upwards ? fmt::format("there is no prime above {} within 1024 bits", number)
                   : fmt::format("there is no prime below {}", number);
}

std::string test_name(unsigned bits) {
    if (bits <= 64) return "64-bit test, proven";
    return fmt::format("Baillie-PSW at {} bits", std::bit_ceil(bits));
}

}  // namespace kesh_host
