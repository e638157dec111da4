/**
 * @file   plot_data.cpp
 * @brief  Computes the curves by calls of the library, point by point.
 */
#include "plots/plot_data.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "calls/call.h"
#include "calls/pieces.h"
#include "plots/plot.h"
#include "terminal/bad_input.h"
#include "terminal/wording.h"

namespace kesh_host {

namespace {

/** The twin prime constant, the product of 1 - 1/(p - 1)^2 over the odd primes (OEIS A005597). */
constexpr double twin_prime_constant = 0.66016181584686957;

/**
 * Gaps are taken from lists of primes, one for each range of this length: a list then has at most a few million primes.
 */
constexpr umint gap_piece = 50'000'000;
/** Twins are counted in ranges of this length, which take a second or less; between them the plot can be stopped. */
constexpr umint twin_piece = 1'000'000'000;

mint integer_of(const Outcome& outcome) {
    if (outcome.status != Status::ok)
        throw BadInput(fmt::format("{} failed: {}{}", outcome.entry->name, status_name(outcome.status),
                                   outcome.exception_text.empty() ? "" : ", " + outcome.exception_text));
    return std::get<mint>(outcome.result);
}

umint call(const PlotJob& job, std::string_view name, const std::vector<mint>& arguments) {
    if (job.stop()) throw PlotStopped{};
    const Outcome outcome = call_export(job.library, name, arguments);
    // A count that Ctrl-C stops returns an error.
    if (outcome.status == Status::error && job.stop()) throw PlotStopped{};
    return static_cast<umint>(integer_of(outcome));
}

std::string percent_off(double value, double truth) {
    return truth == 0 ? "-" : fmt::format("{:+.3f} %", 100 * (value - truth) / truth);
}

}  // namespace

double logarithmic_integral(double x) {
    return std::expint(std::log(x)) - std::expint(std::log(2.0));
}

double expected_twins(double x) {
    // Integration by parts: the integral of 1/ln^2 t is li(t) - t / ln t.
    return 2 * twin_prime_constant * (logarithmic_integral(x) - x / std::log(x) + 2 / std::log(2.0));
}

Plot pi_plot(const PlotJob& job, umint a, umint b) {
    Plot plot{.title = fmt::format("Primes up to x, {} <= x <= {}", a, b),
              .x_label = "x",
              .y_label = "primes up to x",
              .curves = {},
              .notes = {}};
    Curve pi{"pi(x)", {}};
    Curve quotient{"x / ln x", {}};
    Curve integral{"Li(x)", {}};
    umint primes = 0;
    for (unsigned i = 0; i < job.points; ++i) {
        const umint x = a + static_cast<umint>(static_cast<long double>(b - a) * i / (job.points - 1));
        const auto real = static_cast<double>(std::max<umint>(x, 2));
        primes = call(job, "PrimeCount_PrimePi", {static_cast<mint>(x)});
        pi.points.push_back({static_cast<double>(x), static_cast<double>(primes)});
        quotient.points.push_back({static_cast<double>(x), real / std::log(real)});
        integral.points.push_back({static_cast<double>(x), logarithmic_integral(real)});
        job.progress(static_cast<double>(i + 1) / job.points);
    }
    // The last digits of a double above 2^53 are not exact.
    const double truth = pi.points.back().y;
    plot.notes = {fmt::format("at x = {}: pi(x) = {}, x / ln x = {:.15g} ({}), Li(x) = {:.15g} ({})", b, primes,
                              std::round(quotient.points.back().y), percent_off(quotient.points.back().y, truth),
                              std::round(integral.points.back().y), percent_off(integral.points.back().y, truth))};
    plot.curves = {std::move(pi), std::move(quotient), std::move(integral)};
    return plot;
}

Plot gap_plot(const PlotJob& job, umint a, umint b) {
    Plot plot{.title = fmt::format("Gaps between neighbouring primes from {} to {}", a, b),
              .x_label = "gap",
              .y_label = "how often",
              .bars = true,
              .curves = {},
              .notes = {}};
    std::map<std::uint32_t, std::size_t> counts;
    bool first = true;
    std::uint32_t last = 0;
    umint largest_at = 0;
    std::uint32_t largest = 0;
    for (umint begin = a;;) {
        const umint end = b - begin > gap_piece ? begin + gap_piece : b;
        if (job.stop()) throw PlotStopped{};
        const Outcome outcome =
            call_export(job.library, "PrimeSieve_ListPrimes", {static_cast<mint>(begin), static_cast<mint>(end)});
        const auto* list = std::get_if<TensorResult>(&outcome.result);
        if (list == nullptr)
            throw BadInput(fmt::format("PrimeSieve_ListPrimes failed: {}", status_name(outcome.status)));
        // The list keeps the low 32 bits of each prime, which is all that a difference below 2^32 needs.
        umint before = begin;
        for (const mint narrowed : (*list)->data()) {
            const auto prime = static_cast<std::uint32_t>(narrowed);
            const umint whole = before + (prime - static_cast<std::uint32_t>(before));
            if (!first) {
                const std::uint32_t gap = prime - last;
                ++counts[gap];
                if (gap > largest) {
                    largest = gap;
                    largest_at = whole - gap;
                }
            }
            first = false;
            last = prime;
            before = whole;
        }
        job.progress(static_cast<double>(end - a + 1) / static_cast<double>(b - a + 1));
        if (end == b) break;
        begin = end + 1;
    }
    Curve bars{"gaps", {}};
    std::size_t total = 0;
    std::pair<std::uint32_t, std::size_t> commonest{0, 0};
    for (const auto& [gap, count] : counts) {
        bars.points.push_back({static_cast<double>(gap), static_cast<double>(count)});
        total += count;
        if (count > commonest.second) commonest = {gap, count};
    }
    plot.notes =
        total == 0
            ? std::vector<std::string>{"fewer than two primes: no gaps"}
            : std::vector<std::string>{fmt::format("{}; the most frequent is {} ({}), the largest is {} (after {})",
                                                   counted(total, "gap", "gaps"), commonest.first,
                                                   counted(commonest.second, "time", "times"), largest, largest_at)};
    plot.curves = {std::move(bars)};
    return plot;
}

Plot twin_plot(const PlotJob& job, umint a, umint b) {
    Plot plot{.title = fmt::format("Twin primes from {} to x, x <= {}", a, b),
              .x_label = "x",
              .y_label = "pairs",
              .curves = {},
              .notes = {}};
    Curve counted{"counted", {{static_cast<double>(a), 0}}};
    Curve expected{"Hardy-Littlewood", {{static_cast<double>(a), 0}}};
    const double below = a > 2 ? expected_twins(static_cast<double>(a)) : 0;
    umint total = 0;
    umint begin = a;
    for (unsigned i = 1; i <= job.points; ++i) {
        const umint point = a + static_cast<umint>(static_cast<long double>(b - a) * i / job.points);
        const umint before = begin;
        while (begin <= point) {
            umint end = point - begin > twin_piece ? begin + twin_piece : point;
            // The range may be cut only where the cut does not divide a pair.
            if (end < b) {
                const auto cut = cut_before(begin, end);
                if (!cut) break;
                end = *cut;
            }
            total += call(job, "PrimeSieve_CountTwins", {static_cast<mint>(begin), static_cast<mint>(end)});
            begin = end + 1;
            job.progress(static_cast<double>(begin - a) / static_cast<double>(b - a + 1));
        }
        if (begin == before) continue;
        const auto counted_to = static_cast<double>(begin - 1);
        counted.points.push_back({counted_to, static_cast<double>(total)});
        expected.points.push_back({counted_to, counted_to > 2 ? expected_twins(counted_to) - below : 0});
    }
    plot.notes = {fmt::format("{} from {} to {}; expected {:.15g} ({})", kesh_host::counted(total, "pair", "pairs"), a,
                              b, std::round(expected.points.back().y),
                              percent_off(expected.points.back().y, static_cast<double>(total)))};
    plot.curves = {std::move(counted), std::move(expected)};
    return plot;
}

}  // namespace kesh_host
