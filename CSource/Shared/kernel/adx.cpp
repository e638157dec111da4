/// @file   adx.cpp
/// @brief  The kernels for processors with BMI2 and ADX.

#include "Shared/kernel/adx_rows.h"
#include "Shared/kernel/routines.h"
#include "Shared/kernel/signed_residue.h"

namespace kesh::kernel {

namespace {

struct Adx {
    static void mul(umint* r, const umint* a, const umint* b, const Modulus<4>& modulus) noexcept {
        montgomery_product4(r, a, b, modulus.m, modulus.k);
    }
    static void sqr(umint* r, const umint* a, const Modulus<4>& modulus) noexcept {
        montgomery_product4(r, a, a, modulus.m, modulus.k);
    }

    static void mul(umint* r, const umint* a, const umint* b, const Modulus<8>& modulus) noexcept {
        montgomery_product8(r, a, b, modulus.m, modulus.k);
    }
    static void sqr(umint* r, const umint* a, const Modulus<8>& modulus) noexcept {
        montgomery_product8(r, a, a, modulus.m, modulus.k);
    }

    static void mul(umint* r, const umint* a, const umint* b, const Modulus<16>& modulus) noexcept {
        montgomery_product16(r, a, b, modulus.m, modulus.k);
    }
    static void sqr(umint* r, const umint* a, const Modulus<16>& modulus) noexcept {
        montgomery_square16(r, a, modulus.m, modulus.k);
    }
};

template <int n>
void mul(umint* r, const umint* a, const umint* b, const Modulus<n>& modulus) noexcept {
    Adx::mul(r, a, b, modulus);
}

template <int n>
void sqr(umint* r, const umint* a, const Modulus<n>& modulus) noexcept {
    Adx::sqr(r, a, modulus);
}

template <int n>
void adx_pow2(umint* x, const umint* e, const Modulus<n>& modulus) noexcept {
    if constexpr (n != 4) {
        generic_pow2<n, Adx>(x, e, modulus);
    } else {
        umint two[4];
        for (int i = 0; i < 4; ++i) two[i] = modulus.r1[i];
        double_if<4>(two, 1, modulus.m);
        SignedModulus m(modulus);
        SignedResidue y(two);  // with its doublings put off, as in Doublings
        int ahead = 1;
        for (int i = bit_length<4>(e) - 1; i >= 0; --i) {
            y.square(m);
            ahead = 2 * ahead - static_cast<int>(bit_at(e, i));
            if (i % 6 != 0) continue;
            y.halve(ahead - 1, m);
            ahead = 1;
        }
        y.halve(1, m);
        y.store(x, m);
    }
}

}  // namespace

template <int n>
const Routines<n>& adx_routines() noexcept {
    if constexpr (n == 2) {
        return portable_routines<n>();
    } else {
        static constexpr Routines<n> table = {mul<n>, sqr<n>, adx_pow2<n>, generic_lucas_ladder<n, Adx>};
        return table;
    }
}

template const Routines<2>& adx_routines<2>() noexcept;
template const Routines<4>& adx_routines<4>() noexcept;
template const Routines<8>& adx_routines<8>() noexcept;
template const Routines<16>& adx_routines<16>() noexcept;

}  // namespace kesh::kernel
