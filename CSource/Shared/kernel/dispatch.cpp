/**
 * @file   dispatch.cpp
 * @brief  Chooses the level, and defines the functions that use the kernels of any level.
 */

#include "Shared/kernel/kernel.h"

#include <cassert>

#include "Shared/kernel/limbs.h"
#include "Shared/kernel/routines.h"

namespace kesh::kernel {

namespace {

template <int n>
const Routines<n>& routines() noexcept {
    switch (level()) {
        case Level::ifma:
            return ifma_routines<n>();
        case Level::adx:
            return adx_routines<n>();
        case Level::portable:
            break;
    }
    return portable_routines<n>();
}

}  // namespace

template <int n>
    requires supported_limbs<n>
Modulus<n>::Modulus(const umint* modulus) noexcept {
    assert((modulus[0] & 1) == 1 && bit_length<n>(modulus) > 1);
    for (int i = 0; i < n; ++i) {
        m[i] = modulus[i];
        zero[i] = 0;
    }
    subtract_limbs<n>(complement, zero, m);
    shift_left<n>(twice, m, 1);
    k = math_mod_inv_2(m[0]);
    inverse = umint{0} - k;
    const umint2 two_limbs = (static_cast<umint2>(m[1]) << 64) | m[0];
    inverse_high = static_cast<umint>((inverse * (2 - two_limbs * inverse)) >> 64);

    // The lowest limb of m k + 1 is 0.
    umint product[n];
    mu[n - 1] = add_product_row<n>(product, zero, m, k, 1);
    for (int i = 1; i < n; ++i) mu[i - 1] = product[i];

    power_of_2_residue<n>(r1, 64 * n, m);
}

template <int n>
void mont_mul(umint* r, const umint* a, const umint* b, const Modulus<n>& modulus) noexcept {
    routines<n>().mont_mul(r, a, b, modulus);
}

template <int n>
void mont_sqr(umint* r, const umint* a, const Modulus<n>& modulus) noexcept {
    routines<n>().mont_sqr(r, a, modulus);
}

template <int n>
void pow2(umint* x, const umint* e, const Modulus<n>& modulus) noexcept {
    routines<n>().pow2(x, e, modulus);
}

template <int n>
void lucas_ladder(umint* l, umint* h, const umint* a, const umint* e, const Modulus<n>& modulus) noexcept {
    assert(bit_length<n>(e) > 0);
    routines<n>().lucas_ladder(l, h, a, e, modulus);
}

template <int n>
bool strong_base2(const Modulus<n>& modulus) noexcept {
    const StrongExponent<n> exponent(modulus.m);
    umint x[n];
    pow2<n>(x, exponent.e, modulus);
    return ends_strongly<n>(x, exponent.s, modulus);
}

template <int n>
bool lucas_u_vanishes(const Modulus<n>& modulus, mint q) noexcept {
    const LucasStart<n> start(modulus, q);
    umint l[n], h[n];
    lucas_ladder<n>(l, h, start.a, start.e, modulus);
    return start.vanishes(l, h, modulus);
}

umint mod_limb(std::span<const umint> limbs, umint d) noexcept {
    umint quotient = 0, remainder = 0;
    for (std::size_t i = limbs.size(); i-- > 0;) math_divmod(limbs[i], remainder, d, quotient, remainder);
    return remainder;
}

#define KESH_KERNEL_WIDTH(n)                                                                               \
    template struct Modulus<n>;                                                                            \
    template void mont_mul<n>(umint*, const umint*, const umint*, const Modulus<n>&) noexcept;             \
    template void mont_sqr<n>(umint*, const umint*, const Modulus<n>&) noexcept;                           \
    template void pow2<n>(umint*, const umint*, const Modulus<n>&) noexcept;                               \
    template void lucas_ladder<n>(umint*, umint*, const umint*, const umint*, const Modulus<n>&) noexcept; \
    template bool strong_base2<n>(const Modulus<n>&) noexcept;                                             \
    template bool lucas_u_vanishes<n>(const Modulus<n>&, mint) noexcept;
KESH_FOR_EACH_WIDTH(KESH_KERNEL_WIDTH)
#undef KESH_KERNEL_WIDTH

}  // namespace kesh::kernel
