/**
 * @file   pieces.cpp
 * @brief  Chooses cuts, and lengths of pieces by the measured speed.
 */
#include "calls/pieces.h"

#include <algorithm>
#include <cmath>

#include "terminal/stopwatch.h"

namespace kesh_host {

namespace {

constexpr umint cut_modulus = 30;
constexpr umint cut_residue = 26;

/** The length of the first piece: it takes a few hundredths to a few tenths of a second. */
constexpr umint first_sieve_piece = 200'000'000;
constexpr umint first_walk_piece = 2'000'000;
/** A call on a shorter range takes less than about half a second and is not split. */
constexpr umint smallest_split_range = 2'000'000'000;
constexpr umint smallest_split_sum = 400'000'000;
constexpr umint smallest_split_walk = 20'000'000;
constexpr umint smallest_split_index = 100'000'000;
/** Prime number 4 * 10^17 is below 2^64, with room for a range that is too long. */
constexpr umint largest_split_index = 400'000'000'000'000'000;

/**
 * Every piece first sieves the primes up to the square root of its end: about this many numbers a second on a slow
 * machine.
 */
constexpr double start_up_speed = 1e9;

umint unsigned_value(const ArgumentValue& argument) {
    return static_cast<umint>(std::get<mint>(argument.value));
}

bool negative(const ArgumentValue& argument) {
    return std::get<mint>(argument.value) < 0 && !argument.above_signed;
}

/** The length of a piece that takes about `target` seconds at the speed of the last one; changes at most by a factor of
 * 4.
 */
umint next_length(umint length, double seconds, double target) {
    const double factor = std::clamp(target / std::max(seconds, 1e-3), 0.25, 4.0);
    return static_cast<umint>(std::min(static_cast<double>(length) * factor, 1e18));
}

/** A piece should take much longer than its start, but be short enough for frequent reports of progress. */
double target_seconds(umint end) {
    return 0.25 + 4 * std::sqrt(static_cast<double>(end)) / start_up_speed;
}

/** A closed range, walked from its low end. */
struct Range {
    umint begin;
    umint end;
};

Range range_of(const Export& entry, const std::vector<ArgumentValue>& arguments) {
    // The upper end of PrimeSum is excluded. The range begins at 1: from 0 the a - 1 in the library would wrap.
    if (entry.parameters.size() == 1) return {1, unsigned_value(arguments[0]) - 1};
    return {unsigned_value(arguments[0]), unsigned_value(arguments[1])};
}

class PieceRunner {
  public:
    PieceRunner(const Library& library, const Export& entry, const std::vector<ArgumentValue>& arguments,
                std::atomic<double>& fraction, const std::function<bool()>& stop)
        : library_(library), entry_(entry), arguments_(arguments), fraction_(fraction), stop_(stop) {}

    Outcome run() {
        const Stopwatch watch;
        if (entry_.route == Route::walk_pieces) {
            walk();
        } else if (entry_.route == Route::nth_pieces) {
            find_nth();
        } else {
            add_up();
        }
        whole_.entry = &entry_;
        whole_.arguments = arguments_;
        whole_.pieces = pieces_;
        whole_.seconds = watch.seconds();
        return whole_;
    }

  private:
    /** Makes one piece; false when the call ends with it. */
    bool piece(std::string_view name, umint first, umint second) {
        if (stop_()) {
            whole_ = Outcome{};
            whole_.status = Status::stopped;
            return false;
        }
        whole_ = call_export(library_, name, {static_cast<mint>(first), static_cast<mint>(second)});
        ++pieces_;
        return whole_.status == Status::ok;
    }

    umint piece_result() const {
        return static_cast<umint>(std::get<mint>(whole_.result));
    }

    void add_up() {
        const std::string_view name = entry_.route == Route::sum_pieces ? "PrimeSieve_PrimeSumInterval" : entry_.name;
        const Range range = range_of(entry_, arguments_);
        umint total = 0;
        umint length = first_sieve_piece;
        for (umint begin = range.begin;;) {
            umint end = range.end;
            if (range.end - begin > length) end = cut_before(begin, begin + length).value_or(range.end);
            if (!piece(name, begin, end)) return;
            total += piece_result();
            fraction_ = static_cast<double>(end - range.begin) / static_cast<double>(range.end - range.begin);
            if (end == range.end) break;
            begin = end + 1;
            length = next_length(length, whole_.seconds, target_seconds(end));
        }
        whole_.result = static_cast<mint>(total);
    }

    void walk() {
        const umint steps = unsigned_value(arguments_[1]);
        umint at = unsigned_value(arguments_[0]);
        umint length = first_walk_piece;
        for (umint done = 0; done < steps;) {
            const umint next = std::min(length, steps - done);
            if (!piece(entry_.name, at, next)) return;
            at = piece_result();
            done += next;
            fraction_ = static_cast<double>(done) / static_cast<double>(steps);
            length = next_length(next, whole_.seconds, target_seconds(at));
        }
        whole_.result = static_cast<mint>(at);
    }

    /** Counts until few primes are left, and walks to the n-th over these. */
    void find_nth() {
        const umint n = unsigned_value(arguments_[0]);
        umint counted = 0;
        umint begin = 0;
        umint length = first_sieve_piece;
        while (n - counted > first_walk_piece) {
            // About one number in ln x is prime: the range should have nine tenths of the remaining primes. A range
            // with too many is not counted.
            const double near = 0.9 * static_cast<double>(n - counted) * std::log(static_cast<double>(begin) + 3);
            const umint end = begin + std::min(length, static_cast<umint>(near));
            if (!piece("PrimeSieve_CountPrimes", begin, end)) return;
            const umint found = piece_result();
            if (found >= n - counted) break;
            counted += found;
            fraction_ = static_cast<double>(counted) / static_cast<double>(n);
            length = next_length(end - begin, whole_.seconds, target_seconds(end));
            begin = end + 1;
        }
        if (piece("PrimeSieve_NextKthPrime", std::max<umint>(begin, 1) - 1, n - counted)) fraction_ = 1;
    }

    const Library& library_;
    const Export& entry_;
    const std::vector<ArgumentValue>& arguments_;
    std::atomic<double>& fraction_;
    const std::function<bool()>& stop_;
    Outcome whole_;
    std::size_t pieces_ = 0;
};

}  // namespace

std::optional<umint> cut_before(umint begin, umint end) {
    if (end < cut_residue) return std::nullopt;
    const umint cut = end - (end - cut_residue) % cut_modulus;
    if (cut <= begin) return std::nullopt;
    return cut;
}

bool worth_splitting(const Export& entry, const std::vector<ArgumentValue>& arguments) {
    if (arguments.size() != entry.parameters.size()) return false;
    // The library itself treats negative numbers, and ends at which its arithmetic wraps.
    for (const ArgumentValue& argument : arguments) {
        if (negative(argument)) return false;
    }
    if (entry.route == Route::walk_pieces) return unsigned_value(arguments[1]) >= smallest_split_walk;
    if (entry.route == Route::nth_pieces) {
        const umint n = unsigned_value(arguments[0]);
        return n >= smallest_split_index && n <= largest_split_index;
    }
    if (entry.route != Route::range_pieces && entry.route != Route::sum_pieces) return false;
    if (entry.parameters.size() == 1 && unsigned_value(arguments[0]) == 0) return false;
    const Range range = range_of(entry, arguments);
    if (entry.route == Route::sum_pieces && (range.begin == 0 || range.end == ~umint{0})) return false;
    const umint shortest = entry.route == Route::sum_pieces ? smallest_split_sum : smallest_split_range;
    return range.begin <= range.end && range.end - range.begin >= shortest;
}

Outcome call_in_pieces(const Library& library, const Export& entry, const std::vector<ArgumentValue>& arguments,
                       std::atomic<double>& fraction, const std::function<bool()>& stop) {
    return PieceRunner(library, entry, arguments, fraction, stop).run();
}

}  // namespace kesh_host
