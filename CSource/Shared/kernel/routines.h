/**
 * @file   routines.h
 * @brief  The table of kernels of a level for one width, and the loops that the levels share.
 */
#pragma once

#include <cassert>

#include "Shared/kernel/kernel.h"
#include "Shared/kernel/limbs.h"

namespace kesh::kernel {

/** The kernels of one level at one width; their contracts are those of the functions of the same names in kernel.h. */
template <int n>
struct Routines {
    void (*mont_mul)(umint* r, const umint* a, const umint* b, const Modulus<n>& modulus) noexcept;
    void (*mont_sqr)(umint* r, const umint* a, const Modulus<n>& modulus) noexcept;
    void (*pow2)(umint* x, const umint* e, const Modulus<n>& modulus) noexcept;
    void (*lucas_ladder)(umint* l, umint* h, const umint* a, const umint* e, const Modulus<n>& modulus) noexcept;
};

/** Expands to `each(n)` for every number of limbs that has kernels; 2 limbs have special forms. */
#define KESH_FOR_EACH_WIDTH(each) each(2) KESH_FOR_EACH_WIDTH_ABOVE_2(each)
#define KESH_FOR_EACH_WIDTH_ABOVE_2(each) each(3) each(4) KESH_FOR_EACH_WIDTH_ABOVE_4(each)
#define KESH_FOR_EACH_WIDTH_ABOVE_4(each) \
    each(5) each(6) each(7) each(8) each(9) each(10) KESH_FOR_EACH_WIDTH_ABOVE_10(each)
#define KESH_FOR_EACH_WIDTH_ABOVE_10(each) each(11) each(12) each(13) each(14) each(15) each(16)

template <int n>
const Routines<n>& portable_routines() noexcept;
template <int n>
const Routines<n>& adx_routines() noexcept;
template <int n>
const Routines<n>& ifma_routines() noexcept;

/** pow2 for 11 to 16 limbs and lucas_ladder for 5 to 16 limbs, with AVX2. */
template <int n>
void avx2_pow2(umint* x, const umint* e, const Modulus<n>& modulus) noexcept;
template <int n>
void avx2_lucas_ladder(umint* l, umint* h, const umint* a, const umint* e, const Modulus<n>& modulus) noexcept;

/**
 * The postponed doublings of pow2: value = 2^(E + ahead) R modulo m, where E is the exponent made of the bits so far.
 * `ahead` starts at 1. A squaring for the next bit makes it 2 ahead - bit, which is at least 1, and at most 64 after
 * six squarings. Only then an exact division reduces it to 1 again, which costs one row of products instead of six
 * doublings with their comparisons. The first six bits cost no squaring: 2^(E + 1) R mod m is made by a division.
 */
template <int n>
struct Doublings {
    static constexpr int first_bits = 6;  ///< also the squarings between two exact divisions

    umint value[n];

    Doublings(const Modulus<n>& modulus, const umint* e) noexcept : modulus_(modulus) {
        const int length = bit_length<n>(e);
        next_ = length > first_bits ? length - first_bits : 0;
        umint shifted[n];
        shift_right<n>(shifted, e, next_);
        const int first = static_cast<int>(shifted[0]);
        const int s = 64 * n - bit_length<n>(modulus.m);
        shift_left<n>(shifted, modulus.m, s);
        shift_left<n>(value, modulus.r1, s);
        shift_residue<n>(value, first + 1, shifted);
        shift_right<n>(value, value, s);
    }

    /** The index of the first bit of e that needs a squaring, plus 1. */
    [[nodiscard]] int bits_left() const noexcept {
        return next_;
    }

    /** Call it after `value` was squared for bit i of e, for each i below bits_left() down to 0. */
    void after_square(const umint* e, int i) noexcept {
        ahead_ = 2 * ahead_ - static_cast<int>(bit_at(e, i));
        if (i % first_bits != 0) return;
        halve<n>(value, ahead_ - 1, modulus_.m, modulus_.k);
        ahead_ = 1;
    }

    /** x = 2^e R modulo m. */
    void finish(umint* x) noexcept {
        halve<n>(value, 1, modulus_.m, modulus_.k);
        for (int i = 0; i < n; ++i) x[i] = value[i];
    }

  private:
    const Modulus<n>& modulus_;
    int ahead_ = 1;
    int next_;
};

/**
 * The loops work on values below R = 2^(64 n) that are residues but need not be below m. `Arithmetic` has static mul()
 * and sqr() of mont_mul's and mont_sqr's signatures for them: for factors below R the product is below R, and if one
 * factor is below m, the product is below 2 m.
 */

/** r -= c modulo m for an r below R, given the limbs of R - 1 - c: r + (R - 1 - c) + 1 has a carry if r >= c. */
template <int n>
inline __attribute__((always_inline)) void subtract_residue(umint* r, const umint* not_c,
                                                            const Modulus<n>& modulus) noexcept {
    umint t[n];
    const std::uint8_t carry = add_limbs<n>(t, r, not_c, 1);
    add_limbs<n>(r, t, modulus.m + n * carry);  // m without a carry, else 0
}

/** r = the residue below m of a value below R. */
template <int n, class Arithmetic>
inline void fully_reduce(umint* r, const umint* a, const Modulus<n>& modulus) noexcept {
    Arithmetic::mul(r, a, modulus.r1, modulus);
    reduce_once<n>(r, r, 0, modulus.m);
}

/** mont_mul, by the products of `Arithmetic`. */
template <int n, class Arithmetic>
inline void reduced_mul(umint* r, const umint* a, const umint* b, const Modulus<n>& modulus) noexcept {
    Arithmetic::mul(r, a, b, modulus);
    reduce_once<n>(r, r, 0, modulus.m);
}

/** mont_sqr, likewise. */
template <int n, class Arithmetic>
inline void reduced_sqr(umint* r, const umint* a, const Modulus<n>& modulus) noexcept {
    Arithmetic::sqr(r, a, modulus);
    reduce_once<n>(r, r, 0, modulus.m);
}

/** pow2. */
template <int n, class Arithmetic>
inline void generic_pow2(umint* x, const umint* e, const Modulus<n>& modulus) noexcept {
    Doublings<n> y(modulus, e);
    for (int i = y.bits_left() - 1; i >= 0; --i) {
        Arithmetic::sqr(y.value, y.value, modulus);
        y.after_square(e, i);
    }
    y.finish(x);
    fully_reduce<n, Arithmetic>(x, x, modulus);
}

/**
 * lucas_ladder. The pair (V(k), V(k+1)) goes to (V(2k), V(2k+1)) for a clear bit and
 * to (V(2k+1), V(2k+2)) for a set one, where V(2k+1) = V(k) V(k+1) - a and V(2k) = V(k)^2 - 2. So the bit selects the
 * member of the pair that is squared in place, and the product replaces the other one: no branch depends on the bit.
 * The product and the square are independent, so that the processor computes both at the same time.
 */
template <int n, class Arithmetic>
inline void generic_lucas_ladder(umint* l, umint* h, const umint* a, const umint* e,
                                 const Modulus<n>& modulus) noexcept {
    umint pair[2][n], not_two[n], not_a[n];
    for (int i = 0; i < n; ++i) pair[0][i] = modulus.r1[i];
    double_if<n>(pair[0], 1, modulus.m);
    for (int i = 0; i < n; ++i) {
        pair[1][i] = a[i];
        not_two[i] = ~pair[0][i];
        not_a[i] = ~a[i];
    }
    for (int i = bit_length<n>(e) - 1; i >= 0; --i) {
        const umint bit = bit_at(e, i);
        Arithmetic::mul(pair[1 - bit], pair[0], pair[1], modulus, not_a);
        Arithmetic::sqr(pair[bit], pair[bit], modulus, not_two);
    }
    fully_reduce<n, Arithmetic>(l, pair[0], modulus);
    fully_reduce<n, Arithmetic>(h, pair[1], modulus);
}

/**
 * r = x / q modulo m for a residue x and q > 0 prime to m, else r = 0. With c = -x/m mod q, x + c m is divisible by q,
 * and the quotient is below m because c < q. No long division and no product of residues is needed, and a Montgomery
 * form remains a Montgomery form.
 */
template <int n>
inline void divide_by_limb(umint* r, const umint* x, umint q, const umint* m) noexcept {
    umint quotient = 0, c = 0;
    if (q > 1) {
        const umint inverse = math_invmod(mod_limb({m, n}, q), q);
        if (inverse == 0) {
            for (int i = 0; i < n; ++i) r[i] = 0;
            return;
        }
        umint low = 0, high = 0;
        math_mul(mod_limb({x, n}, q), inverse, low, high);
        math_divmod(low, high, q, quotient, c);
        c = c == 0 ? 0 : q - c;
    }
    umint t[n];
    umint remainder = add_product_row<n>(t, x, m, c);
    for (int i = n - 1; i >= 0; --i) math_divmod(t[i], remainder, q, r[i], remainder);
}

/** m - 1 = e 2^s with an odd e. */
template <int n>
struct StrongExponent {
    umint e[n];
    int s = 0;

    explicit StrongExponent(const umint* m) noexcept {
        for (int i = 0; i < n; ++i) e[i] = m[i];
        e[0] -= 1;
        for (int i = 0; i < n && s == 64 * i; ++i) s += static_cast<int>(math_count_trailing_zeros(e[i]));
        shift_right<n>(e, e, s);
    }
};

/**
 * The end of a strong test, from the residue x = b^e: whether it is 1, or it or one of its s - 1 squares is -1. x is
 * overwritten.
 */
template <int n>
inline bool ends_strongly(umint* x, int s, const Modulus<n>& modulus) noexcept {
    umint minus_one[n];
    subtract_limbs<n>(minus_one, modulus.m, modulus.r1);
    if (equal<n>(x, modulus.r1) || equal<n>(x, minus_one)) return true;
    for (int j = 1; j < s; ++j) {
        mont_sqr<n>(x, x, modulus);
        if (equal<n>(x, minus_one)) return true;
    }
    return false;
}

/** Where the ladder of lucas_u_vanishes starts: V(0) = 2 and V(1) = a = 1/Q - 2, for the exponent e = (m + 1)/2. */
template <int n>
struct LucasStart {
    umint two[n], a[n], e[n];

    LucasStart(const Modulus<n>& modulus, mint q) noexcept {
        assert(q != 0);
        const umint zero[n] = {};
        for (int i = 0; i < n; ++i) two[i] = modulus.r1[i];
        double_if<n>(two, 1, modulus.m);
        divide_by_limb<n>(a, modulus.r1, q < 0 ? umint{0} - static_cast<umint>(q) : static_cast<umint>(q), modulus.m);
        if (q < 0) subtract_mod<n>(a, zero, a, modulus.m);
        subtract_mod<n>(a, a, two, modulus.m);

        // (m + 1) / 2 without the carry that m + 1 may have.
        shift_right<n>(e, modulus.m, 1);
        detail::add_carry<n>(e, 1);
    }

    /**
     * Whether U(m + 1) vanishes, from l = V(e) and h = V(e + 1). 2 V(e+1) - a V(e) = (a^2 - 4) U(e) for the parameters
     * (a, 1); there a^2 - 4 = D / Q^2 and U(e) = U(m + 1) / Q^(e-1) of (1, Q).
     */
    [[nodiscard]] bool vanishes(const umint* l, const umint* h, const Modulus<n>& modulus) const noexcept {
        umint left[n], right[n];
        mont_mul<n>(left, a, l, modulus);
        mont_mul<n>(right, two, h, modulus);
        return equal<n>(left, right);
    }
};

}  // namespace kesh::kernel
