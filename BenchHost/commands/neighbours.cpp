/**
 * @file   neighbours.cpp
 * @brief  Calls the library's next-prime functions and prints their results as lines.
 */
#include "commands/neighbours.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <nlohmann/json.hpp>

#include "HostKit/library.h"
#include "answers/print_look.h"
#include "calls/expression.h"
#include "calls/interrupts.h"
#include "calls/primality.h"
#include "commands/looks.h"
#include "commands/options.h"
#include "kesh_prime.h"
#include "terminal/bad_input.h"
#include "terminal/duration.h"
#include "terminal/exit_codes.h"
#include "terminal/output.h"
#include "terminal/progress_line.h"
#include "terminal/progress_text.h"
#include "terminal/stopwatch.h"

namespace kesh_host {

namespace {

using Json = nlohmann::ordered_json;
using Limbs = std::vector<umint>;

constexpr std::size_t most_limbs = primality_bits / 64;

/** A function of the library. @throws BadInput if the chosen library does not have it */
template <class Function>
Function* needed(const Library& library, const char* name) {
    auto* const function = library.symbol<Function*>(name);
    if (function == nullptr) throw BadInput(fmt::format("this library does not export {}", name));
    return function;
}

/** The limbs of n, and zero limbs up to `count`. */
Limbs limbs_of(const cpp_int& n, std::size_t count) {
    Limbs limbs = to_limbs(n);
    limbs.resize(count);
    return limbs;
}

/** The number of limbs for n and for a prime a little above it. */
std::size_t roomy(const cpp_int& n) {
    return std::min(to_limbs(n).size() + 1, most_limbs);
}

std::string decimal(const umint* limbs, std::size_t count) {
    while (count > 1 && limbs[count - 1] == 0) --count;
    if (count == 1) return fmt::format("{}", limbs[0]);
    cpp_int value = 0;
    for (std::size_t i = count; i-- > 0;) value = (value << 64) + limbs[i];
    return value.str();
}

int print_neighbours(const Library& library, const Request& request, bool upwards) {
    const Options& options = request.options;
    const std::vector<std::string>& words = request.words;
    const PrintLook look = look_of(options);
    const auto function = needed<decltype(KESH_NextPrime)>(library, upwards ? "KESH_NextPrime" : "KESH_PreviousPrime");
    if (words.empty())
        throw BadInput(fmt::format("{0}-prime takes numbers of up to 1024 bits; for example: {0}-prime 2^512",
                                   upwards ? "next" : "previous"));
    std::vector<cpp_int> numbers;
    for (const std::string& word : words) numbers.push_back(read_candidate(word));
    int code = exit_ok;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const Stopwatch watch;
        const std::size_t len = roomy(numbers[i]);
        const Limbs n = limbs_of(numbers[i], len);
        Limbs prime(len);
        const bool found = function(n.data(), static_cast<std::int64_t>(len), prime.data()) == KESH_DONE;
        const std::string value = found ? decimal(prime.data(), len) : "";
        if (!found) code = exit_call_failed;
        if (options.json) {
            Json object = {{"command", upwards ? "next-prime" : "previous-prime"},
                           {"number", words[i]},
                           {"status", found ? "ok" : "none"},
                           {"seconds", watch.seconds()}};
            if (found) object["prime"] = value;
            print(object.dump() + "\n");
        } else if (!found) {
            print_error(no_neighbour_text(upwards, words[i]) + "\n");
        } else if (look.quiet) {
            print(value + "\n");
        } else {
            print(
                fmt::format("{}  {}\n", value, look.style.dim(fmt::format("({})", format_duration(watch.seconds())))));
        }
    }
    return code;
}

}  // namespace

int print_next_primes(Session& session, const Request& request) {
    return print_neighbours(session.library(), request, true);
}

int print_previous_primes(Session& session, const Request& request) {
    return print_neighbours(session.library(), request, false);
}

int print_primes(Session& session, const Request& request) {
    const Library& library = session.library();
    const Options& options = request.options;
    const std::vector<std::string>& words = request.words;
    const ProgressLook progress = progress_look_of(options);
    const auto function = needed<decltype(KESH_NextPrimes)>(library, "KESH_NextPrimes");
    if (words.size() != 2) throw BadInput("primes takes two numbers, FROM and COUNT; for example: primes 10^18 20");
    if (options.json) throw BadInput("primes prints one prime per line; it cannot print JSON");
    const cpp_int from = read_candidate(words[0]), wanted = read_candidate(words[1]);
    if (bit_length(wanted) > 63) throw BadInput(fmt::format("'{}' is too large; COUNT is at most 2^63-1", words[1]));
    const auto total = static_cast<std::int64_t>(wanted);

    const std::size_t len = roomy(from);
    // The walk starts at FROM - 1, so that FROM itself comes first if it is prime.
    Limbs at = limbs_of(from > 0 ? cpp_int(from - 1) : from, len);
    // The first chunk is small, so that the first lines appear at once. Longer walks take less time per prime.
    auto chunk = static_cast<std::int64_t>(32768 / (len * len));
    const std::int64_t most_in_a_chunk = 8 * chunk;
    constexpr double seconds_for_a_chunk = 0.01;
    Limbs primes;
    std::string text;
    std::atomic<std::int64_t> printed = 0;
    int code = KESH_DONE;
    {
        const InterruptScope scope(3, Stoppable::yes);
        ProgressLine line(
            progress, fmt::format("primes {} {}", words[0], words[1]),
            {.fraction = [&] { return std::optional(static_cast<double>(printed) / static_cast<double>(total)); },
             .note = {},
             .tick = {}});
        const auto stop = [](void*, std::int64_t, std::int64_t) { return interrupts_seen() > 0 ? 1 : 0; };
        while (printed < total && code == KESH_DONE) {
            std::int64_t found = 0;
            primes.resize(static_cast<std::size_t>(chunk) * len);
            const Stopwatch watch;
            code = function(at.data(), static_cast<std::int64_t>(len), std::min(chunk, total - printed), primes.data(),
                            &found, stop, nullptr);
            if (found == 0) break;
            text.clear();
            for (std::size_t i = 0; i < static_cast<std::size_t>(found); ++i) {
                const umint* const prime = &primes[i * len];
                if (std::all_of(prime + 1, prime + len, [](umint limb) { return limb == 0; })) {
                    const fmt::format_int digits(prime[0]);
                    text.append(digits.data(), digits.size());
                } else {
                    text += decimal(prime, len);
                }
                text += '\n';
            }
            std::copy_n(primes.begin() + (found - 1) * static_cast<std::ptrdiff_t>(len), len, at.begin());
            line.above(text);
            printed += found;
            if (watch.seconds() < seconds_for_a_chunk) chunk = std::min(2 * chunk, most_in_a_chunk);
        }
    }
    if (code == KESH_STOPPED) {
        print_error("stopped\n");
        return exit_code_when_stopped();
    }
    if (code == KESH_NO_PRIME) {
        const std::string found = printed == 0   ? "is no prime"
                                  : printed == 1 ? "is only 1 prime"
                                                 : fmt::format("are only {} primes", printed.load());
        print_error(fmt::format("there {} from {} on within 1024 bits\n", found, words[0]));
        return exit_call_failed;
    }
    return exit_ok;
}

}  // namespace kesh_host
