/// @file   narrow.cpp
/// @brief  The power and the ladder at 128 bits, where latency is all: README.md counts it.

#include "Shared/kernel/narrow.h"

namespace kesh::kernel {

namespace {

umint2 from_limbs(const umint* a) noexcept {
    return (static_cast<umint2>(a[1]) << 64) | a[0];
}

void to_limbs(umint* r, umint2 a) noexcept {
    r[0] = static_cast<umint>(a);
    r[1] = static_cast<umint>(a >> 64);
}

umint low(umint2 a) noexcept {
    return static_cast<umint>(a);
}

umint high(umint2 a) noexcept {
    return static_cast<umint>(a >> 64);
}

umint2 product(umint a, umint b) noexcept {
    return static_cast<umint2>(a) * b;
}

/// A value of 256 bits.
struct Wide {
    umint2 low, high;
};

inline Wide square(umint2 a) noexcept {
    const umint2 p00 = product(low(a), low(a)), p01 = product(low(a), high(a)), p11 = product(high(a), high(a));
    const umint2 t = p00 + (p01 << 65);
    return {t, p11 + (p01 >> 63) + (t < p00 ? 1 : 0)};
}

inline Wide multiply(umint2 a, umint2 b) noexcept {
    const umint2 p00 = product(low(a), low(b)), p01 = product(low(a), high(b)), p10 = product(high(a), low(b)),
                 p11 = product(high(a), high(b));
    const umint2 middle = static_cast<umint2>(high(p00)) + low(p01) + low(p10);
    return {(middle << 64) | low(p00), p11 + high(p01) + high(p10) + high(middle)};
}

/// A modulus m and 1/m modulo 2^128.
struct Modulus128 {
    umint2 m, inverse;

    explicit Modulus128(const Modulus<2>& modulus) noexcept : m(from_limbs(modulus.m)) {
        const umint2 x = umint{0} - modulus.k;
        inverse = x * (2 - m * x);
    }

    /// What is to be subtracted from t.high for t / 2^128 mod m: the high half of q m, where q = t/m mod 2^128 gives q m the low half
    /// of t, so that it needs neither be computed nor subtracted. Between 0 and m - 1.
    [[nodiscard]] umint2 quotient_part(umint2 t) const noexcept {
        return multiply(t * inverse, m).high;
    }

    /// (top 2^128 + a - h) mod m, for a value between -m and 2 m - 1: all three candidates are made at once.
    [[nodiscard]] umint2 reduce(umint top, umint2 a, umint2 h) const noexcept {
        const umint2 r = a - h, above = r + m, below = r - m;
        const umint borrow = a < h ? 1 : 0;
        const bool negative = top < borrow;
        const bool too_large = (top > borrow) || r >= m;
        const umint2 s = too_large ? below : r;
        return negative ? above : s;
    }
};

}  // namespace

void pow2_128(umint* x, const umint* e, const Modulus<2>& modulus) noexcept {
    const Modulus128 context(modulus);
    umint2 y = from_limbs(modulus.r1);
    for (int i = bit_length<2>(e) - 1; i >= 0; --i) {
        const Wide t = square(y);
        const umint bit = bit_at(e, i);
        const umint2 h = context.quotient_part(t.low);
        const umint2 r = t.high - h + (t.high < h ? context.m : 0);
        const umint2 mask = umint2{0} - bit;
        const umint2 s = r & mask;
        y = context.reduce((r + s) < r ? 1 : 0, r + s, 0);
    }
    to_limbs(x, y);
}

void lucas_ladder_128(umint* l, umint* h, const umint* a, const umint* e, const Modulus<2>& modulus) noexcept {
    const Modulus128 context(modulus);
    const umint2 m = context.m, one = from_limbs(modulus.r1);
    const umint2 two = context.reduce(one + one < one ? 1 : 0, one + one, 0);
    const umint2 minus_a = m - from_limbs(a), minus_two = m - two;
    umint2 lower = two, upper = from_limbs(a);
    for (int i = bit_length<2>(e) - 1; i >= 0; --i) {
        const umint2 mask = umint2{0} - bit_at(e, i);
        const Wide p = multiply(lower, upper), s = square(lower ^ ((lower ^ upper) & mask));
        const umint2 sum_p = p.high + minus_a, sum_s = s.high + minus_two;
        const umint2 new_p = context.reduce(sum_p < minus_a ? 1 : 0, sum_p, context.quotient_part(p.low));
        const umint2 new_s = context.reduce(sum_s < minus_two ? 1 : 0, sum_s, context.quotient_part(s.low));
        const umint2 exchanged = (new_p ^ new_s) & mask;
        lower = new_s ^ exchanged;
        upper = new_p ^ exchanged;
    }
    to_limbs(l, lower);
    to_limbs(h, upper);
}

}  // namespace kesh::kernel
