/**
 * @file   limb_division.h
 * @brief  Division of limb arrays by a normalised divisor, digit by digit with a prepared reciprocal.
 *
 * The reciprocal replaces the hardware's division by products. For a divisor of one limb: N. Moller, T. Granlund,
 * Improved division by invariant integers, IEEE Trans. Computers 60 (2011), algorithm 4. For longer ones the reciprocal
 * has two limbs, so that an estimate has 64 bits after the point and is wrong only as rarely as all these bits are
 * equal.
 */
#pragma once

#include <cstddef>

#include "Shared/intx/adx_rows.h"
#include "Shared/intx/level.h"
#include "Shared/intx/limbs.h"

namespace kesh::detail {

/** Limbs of a up to its most significant non-zero one; 0 for a = 0. */
constexpr std::size_t significant_limbs(const umint* a, std::size_t count) noexcept {
    while (count > 0 && a[count - 1] == 0) --count;
    return count;
}

/** r[0 .. n-1] = a << s, returns the bits shifted out. r may be a. Preconditions: n >= 1, 0 <= s < 64. */
constexpr umint shift_limbs_left(umint* r, const umint* a, std::size_t n, mint s) noexcept {
    // The second shift takes two steps, because 64 - s is out of range for s = 0.
    const umint out = a[n - 1] >> 1 >> (MINT_BITS - 1 - s);
    for (std::size_t i = n - 1; i > 0; --i) r[i] = (a[i] << s) | (a[i - 1] >> 1 >> (MINT_BITS - 1 - s));
    r[0] = a[0] << s;
    return out;
}

/**
 * r = a << s with the top bits of `below` shifted in, or its complement, returns the bits shifted out. Precondition:
 * 0 <= s < 64. It uses general registers, because the limbs are read one by one soon afterwards. Divisors often need
 * no shift.
 */
template <std::size_t n, bool complement>
constexpr umint shift_limbs_in(umint* r, const umint* a, mint s, umint below) noexcept {
    constexpr umint flip = complement ? ~umint{0} : 0;
    if (s == 0) {
#pragma GCC unroll 4
        for (std::size_t i = 0; i < n; ++i) {
            umint limb = a[i] ^ flip;
            keep_scalar(limb);
            r[i] = limb;
        }
        return 0;
    }
#pragma GCC unroll 4
    for (std::size_t i = 0; i < n; ++i) {
        umint limb = (a[i] << s | below >> (MINT_BITS - s)) ^ flip;
        below = a[i];
        keep_scalar(limb);
        r[i] = limb;
    }
    return below >> (MINT_BITS - s);
}

/**
 * r = a << count, of n limbs, in general registers: for limbs that were stored one by one a moment before or are read
 * so soon. Preconditions: 0 <= count < 64 n. r may be a.
 */
template <std::size_t n>
constexpr void shift_left_in_registers(umint* r, const umint* a, mint count) noexcept {
    const auto moved = static_cast<std::size_t>(count / MINT_BITS);
    const mint s = count % MINT_BITS;
    for (std::size_t i = n; i-- > moved;) {
        const umint below = i > moved ? a[i - moved - 1] >> 1 >> (MINT_BITS - 1 - s) : 0;
        umint limb = a[i - moved] << s | below;
        keep_scalar(limb);
        r[i] = limb;
    }
    for (std::size_t i = 0; i < moved; ++i) r[i] = 0;
}

/** r = a >> count, likewise. */
template <std::size_t n>
constexpr void shift_right_in_registers(umint* r, const umint* a, mint count) noexcept {
    const auto moved = static_cast<std::size_t>(count / MINT_BITS);
    const mint s = count % MINT_BITS;
    for (std::size_t i = 0; i + moved < n; ++i) {
        const umint above = i + moved + 1 < n ? a[i + moved + 1] << 1 << (MINT_BITS - 1 - s) : 0;
        umint limb = a[i + moved] >> s | above;
        keep_scalar(limb);
        r[i] = limb;
    }
    for (std::size_t i = n - moved; i < n; ++i) r[i] = 0;
}

/** r[0 .. n-1] = a >> s for the a whose complement is w. Preconditions: n >= 1, 0 <= s < 64. */
constexpr void shift_from_complement(umint* r, const umint* w, std::size_t n, mint s) noexcept {
    umint here = ~w[0];
    for (std::size_t i = 0; i + 1 < n; ++i) {
        const umint above = ~w[i + 1];
        umint limb = s == 0 ? here : here >> s | above << (MINT_BITS - s);
        keep_scalar(limb);
        r[i] = limb;
        here = above;
    }
    r[n - 1] = here >> s;
}

/** floor((2^128 - 1) / d) - 2^64. Precondition: the top bit of d is set. */
constexpr umint reciprocal_of_limb(umint d) noexcept {
    umint v = 0, rest = 0;
    divide_two_by_one(~umint{0}, ~d, d, v, rest);
    return v;
}

/**
 * q = floor((high 2^64 + low) / d), returns the remainder. v = reciprocal_of_limb(d). Precondition: high < d.
 * One correction of the estimate is taken half of the time, so it is no branch: compilers make one of it in C++. Cost:
 * 9 to 10 cycles from remainder to remainder.
 */
constexpr umint divide_two_limbs(umint high, umint low, umint d, umint v, umint& q) noexcept {
    umint digit = 0, rest = 0;
#if defined(__x86_64__)
    if (!std::is_constant_evaluated()) {
        umint estimate = high;
        __asm__(
            "mulq %[v]\n\t"
            "addq %[low], %%rax\n\t"
            "adcq %[high], %%rdx"
            : "+&a"(estimate), "=&d"(digit)
            : [v] "r"(v), [low] "r"(low), [high] "r"(high)
            : "cc");
        umint start = low - d;
#if defined(__clang__)
        keep_scalar(start);  // clang++ would add d to the product instead, a step more from remainder to remainder
#endif
        rest = start - digit * d;
        const umint corrected = rest + d;
        ++digit;
        __asm__(
            "cmpq %[rest], %[estimate]\n\t"
            "cmovbq %[corrected], %[rest]\n\t"
            "sbbq $0, %[digit]"
            : [rest] "+&r"(rest), [digit] "+&r"(digit)
            : [estimate] "r"(estimate), [corrected] "r"(corrected)
            : "cc");
    } else
#endif
    {
        const umint2 estimate = static_cast<umint2>(v) * high + ((static_cast<umint2>(high) << MINT_BITS) | low);
        digit = static_cast<umint>(estimate >> MINT_BITS) + 1;
        rest = low - digit * d;
        if (rest > static_cast<umint>(estimate)) {
            --digit;
            rest += d;
        }
    }
    if (rest >= d) [[unlikely]] {
        ++digit;
        rest -= d;
        keep_scalar(rest);  // g++ 16 would select the remainder without a branch, which takes two cycles in each step
    }
    q = digit;
    return rest;
}

/**
 * q[0 .. n-1] = (above 2^(64 n) + a) / d, returns the remainder. shift = the leading zero bits of d, reciprocal that
 * of d << shift. q may be a. Precondition: above < d.
 */
template <std::size_t n>
constexpr umint divide_by_limb(umint* q, const umint* a, umint d, mint shift, umint reciprocal,
                               umint above = 0) noexcept {
    const umint divisor = d << shift;
    umint rest = (above << shift) | (a[n - 1] >> 1 >> (MINT_BITS - 1 - shift));
    for (std::size_t i = n; i-- > 0;) {
        const umint below = i > 0 ? a[i - 1] >> 1 >> (MINT_BITS - 1 - shift) : 0;
        rest = divide_two_limbs(rest, (a[i] << shift) | below, divisor, reciprocal, q[i]);
    }
    return rest >> shift;
}

/**
 * q[0 .. n-1] = a / d, returns the remainder. q may be a. Precondition: d != 0. Two limbs take one or two hardware
 * divisions; more limbs take one, and two products for each limb.
 */
template <std::size_t n>
constexpr umint divide_by_limb(umint* q, const umint* a, umint d) noexcept {
    if constexpr (n == 2) {
        const umint low = a[0];
        umint rest = a[1], upper = 0;
        if (rest >= d) divide_two_by_one(rest, 0, d, upper, rest);
        divide_two_by_one(low, rest, d, q[0], rest);
        q[1] = upper;
        return rest;
    } else {
        const mint shift = math_count_leading_zeros(d);
        return divide_by_limb<n>(q, a, d, shift, reciprocal_of_limb(d << shift));
    }
}

/** Whether a is a limb other than 0 and zeros above it. */
template <std::size_t n>
constexpr bool is_one_limb(const umint* a) noexcept {
    umint above = 0;
    for (std::size_t i = 1; i < n; ++i) above |= a[i];
    return above == 0 && a[0] != 0;
}

/**
 * The top limb of the estimate of a quotient digit is the digit unless the limb below is within this distance of a
 * carry; see DigitEstimate.
 */
inline constexpr umint estimate_error = 64;

/**
 * Estimates of quotient digits from the top two limbs of the remainder and of a divisor whose top bit is set. With
 * D = (d1, d0) + 1, above the divisor in units of its second limb, v1 and v0 are the limbs of B^4 / D - B^2, B = 2^64,
 * or at most 30 less. They come from x = floor(B^2 / (d1 + 1)) by one step of Newton's method, x B + x e / B^2 with
 * e = B^3 - x (d1, d0): e < 3 B^2 + B, so that the step leaves less than 19 of the error, and its rounding and that of
 * e less than 5.
 */
struct DigitEstimate {
    umint v1 = 0, v0 = 0;

    [[gnu::always_inline]] constexpr DigitEstimate(umint d1, umint d0) noexcept {
        umint v = 0, rest = 0;  // x = B + v
        const umint above = d1 + 1;
        if (above != 0) divide_two_by_one(~umint{0}, ~above, above, v, rest);
        // e / B, rounded down; it is at least 1 before.
        const umint2 e = ~(two_limbs(d1, d0) + limb_product(v, d1) + high_limb(limb_product(v, d0)));
        const umint2 sum =
            two_limbs(v, 0) + e + limb_product(v, high_limb(e)) + high_limb(limb_product(v, low_limb(e)));
        constexpr umint2 for_the_one_in_D = 4;
        const umint2 reciprocal = sum > for_the_one_in_D ? sum - for_the_one_in_D : 0;
        v1 = high_limb(reciprocal);
        v0 = low_limb(reciprocal);
    }

    /**
     * The quotient of a remainder whose top limbs are (u1, u0), 64 bits of it after the point, less at most 40 units
     * of the last: what v1 and v0 lack, and the limbs of remainder and divisor that are left out, 4, and the product's
     * own rounding, 3.
     */
    [[nodiscard, gnu::always_inline]] constexpr umint2 operator()(umint2 u) const noexcept {
        const umint u1 = high_limb(u), u0 = low_limb(u);
        const umint2 small = static_cast<umint2>(high_limb(limb_product(u1, v0))) + high_limb(limb_product(u0, v1));
        return u + limb_product(u1, v1) + small;
    }
};

/** The two limbs whose complements are w[1] and w[0], which were stored one by one a moment before. */
constexpr umint2 complement_of_two(const umint* w) noexcept {
    umint low = w[0], high = w[1];
    keep_scalar(low);
    keep_scalar(high);
    return ~two_limbs(high, low);
}

/** Whether a >= v, of n limbs, for the a whose complement is w. */
constexpr bool complement_reaches(const umint* w, const umint* v, std::size_t n) noexcept {
    while (n-- > 0) {
        if (~w[n] != v[n]) return ~w[n] > v[n];
    }
    return true;
}

/**
 * The digits floor(u / v) of the u[0 .. m-1] whose complement is w, by the normalised v[0 .. n-1]: q[0 .. m-n-1], as
 * far as they are below `kept`, and the one above them, 0 or 1, as the result. w[0 .. n-1] becomes the complement of
 * the remainder; with complements the multiples of v are added, for which the processor has two carry chains.
 * Preconditions: m >= n >= 2, the top bit of v is set. Cost: a row of n limb products for each digit.
 *
 * From six limbs on the next estimate does not wait for the row of the digit before it: it takes the top limbs of the
 * sum without the carries from below. These are at most 2 and can make the estimate 6 units of its last place too
 * large; if that, or the sum of the top limbs, wraps around, what is left after the point is 0 or nearly so.
 */
template <class Row>
constexpr umint divide_rows(umint* q, std::size_t kept, umint* w, std::size_t m, const umint* v, std::size_t n,
                            Row add_row) noexcept {
    // g++ 12 looks at the constant divisors of one limb, too, that callers divide in another way, and warns of v[-1].
    if (n < 2) __builtin_unreachable();
    std::size_t j = m - n;
    const bool over = complement_reaches(w + j, v, n);
    if (over) add_row(w + j, v, 1, n);
    if (j == 0) return over ? 1 : 0;

    umint d1 = v[n - 1], d0 = v[n - 2];
    keep_scalar(d1);
    keep_scalar(d0);
    const DigitEstimate estimate(d1, d0);
    umint2 high = complement_of_two(w + m - 2);  // the top of the remainder
    while (j-- > 0) {
        umint* const row = w + j;
        const umint2 found = estimate(high);
        umint digit = high_limb(found);
        if (low_limb(found) + estimate_error < 2 * estimate_error) [[unlikely]] {
            // The estimate from the exact limbs is never too large, and the digit is at most one too small.
            digit = high_limb(estimate(complement_of_two(row + n - 1)));
            const umint above = ~row[n];
            if (above != add_row(row, v, digit, n) || complement_reaches(row, v, n)) {
                ++digit;
                add_row(row, v, 1, n);
            }
            high = complement_of_two(row + n - 2);
        } else if (n < 6) {
            add_row(row, v, digit, n);
            high = complement_of_two(row + n - 2);
        } else {
            // The complement of the sum is the difference from the complement.
            high = complement_of_two(row + n - 2) - two_limbs(digit * d1, 0) - limb_product(digit, d0) -
                   high_limb(limb_product(digit, v[n - 3]));
            add_row(row, v, digit, n);
        }
        if (j < kept) q[j] = digit;
    }
    return over ? 1 : 0;
}

/**
 * A divisor of two limbs whose top bit is set, prepared for divisions in which the remainder stays in registers. g++
 * would leave the members out of line in large programs, and pass the remainder through memory.
 */
struct TwoLimbDivisor {
    umint d1, d0;
    DigitEstimate estimate;

    [[gnu::always_inline]] constexpr TwoLimbDivisor(umint high, umint low) noexcept
        : d1(high), d0(low), estimate(high, low) {}

    /**
     * Returns the 0 or 1 times that the divisor goes into `high`, which becomes the remainder. Without a branch, which
     * would depend on the values in one case of four or so.
     */
    [[nodiscard, gnu::always_inline]] constexpr umint reduce(umint2& high) const noexcept {
        const umint over = high >= two_limbs(d1, d0) ? 1 : 0;
        umint mask = umint{0} - over;
        keep_scalar(mask);
        high -= two_limbs(d1 & mask, d0 & mask);
        return over;
    }

    /** floor((high 2^64 + next) / divisor); `high` becomes the remainder. Precondition: high is below the divisor. */
    [[nodiscard, gnu::always_inline]] constexpr umint divide(umint2& high, umint next) const noexcept {
        const umint2 found = estimate(high);
        umint digit = high_limb(found);
        const umint2 low = two_limbs(low_limb(high), next), product = limb_product(digit, d0);
        const umint above = high_limb(high);
        high = low - product - two_limbs(digit * d1, 0);
        if (low_limb(found) >= umint{0} - estimate_error) [[unlikely]] {
            const umint2 upper = limb_product(digit, d1) + high_limb(product);
            const umint borrow = low < two_limbs(low_limb(upper), low_limb(product)) ? 1 : 0;
            const umint2 divisor = two_limbs(d1, d0);
            if (above - high_limb(upper) != borrow || high >= divisor) {
                ++digit;
                high -= divisor;
            }
        }
        return digit;
    }
};

/** divide_rows for a divisor of two limbs. */
constexpr umint divide_by_two_limbs(umint* q, std::size_t kept, umint* w, std::size_t m, umint d1, umint d0) noexcept {
    const TwoLimbDivisor divisor(d1, d0);
    umint2 high = complement_of_two(w + m - 2);
    const umint over = divisor.reduce(high);
    for (std::size_t j = m - 2; j-- > 0;) {
        const umint digit = divisor.divide(high, ~w[j]);
        if (j < kept) q[j] = digit;
    }
    w[0] = ~low_limb(high);
    w[1] = ~high_limb(high);
    return over;
}

/** Quotient and remainder of four limbs by two. */
struct QuotientOfFour {
    umint q0, q1, q2, r0, r1;
};

/**
 * (u3, u2, u1, u0) / (d1, d0), d1 != 0. By value and inlined: the operands are few enough for registers, and clang++
 * stores pairs of limbs at once and reads them one by one.
 */
[[nodiscard, gnu::always_inline]] constexpr QuotientOfFour divide_four_by_two(umint u3, umint u2, umint u1, umint u0,
                                                                              umint d1, umint d0) noexcept {
    umint u4 = 0;
    const mint s = math_count_leading_zeros(d1);
    if (s != 0) {
        // In a variable of its own, or clang++ combines the shifts in slow instructions, and runs them for s = 0, too.
        auto back = static_cast<umint>(MINT_BITS - s);
        keep_scalar(back);
        u4 = u3 >> back;
        u3 = u3 << s | u2 >> back;
        u2 = u2 << s | u1 >> back;
        u1 = u1 << s | u0 >> back;
        u0 <<= s;
        d1 = d1 << s | d0 >> back;
        d0 <<= s;
    }
    const TwoLimbDivisor divisor(d1, d0);
    umint2 high = two_limbs(u3, u2);
    umint q2 = 0;
    if (u4 == 0) {
        q2 = divisor.reduce(high);
    } else {
        high = two_limbs(u4, u3);  // below the divisor, whose top limb has its top bit set
        q2 = divisor.divide(high, u2);
    }
    const umint q1 = divisor.divide(high, u1), q0 = divisor.divide(high, u0);
    high >>= s;
    return {q0, q1, q2, low_limb(high), high_limb(high)};
}

/** The division that fits the divisor and the level in force. */
constexpr umint divide_limbs(umint* q, std::size_t kept, umint* w, std::size_t m, const umint* v,
                             std::size_t n) noexcept {
    if (n == 2) {
        umint d1 = v[1], d0 = v[0];
        keep_scalar(d1);
        keep_scalar(d0);
        return divide_by_two_limbs(q, kept, w, m, d1, d0);
    }
#if defined(__x86_64__)
    if (!std::is_constant_evaluated() && level() >= Level::adx)
        return divide_rows(q, kept, w, m, v, n, [](umint* row, const umint* a, umint b, std::size_t length) {
            return add_product_row_adx(row, a, b, length);
        });
#endif
    return divide_rows(q, kept, w, m, v, n, [](umint* row, const umint* a, umint b, std::size_t length) {
        return add_product_row(row, row, a, b, length);
    });
}

}  // namespace kesh::detail
