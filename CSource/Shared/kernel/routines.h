/// @file   routines.h
/// @brief  The table of kernels that a level provides for one width, and the loops that levels share.
#pragma once

#include "Shared/kernel/kernel.h"
#include "Shared/kernel/limbs.h"

namespace kesh::kernel {

/// The kernels of one level at one width; their contracts are those of the functions of the same names in kernel.h.
template <int n>
struct Routines {
    void (*mont_mul)(umint* r, const umint* a, const umint* b, const Modulus<n>& modulus) noexcept;
    void (*mont_sqr)(umint* r, const umint* a, const Modulus<n>& modulus) noexcept;
    void (*pow2)(umint* x, const umint* e, const Modulus<n>& modulus) noexcept;
    void (*lucas_ladder)(umint* l, umint* h, const umint* a, const umint* e, const Modulus<n>& modulus) noexcept;
};

template <int n>
const Routines<n>& portable_routines() noexcept;
template <int n>
const Routines<n>& adx_routines() noexcept;
template <int n>
const Routines<n>& ifma_routines() noexcept;

/// The doublings of pow2, put off: value = 2^(E + ahead) R mod m, where E is the exponent that the bits so far make.
/// With ahead = 1 before, it is 2 ahead - bit and so again at least 1 after a squaring for the next bit, and at most 64
/// after six. Only then is the power brought back by an exact division, which costs one row of products instead of six
/// doublings with their comparisons.
template <int n>
struct Doublings {
    umint value[n];

    explicit Doublings(const Modulus<n>& modulus) noexcept : modulus_(modulus) {
        for (int i = 0; i < n; ++i) value[i] = modulus.r1[i];
        double_if<n>(value, 1, modulus.m);
    }

    /// To be called after `value` was squared for bit i of e, for each i down to 0.
    void after_square(const umint* e, int i) noexcept {
        ahead_ = 2 * ahead_ - static_cast<int>(bit_at(e, i));
        if (i % 6 != 0) return;
        halve<n>(value, ahead_ - 1, modulus_.m, modulus_.k);
        ahead_ = 1;
    }

    /// x = 2^e R mod m.
    void finish(umint* x) noexcept {
        halve<n>(value, 1, modulus_.m, modulus_.k);
        for (int i = 0; i < n; ++i) x[i] = value[i];
    }

  private:
    const Modulus<n>& modulus_;
    int ahead_ = 1;
};

/// pow2 over the products of `Arithmetic`, a class with static mul() and sqr() of mont_mul's and mont_sqr's signatures.
template <int n, class Arithmetic>
inline void generic_pow2(umint* x, const umint* e, const Modulus<n>& modulus) noexcept {
    Doublings<n> y(modulus);
    for (int i = bit_length<n>(e) - 1; i >= 0; --i) {
        Arithmetic::sqr(y.value, y.value, modulus);
        y.after_square(e, i);
    }
    y.finish(x);
}

/// lucas_ladder over the products of `Arithmetic`. The pair (V(k), V(k+1)) goes to (V(2k), V(2k+1)) for a clear bit and
/// to (V(2k+1), V(2k+2)) for a set one, where V(2k+1) = V(k) V(k+1) - a and V(2k) = V(k)^2 - 2. So the member of the
/// pair that the bit numbers is squared in place, and the product takes the place of the other one: no branch depends
/// on the bit. The product and the square do not depend on each other, so that the processor works on both at once.
template <int n, class Arithmetic>
inline void generic_lucas_ladder(umint* l, umint* h, const umint* a, const umint* e,
                                 const Modulus<n>& modulus) noexcept {
    umint two[n], pair[2][n];
    for (int i = 0; i < n; ++i) two[i] = modulus.r1[i];
    double_if<n>(two, 1, modulus.m);
    for (int i = 0; i < n; ++i) {
        pair[0][i] = two[i];
        pair[1][i] = a[i];
    }
    for (int i = bit_length<n>(e) - 1; i >= 0; --i) {
        const umint bit = bit_at(e, i);
        umint product[n], square[n];
        Arithmetic::mul(product, pair[0], pair[1], modulus);
        Arithmetic::sqr(square, pair[bit], modulus);
        subtract_mod<n>(pair[1 - bit], product, a, modulus.m);
        subtract_mod<n>(pair[bit], square, two, modulus.m);
    }
    for (int i = 0; i < n; ++i) {
        l[i] = pair[0][i];
        h[i] = pair[1][i];
    }
}

}  // namespace kesh::kernel
