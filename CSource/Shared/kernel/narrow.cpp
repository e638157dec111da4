/**
 * @file   narrow.cpp
 * @brief  The ladder at 128 bits.
 */

#include "Shared/kernel/narrow.h"

namespace kesh::kernel {

namespace {

umint low(umint2 a) noexcept {
    return static_cast<umint>(a);
}

umint high(umint2 a) noexcept {
    return static_cast<umint>(a >> 64);
}

umint2 product(umint a, umint b) noexcept {
    return static_cast<umint2>(a) * b;
}

/** A product of 256 bits in two halves. */
struct Wide {
    umint2 lower, upper;
};

inline Wide square(const umint* a) noexcept {
    const umint2 p00 = product(a[0], a[0]), p01 = product(a[0], a[1]), p11 = product(a[1], a[1]);
    const umint2 lower = p00 + (p01 << 65);
    return {lower, p11 + (p01 >> 63) + (lower < p00 ? 1 : 0)};
}

inline Wide multiply(const umint* a, const umint* b) noexcept {
    const umint2 p00 = product(a[0], b[0]), p01 = product(a[0], b[1]), p10 = product(a[1], b[0]),
                 p11 = product(a[1], b[1]);
    const umint2 middle = static_cast<umint2>(high(p00)) + low(p01) + low(p10);
    return {(middle << 64) | low(p00), p11 + high(p01) + high(p10) + high(middle)};
}

/** A modulus and its inverse modulo 2^128. */
class Reduction {
  public:
    explicit Reduction(const Modulus<2>& modulus) noexcept
        : m_(modulus.m), inverse_((static_cast<umint2>(modulus.inverse_high) << 64) | modulus.inverse) {}

    /**
     * r = t / 2^128 mod m. With q = t/m mod 2^128, q m has the low half of t, so that t - q m is 2^128 times the
     * difference of the high halves, which is above -m and below m: neither the low half of q m nor its subtraction is
     * needed.
     */
    void operator()(umint* r, const Wide& t) const noexcept {
        const umint2 q = t.lower * inverse_;
        const umint factor[2] = {low(q), high(q)};
        const umint2 part = multiply(factor, m_).upper;
        const umint a[2] = {low(t.upper), high(t.upper)}, b[2] = {low(part), high(part)};
        subtract_mod<2>(r, a, b, m_);
    }

  private:
    const umint* m_;
    umint2 inverse_;
};

}  // namespace

void lucas_ladder_128(umint* l, umint* h, const umint* a, const umint* e, const Modulus<2>& modulus) noexcept {
    const Reduction reduce(modulus);
    umint two[2] = {modulus.r1[0], modulus.r1[1]};
    double_if<2>(two, 1, modulus.m);
    const umint parameter[2] = {a[0], a[1]};
    umint lower[2] = {two[0], two[1]}, upper[2] = {a[0], a[1]};
    for (int i = bit_length<2>(e) - 1; i >= 0; --i) {
        umint mask = umint{0} - bit_at(e, i);
        keep_scalar(mask);
        umint p[2], s[2];
        select<2>(s, mask, upper, lower);
        reduce(p, multiply(lower, upper));
        reduce(s, square(s));
        subtract_mod<2>(p, p, parameter, modulus.m);
        subtract_mod<2>(s, s, two, modulus.m);
        select<2>(lower, mask, p, s);
        select<2>(upper, mask, s, p);
    }
    for (int i = 0; i < 2; ++i) {
        l[i] = lower[i];
        h[i] = upper[i];
    }
}

}  // namespace kesh::kernel
