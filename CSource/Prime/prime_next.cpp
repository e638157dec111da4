/**
 * @file   prime_next.cpp
 * @brief  The walks to the next and previous primes: windows of odd numbers are sieved by small primes as far as that
 *         is cheaper than testing, and the remaining numbers are tested.
 */
#include "Prime/prime_next.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cmath>
#include <limits>

#include "Prime/prime_batch.h"
#include "Prime/prime_testing.h"
#include "Prime/prime_word.h"
#include "Prime/sieving_primes.h"
#include "Prime/wide_batch.h"
#include "Shared/kernel/kernel.h"
#include "Shared/kernel/lanes.h"
#include "Shared/kernel/word_lanes.h"

namespace kesh {
namespace {

/** The largest number of odd numbers in a window. */
constexpr mint largest_window = 262'144;

/** Smaller numbers are not sieved: sieving primes would strike out themselves, and the bitmap decides at once. */
constexpr umint sieve_from = most_sieving_prime;

/** An integer of len limbs. */
class Limbs {
  public:
    Limbs(const umint* n, mint len) : len_(static_cast<std::size_t>(len)) {
        std::copy_n(n, len, limb_.begin());
    }

    [[nodiscard]] const umint* data() const {
        return limb_.data();
    }
    [[nodiscard]] mint len() const {
        return static_cast<mint>(len_);
    }
    [[nodiscard]] umint low() const {
        return limb_[0];
    }
    /** Whether the value is below 2^64. */
    [[nodiscard]] bool is_word() const {
        return significant_limbs(limb_.data(), len()) == 1;
    }
    /** 2^(64 len) - 1 minus the value, or 2^64 - 1 if that is less. */
    [[nodiscard]] umint room_above() const {
        const auto has_room = [](umint limb) { return ~limb != 0; };
        return std::any_of(limb_.begin() + 1, limb_.begin() + len(), has_room) ? ~umint{0} : ~limb_[0];
    }

    /** Adds x; false when the sum does not fit, and then the value is meaningless. */
    bool add(umint x) {
        for (std::size_t i = 0; i < len_ && x != 0; ++i) x = (limb_[i] += x) < x ? 1 : 0;
        return x == 0;
    }
    /** Precondition: x is not above the value. */
    void subtract(umint x) {
        for (std::size_t i = 0; x != 0; ++i) {
            const umint before = limb_[i];
            limb_[i] -= x;
            x = before < x ? 1 : 0;
        }
    }
    void store(umint* r) const {
        std::copy_n(limb_.begin(), len_, r);
    }

  private:
    std::array<umint, 16> limb_{};
    std::size_t len_;
};

mint bit_length(const umint* n, mint len) {
    const mint size = significant_limbs(n, len);
    return 64 * (size - 1) + math_num_bits(n[size - 1]);
}

/**
 * About the cycles of a test to base 2 of n limbs, as far as it goes side by side with others. It decides how far to
 * sieve, so that a factor of two matters little.
 */
double test_cycles(double n) {
    if (n == 1) return 250;
    const double alone = 125 * n * n * n + 400 * n * n;
    return level() == Level::ifma ? alone / 4 : kernel::has_lanes(level()) ? alone / 2 : alone;
}

/**
 * The bound of the primes by which a window is sieved, where `tested` odd numbers of n limbs would be tested without a
 * sieve. The primes up to p leave 2 e^-gamma / ln p of them (F. Mertens, 1874), so that p itself saves
 * 2 e^-gamma tested / (p ln p) tests. It costs a few products for its place in the window. Words are sieved in long
 * walks. There, p also costs a branch that is often predicted wrongly: whether the window has a multiple of p.
 */
umint sieving_limit(mint n, mint tested) {
    const double limbs = static_cast<double>(n), prime = (n == 1 ? 24 : 8) + limbs;
    const double p_ln_p = 1.12 * static_cast<double>(tested) * test_cycles(limbs) / prime;
    const double ln = std::log(std::max(p_ln_p, 16.0));
    const double limit = p_ln_p / (ln - std::log(ln));
    return std::clamp(static_cast<umint>(limit), word_trial_limit, most_sieving_prime);
}

/**
 * For each odd prime below 64: word number r has a 1 at the places r, r + p, ..., where a window of words has multiples
 * of p.
 */
class SmallPatterns {
  public:
    constexpr SmallPatterns() {
        for (umint p = 3; p < 64; p += 2)
            for (umint r = 0; r < p; ++r)
                for (umint i = r; i < 64; i += p) word_[start(p) + r] |= umint{1} << i;
    }
    /** The p words of p. */
    [[nodiscard]] const umint* of(umint p) const {
        return &word_[start(p)];
    }

  private:
    static constexpr std::size_t start(umint p) {
        return (p - 1) * (p - 1) / 4 - 1;  // 3 + 5 + ... + (p - 2)
    }
    std::array<umint, 64 * 64 / 4> word_{};
};

constexpr SmallPatterns small_patterns;

/** The odd numbers base, base + 2, ..., from which the sieve has removed multiples of small primes. */
class Window {
  public:
    /** Precondition: base is odd, and all numbers of the window fit into its limbs. */
    Window(const Limbs& base, mint size, mint tested) : base_(base), size_(size) {
        assert(base.low() % 2 == 1 && 1 <= size && size <= largest_window);
        std::fill_n(struck_.begin(), (size + 63) / 64, 0);
        if (base.is_word() && base.low() < sieve_from) return;
        const mint n = significant_limbs(base.data(), base.len());
        limit_ = sieving_limit(n, tested);
        sieve({base.data(), static_cast<std::size_t>(n)}, limit_);
    }

    /** The first candidate from number i on, upwards or downwards; size() or -1 if there is none. */
    [[nodiscard]] mint candidate_from(mint i, bool upwards) const {
        while (0 <= i && i < size_) {
            const umint left = ~struck_[static_cast<std::size_t>(i / 64)];
            const umint rest = upwards ? left & ~umint{0} << (i % 64) : left & ~umint{0} >> (63 - i % 64);
            if (rest != 0)
                return std::min<mint>(i / 64 * 64 + (upwards ? std::countr_zero(rest) : 63 - std::countl_zero(rest)),
                                      size_);
            i = upwards ? i / 64 * 64 + 64 : i / 64 * 64 - 1;
        }
        return upwards ? size_ : -1;
    }
    /** r = number i, of as many limbs as the base. */
    void store_number(mint i, umint* r) const {
        umint x = static_cast<umint>(2 * i);
        for (std::size_t k = 0; k < static_cast<std::size_t>(base_.len()); ++k) {
            r[k] = base_.data()[k] + x;
            x = r[k] < x ? 1 : 0;
        }
    }
    [[nodiscard]] const Limbs& base() const {
        return base_;
    }
    [[nodiscard]] mint len() const {
        return base_.len();
    }
    /** Whether all numbers have the same bit length. */
    [[nodiscard]] bool one_length() const {
        std::array<umint, 16> last;
        store_number(size_ - 1, last.data());
        return bit_length(base_.data(), base_.len()) == bit_length(last.data(), base_.len());
    }
    /** Whether the multiples of all primes by which the tests would divide are removed. */
    [[nodiscard]] bool divided() const {
        const bool words = base_.is_word() && base_.low() <= ~umint{0} - static_cast<umint>(2 * size_);
        return limit_ >= (words ? word_trial_limit : kernel::trial_limit);
    }
    [[nodiscard]] mint size() const {
        return size_;
    }

  private:
    void sieve(std::span<const umint> base, umint limit) {
        for (const SievingGroup& group : sieving_groups(limit)) {
            const umint place = group.place(base);
            const SievingPrime* p = group.first;
            if (p->p < 64) {
                for (; p != group.last; ++p) strike_small(p->p, p->remainder(place));
            } else {
                for (; p != group.last; ++p) strike(p->p, p->remainder(place));
            }
        }
    }

    /** Removes the numbers i, i + p, ... */
    void strike(umint p, umint i) {
        for (; i < static_cast<umint>(size_); i += p) struck_[i / 64] |= umint{1} << (i % 64);
    }

    /** The same for p < 64, 64 numbers at a time. */
    void strike_small(umint p, umint i) {
        const umint* const pattern = small_patterns.of(p);
        const umint step = 64 % p;
        for (std::size_t word = 0; word < static_cast<std::size_t>(size_ + 63) / 64; ++word) {
            struck_[word] |= pattern[i];
            i = i < step ? i + p - step : i - step;
        }
    }

    Limbs base_;
    mint size_;
    umint limit_ = 0;                                ///< the bound of the primes by which the window was sieved
    std::array<umint, largest_window / 64> struck_;  ///< one bit per number of the window
};

/**
 * The number of integers to test at a time in search of `primes` primes: it just fills the lanes, because more tests
 * might be wasted.
 */
mint group_size(const Limbs& n, mint primes) {
    const mint size = significant_limbs(n.data(), n.len());
    const mint lanes = size == 1 ? static_cast<mint>(kernel::word_lanes) : WideBatch::side_by_side(size, primes == 1);
    return std::min(block_size(n.len()), lanes * std::min(primes, largest_block));
}

/**
 * Passes the primes of a window, upwards or downwards, to take(prime) until that returns false, and calls go_on()
 * between groups of tested numbers. `wanted` is the number of primes that are looked for: take(prime) returns false for
 * the last of them at the latest. Returns false when one of the two returned false.
 */
template <class Take, class GoOn>
bool for_primes(const Window& w, bool upwards, mint wanted, Take take, GoOn go_on) {
    std::array<umint, largest_block> numbers;
    std::array<std::uint8_t, largest_block> verdicts;
    WideBatch wide(wanted == 1 && w.one_length());
    const mint len = w.len(), group = group_size(w.base(), wanted);
    mint i = w.candidate_from(upwards ? 0 : w.size() - 1, upwards);
    while (0 <= i && i < w.size()) {
        mint count = 0;
        for (; 0 <= i && i < w.size() && count < group; i = w.candidate_from(upwards ? i + 1 : i - 1, upwards))
            w.store_number(i, &numbers[static_cast<std::size_t>(count++ * len)]);
        test_block(numbers.data(), len, count, verdicts.data(), wide, w.divided());
        wide.finish();
        for (mint k = 0; k < count; ++k) {
            const auto at = static_cast<std::size_t>(k);
            if (verdicts[at] != 0 && !take(&numbers[at * static_cast<std::size_t>(len)])) return false;
        }
        if (!go_on()) return false;
    }
    return true;
}

/** The number of odd numbers per prime near 2^(64 n): half its logarithm, rounded up. */
mint odd_numbers_a_prime(mint n) {
    return 23 * n;
}

bool bad_arguments(const umint* n, mint len, const umint* r) {
    return n == nullptr || r == nullptr || len < 1 || len > 16;
}

/** The walk upwards; found is the number of primes at r. */
int next_primes(Limbs at, mint count, umint* r, mint& found, KESH_Progress progress, void* data) {
    const mint len = at.len();
    const auto take = [&](const umint* prime) {
        std::copy_n(prime, len, r + found * len);
        return ++found < count;
    };
    const auto go_on = [&] { return progress == nullptr || progress(data, found, count) == 0; };
    if (!go_on()) return KESH_STOPPED;
    if (count == 0) return KESH_DONE;
    if (at.is_word() && at.low() < 2) {
        constexpr std::array<umint, 16> two = {2};
        at = Limbs(two.data(), len);
        if (!take(two.data())) return KESH_DONE;
    }
    while (at.add(1 + at.low() % 2)) {  // the next odd number, if it fits
        const mint n = significant_limbs(at.data(), len), missing = std::min(count - found, largest_window);
        const mint tested = std::min(largest_window, odd_numbers_a_prime(n) * missing);
        const mint wanted = std::min(largest_window, tested + 2 * odd_numbers_a_prime(n));
        const mint size = static_cast<mint>(std::min(static_cast<umint>(wanted), at.room_above() / 2 + 1));
        if (!for_primes(Window(at, size, tested), true, missing, take, go_on))
            return found == count ? KESH_DONE : KESH_STOPPED;
        at.add(static_cast<umint>(2 * (size - 1)));
    }
    return KESH_NO_PRIME;
}

/** The largest prime below n >= 4. */
Limbs previous_prime(const Limbs& n) {
    Limbs top = n, found = n;
    const auto take = [&](const umint* prime) {
        found = Limbs(prime, n.len());
        return false;
    };
    top.subtract(1 + top.low() % 2);
    for (;;) {
        const mint tested = odd_numbers_a_prime(significant_limbs(top.data(), top.len()));
        const umint room = top.is_word() ? (top.low() - 3) / 2 + 1 : ~umint{0};
        const mint size = static_cast<mint>(std::min(static_cast<umint>(3 * tested), room));
        Limbs base = top;
        base.subtract(static_cast<umint>(2 * (size - 1)));
        if (!for_primes(Window(base, size, tested), false, 1, take, [] { return true; })) return found;
        top = base;
        top.subtract(2);
    }
}

/**
 * From this bound on the neighbours of a word are tested without a window; they are larger than the primes of trial
 * division.
 */
constexpr umint words_from = umint{1} << 32;

/**
 * The nearest prime above or below a word n >= words_from, or 0 if there is none between words_from and 2^64. Trial
 * division by a few multiplications is faster here than a sieve for about twenty numbers.
 */
umint neighbour_word(umint n, bool upwards) {
    constexpr std::size_t group = kernel::word_lanes;
    const umint room = (upwards ? ~umint{0} - n : n - words_from) / 2;
    umint candidate = upwards ? n - 1 + n % 2 : n + 1 - n % 2;  // the odd number before the first candidate
    for (umint steps = 0; steps < room;) {
        kernel::WordLanes::Row row;
        std::size_t count = 0;
        for (; steps < room && count < group; ++steps) {
            candidate += upwards ? umint{2} : ~umint{1};
            if (!word_has_small_factor(candidate)) row[count++] = candidate;
        }
        if (count == 0) break;
        std::fill(row.begin() + static_cast<std::ptrdiff_t>(count), row.end(), row[0]);
        const unsigned passed = kernel::WordLanes(row).strong_base_2();
        for (std::size_t c = 0; c < count; ++c) {
            if ((passed >> c & 1) == 0) continue;
            const HashedBases bases(row[c]);
            if (kernel::strong_tests<2>(row[c], {bases.second, bases.third})) return row[c];
        }
    }
    return 0;
}

/** Stores the neighbour at r if n and the neighbour are words and neighbour_word finds it. */
bool stored_neighbour(const umint* n, mint len, umint* r, bool upwards) {
    if (significant_limbs(n, len) != 1 || n[0] < words_from) return false;
    const umint prime = neighbour_word(n[0], upwards);
    if (prime == 0) return false;
    std::fill_n(r, len, 0);
    r[0] = prime;
    return true;
}

}  // namespace
}  // namespace kesh

int KESH_NextPrime(const std::uint64_t* n, std::int64_t len, std::uint64_t* r) {
    if (kesh::bad_arguments(n, len, r)) return KESH_BAD_ARGUMENT;
    return kesh::stored_neighbour(n, len, r, true) ? KESH_DONE
                                                   : KESH_NextPrimes(n, len, 1, r, nullptr, nullptr, nullptr);
}

int KESH_PreviousPrime(const std::uint64_t* n, std::int64_t len, std::uint64_t* r) {
    if (kesh::bad_arguments(n, len, r)) return KESH_BAD_ARGUMENT;
    if (kesh::stored_neighbour(n, len, r, false)) return KESH_DONE;
    const kesh::Limbs from(n, len);
    if (from.is_word() && from.low() < 4) {
        if (from.low() < 3) return KESH_NO_PRIME;
        std::fill_n(r, len, 0);
        r[0] = 2;
    } else {
        kesh::previous_prime(from).store(r);
    }
    return KESH_DONE;
}

int KESH_NextPrimes(const std::uint64_t* n, std::int64_t len, std::int64_t count, std::uint64_t* r, std::int64_t* found,
                    KESH_Progress progress, void* data) {
    if (kesh::bad_arguments(n, len, r) || count < 0 || count > kesh::longest_array / len) return KESH_BAD_ARGUMENT;
    kesh::mint written = 0;
    const int code = kesh::next_primes(kesh::Limbs(n, len), count, r, written, progress, data);
    if (found != nullptr) *found = written;
    return code;
}
