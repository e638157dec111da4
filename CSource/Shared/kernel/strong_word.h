/**
 * @file   strong_word.h
 * @brief  Strong probable-prime tests of one 64-bit number to several bases side by side, without branches on exponent
 *         bits.
 *
 * A strong test asks first whether b^e is 1 or -1 and then squares, so b^e is needed only up to its sign. A residue
 * that is only known up to sign saves one of the twelve cycles of a squaring in Montgomery form (word_mont_sqr_abs).
 * The multiplier is busy for two of the remaining eleven, so that the squarings of three bases take little more time
 * than those of one. The power is taken from the right with digits of two bits: while a runs through b^(4^i), the three
 * accumulators y[1], y[2], y[3] collect the a whose digit is 1, 2, 3, off the critical path, and b^e = y1 * y2^2 * y3^3
 * (A. C. Yao, On the evaluation of powers, 1976). The bases are below 2^16, so the first digit needs no squarings: b^4
 * is a plain product.
 */
#pragma once

#include <array>
#include <cassert>
#include <cstddef>
#include <utility>

#include "Shared/intx/intx_common.h"

namespace kesh::kernel {

/**
 * x * y / 2^64 modulo m, below m, where inverse = m^(-1) modulo 2^64. Precondition: x * y < m * 2^64.
 * With q the high limb of (x * y mod 2^64) * inverse * m the two products agree in their low limbs, so the result is
 * the difference of the high limbs, plus m when that is negative. It is assembly because a compiler might branch on
 * that borrow, which no processor can predict.
 */
inline __attribute__((always_inline)) umint word_mont_mul(umint x, umint y, umint m, umint inverse) noexcept {
    umint high = x, low = y, lifted;
    __asm__(
        "mulq %[high]\n\t"
        "movq %%rdx, %[high]\n\t"
        "leaq (%%rdx,%[m]), %[lifted]\n\t"
        "imulq %[inverse], %%rax\n\t"
        "mulq %[m]\n\t"
        "subq %%rdx, %[lifted]\n\t"
        "subq %%rdx, %[high]\n\t"
        "cmovcq %[lifted], %[high]"
        : [high] "+&r"(high), "+&a"(low), [lifted] "=&r"(lifted)
        : [m] "r"(m), [inverse] "r"(inverse)
        : "rdx", "cc");
    return high;
}

/** The instructions of both forms of word_mont_mul_abs. */
#define KESH_WORD_MONT_MUL_ABS     \
    "mulq %[high]\n\t"             \
    "movq %%rdx, %[high]\n\t"      \
    "imulq %[inverse], %%rax\n\t"  \
    "mulq %[m]\n\t"                \
    "movq %%rdx, %[negated]\n\t"   \
    "subq %[high], %[negated]\n\t" \
    "subq %%rdx, %[high]\n\t"      \
    "cmovcq %[negated], %[high]"

/** The same up to its sign: |x * y / 2^64 - q * m / 2^64| in terms of word_mont_mul, below m. */
inline __attribute__((always_inline)) umint word_mont_mul_abs(umint x, umint y, umint m, umint inverse) noexcept {
    umint high = x, low = y, negated;
    __asm__(KESH_WORD_MONT_MUL_ABS
            : [high] "+&r"(high), "+&a"(low), [negated] "=&r"(negated)
            : [m] "r"(m), [inverse] "r"(inverse)
            : "rdx", "cc");
    return high;
}

/** A residue x of m up to its sign. */
struct Signless {
    umint value;  ///< x or m - x, below m
    umint low;    ///< value or -value modulo 2^64: has the same square modulo 2^64 and is known a cycle earlier
};

/**
 * Replaces x by x^2 / 2^64 modulo m up to sign. The next squaring waits only for low: low product 3 cycles, product by
 * the inverse 3, high product 4, subtraction 1. The high product of x^2 and the choice of the sign run in parallel.
 */
inline __attribute__((always_inline)) void word_mont_sqr_abs(Signless& x, umint m, umint inverse) noexcept {
    umint scratch = x.value;
    __asm__(
        "mulq %%rax\n\t"
        "imulq %[low], %[low]\n\t"
        "movq %%rdx, %[value]\n\t"
        "imulq %[inverse], %[low]\n\t"
        "movq %[low], %%rax\n\t"
        "mulq %[m]\n\t"
        "movq %[value], %[low]\n\t"
        "subq %%rdx, %[low]\n\t"
        "movq %%rdx, %%rax\n\t"
        "subq %[value], %%rax\n\t"
        "movq %[low], %[value]\n\t"
        "cmovncq %%rax, %[value]"
        : [low] "+&r"(x.low), [value] "=&r"(x.value), "+&a"(scratch)
        : [m] "r"(m), [inverse] "r"(inverse)
        : "rdx", "cc");
}

/** x * 2^64 mod m, for x below m. */
inline umint times_r(umint x, umint m) noexcept {
    umint quotient, remainder;
    math_divmod(0, x, m, quotient, remainder);
    return remainder;
}

/** x * 2^d / 2^64 modulo m up to sign, for 0 <= d < 64. */
inline __attribute__((always_inline)) Signless shift_mont(umint x, unsigned d, umint m, umint inverse) noexcept {
    const umint high = (x >> 1) >> (63 - d);
    const umint q = x * (inverse << d);
    const umint part = static_cast<umint>((static_cast<umint2>(q) * m) >> 64);
    const umint sign = umint{0} - umint{high < part};
    return {((high - part) ^ sign) - sign, high - part};
}

/**
 * 64 + 64^2 + ... + 2^bits for a multiple of 6: added to an exponent, it gives one whose digits of six bits count as
 * d - 64, d = 0 ... 63.
 */
constexpr umint digit_offset(unsigned bits) noexcept {
    return 0x1041041041041040 & ((umint{2} << bits) - 1);
}

/** n without its factors 2. Precondition: n != 0. */
constexpr umint odd_part(umint n) noexcept {
    return n >> math_count_trailing_zeros(n);
}

/** An odd n > 2 with the constants of its Montgomery form, R = 2^64, and of its strong tests. */
struct WordModulus {
    umint m;
    umint inverse;  ///< 1/m mod 2^64
    umint one;      ///< R mod m
    mint k;         ///< m - 1 = e 2^k, e odd
    umint e;

    explicit WordModulus(umint n) noexcept
        : m(n), inverse(word_inverse(n)), one(0 - n), k(math_count_trailing_zeros(n - 1)), e((n - 1) >> k) {
        if (one >= n) one %= n;
    }

    [[nodiscard]] __attribute__((always_inline)) umint mul_abs(umint x, umint y) const noexcept {
        return word_mont_mul_abs(x, y, m, inverse);
    }
    __attribute__((always_inline)) void square_abs(Signless& x) const noexcept {
        word_mont_sqr_abs(x, m, inverse);
    }
};

/**
 * body(0), ..., body(K - 1) with constants: a loop would pass the values of the chains through memory, whose latency is
 * that of half a product.
 */
template <std::size_t K, class Body>
inline __attribute__((always_inline)) void for_each_chain(Body&& body) noexcept {
    [&]<std::size_t... I>(std::index_sequence<I...>) __attribute__((always_inline)) {
        (body(std::integral_constant<std::size_t, I>{}), ...);
    }(std::make_index_sequence<K>{});
}

/** b^e up to sign for K bases b side by side, from the right. */
template <std::size_t K>
class WordPowers {
  public:
    /** Precondition: 0 < base < 2^16, base < n.m, for each base. */
    __attribute__((always_inline)) WordPowers(const WordModulus& n, const std::array<umint, K>& bases) noexcept
        : e_(n.e) {
        const umint square = times_r(n.one, n.m);  // a product by it brings a number into Montgomery form
        for (auto& accumulator : y_) accumulator.fill(n.one);
        for_each_chain<K>([&](auto c) __attribute__((always_inline)) {
            assert(0 < bases[c] && bases[c] < n.m && bases[c] <= 0xFFFF);
            y_[e_ & 3][c] = n.mul_abs(bases[c], square);
            const umint b2 = bases[c] * bases[c];
            a_[c].value = a_[c].low = n.mul_abs(b2 * b2, square);
        });
        e_ >>= 2;
    }

    /** Whether a digit is left before the last one. */
    [[nodiscard]] bool unfinished() const noexcept {
        return e_ > 3;
    }

    /**
     * Processes a digit. The squarings come first because the loop waits for them, but not for the accumulators.
     */
    __attribute__((always_inline)) void step(const WordModulus& n) noexcept {
        auto& accumulator = y_[e_ & 3];
        const auto power = a_;
        for (int i = 0; i < 2; ++i) {
            for_each_chain<K>([&](auto c) __attribute__((always_inline)) {
                if constexpr (K == 1)
                    n.square_abs(a_[c]);
                else
                    a_[c].value = n.mul_abs(a_[c].value, a_[c].value);
            });
        }
        for_each_chain<K>(
            [&](auto c) __attribute__((always_inline)) { accumulator[c] = n.mul_abs(accumulator[c], power[c].value); });
        e_ >>= 2;
    }

    /**
     * With the last digit, b^e = (y3 y2 a^(e / 2))^2 y3 y1 a^(e % 2): all but three steps can be done before a is
     * known.
     */
    [[nodiscard]] __attribute__((always_inline)) std::array<umint, K> finish(const WordModulus& n) const noexcept {
        std::array<umint, K> x;
        for_each_chain<K>([&](auto c) __attribute__((always_inline)) {
            const umint root = n.mul_abs(n.mul_abs(y_[3][c], y_[2][c]), (e_ & 2) != 0 ? a_[c].value : n.one);
            const umint rest = n.mul_abs(n.mul_abs(y_[3][c], y_[1][c]), (e_ & 1) != 0 ? a_[c].value : n.one);
            x[c] = n.mul_abs(n.mul_abs(root, root), rest);
        });
        return x;
    }

  private:
    umint e_;
    std::array<Signless, K> a_;
    std::array<std::array<umint, K>, 4> y_;
};

/**
 * 2^e up to sign, from the left with digits of six bits. A digit d counts as d - 64, because x * 2^d / 2^64 is one
 * reduction of a shifted x, two multiplications where a product takes three; so the digits are those of e + 64 + 64^2
 * + ... The top digit is at most 17, and the power begins with 2 to it. Precondition: n > 2^18.
 */
class WordPowerOf2 {
  public:
    __attribute__((always_inline)) explicit WordPowerOf2(umint n) noexcept : e_(odd_part(n - 1)) {
        left_ = (static_cast<unsigned>(math_num_bits(e_)) + 1) / 6 * 6;
        e_ += digit_offset(left_);
        x_.value = x_.low = times_r(umint{1} << (e_ >> left_), n);
    }

    [[nodiscard]] bool unfinished() const noexcept {
        return left_ != 0;
    }

    /** Processes a digit; in between calls work() twice, which must not change this power. */
    template <class Work>
    __attribute__((always_inline)) void step(const WordModulus& n, Work&& work) noexcept {
        for (int half = 0; half < 2; ++half) {
            for (int i = 0; i < 3; ++i) n.square_abs(x_);
            work();
        }
        left_ -= 6;
        x_ = shift_mont(x_.value, static_cast<unsigned>(e_ >> left_) & 63, n.m, n.inverse);
    }

    [[nodiscard]] umint finish(const WordModulus&) const noexcept {
        return x_.value;
    }

  private:
    unsigned left_;  ///< bits of the exponent that are left
    umint e_;
    Signless x_;
};

/**
 * The same for 2^31 < n < 2^50: a residue times 2^7 still has a square below 2^64 n, so that after every three
 * squarings a digit of three bits is a shift. The power begins with three to five bits of the exponent, fewer if n - 1
 * is a multiple of 4. These bits are a number of at most 31, and 2^31 is below n.
 */
class ShortWordPowerOf2 {
  public:
    __attribute__((always_inline)) explicit ShortWordPowerOf2(umint n) noexcept
        : left_((static_cast<unsigned>(math_num_bits(n)) - 4) / 3 * 3), e_(odd_part(n - 1)) {
        assert(n >> 31 != 0 && n >> 50 == 0);
        x_.value = x_.low = times_r(umint{1} << (e_ >> left_), n);
    }

    [[nodiscard]] bool unfinished() const noexcept {
        return left_ != 0;
    }

    /// Processes a digit and calls work(), which must not change this power.
    template <class Work>
    __attribute__((always_inline)) void step(const WordModulus& n, Work&& work) noexcept {
        for (int i = 0; i < 3; ++i) n.square_abs(x_);
        left_ -= 3;
        const unsigned d = static_cast<unsigned>(e_ >> left_) & 7;
        x_.value <<= d;
        x_.low <<= d;
        work();
    }

    [[nodiscard]] umint finish(const WordModulus& n) const noexcept {
        return n.mul_abs(x_.value, n.one);
    }

  private:
    unsigned left_;
    umint e_;
    Signless x_;
};

/**
 * Whether all powers x = b^e, which are known up to sign, are powers of a strong probable prime: x is 1 or -1, or one
 * of its squares is -1.
 */
template <std::size_t K>
[[nodiscard]] __attribute__((always_inline)) inline bool end_strongly(const WordModulus& n,
                                                                      std::array<umint, K> x) noexcept {
    const umint minus_one = n.m - n.one;
    std::array<unsigned, K> passed;
    for_each_chain<K>([&](auto c) __attribute__((always_inline)) {
        passed[c] = unsigned{x[c] == n.one} | unsigned{x[c] == minus_one};
    });
    for (mint i = 1; i < n.k; ++i) {
        for_each_chain<K>([&](auto c) __attribute__((always_inline)) {
            x[c] = word_mont_mul(x[c], x[c], n.m, n.inverse);  // here the sign matters
            passed[c] |= unsigned{x[c] == minus_one};
        });
    }
    unsigned all = 1;
    for_each_chain<K>([&](auto c) __attribute__((always_inline)) { all &= passed[c]; });
    return all != 0;
}

/**
 * True when odd n > 2 passes the strong probable-prime test to each of the K bases. Precondition: 0 < base < 2^16,
 * base < n.
 */
template <std::size_t K>
bool strong_tests(umint n, const std::array<umint, K>& bases) noexcept {
    const WordModulus modulus(n);
    WordPowers<K> powers(modulus, bases);
    while (powers.unfinished()) powers.step(modulus);
    return end_strongly<K>(modulus, powers.finish(modulus));
}

/** The same with one base. */
inline bool strong_test(umint n, umint base) noexcept {
    return strong_tests<1>(n, {base});
}

/**
 * True when odd n passes the strong probable-prime tests to base 2 and to each of the K bases. Precondition: that of
 * PowerOf2; 0 < base < 2^16. Base 2 has priority and decides most composites. The other bases use the multiplier when
 * its chain does not: they process four bits while base 2 processes six, so that little is left to do for a prime
 * afterwards.
 */
template <class PowerOf2, std::size_t K>
bool strong_tests_2_and(umint n, const std::array<umint, K>& bases) noexcept {
    PowerOf2 power_of_2(n);  // before the modulus, whose divisions its first squaring need not wait for
    const WordModulus modulus(n);
    WordPowers<K> powers(modulus, bases);
    while (power_of_2.unfinished()) {
        power_of_2.step(modulus, [&]() __attribute__((always_inline)) {
            if (powers.unfinished()) powers.step(modulus);
        });
    }
    if (!end_strongly<1>(modulus, {power_of_2.finish(modulus)})) return false;
    while (powers.unfinished()) powers.step(modulus);
    return end_strongly<K>(modulus, powers.finish(modulus));
}

}  // namespace kesh::kernel
