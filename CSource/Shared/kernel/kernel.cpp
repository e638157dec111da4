/// @file   kernel.cpp
/// @brief  Choice of the level, and what is built from the kernels of any level.

#include "Shared/kernel/kernel.h"

#include <atomic>
#include <cassert>

#include "Shared/kernel/limbs.h"
#include "Shared/kernel/routines.h"

namespace kesh::kernel {

namespace {

std::atomic<Level>& in_force() noexcept {
    static std::atomic<Level> value{supported_level()};
    return value;
}

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

Level level() noexcept {
    return in_force().load(std::memory_order_relaxed);
}

bool force(Level wanted) noexcept {
    if (wanted > supported_level()) return false;
    in_force().store(wanted, std::memory_order_relaxed);
    return true;
}

template <int n>
    requires supported_limbs<n>
Modulus<n>::Modulus(const umint* modulus) noexcept {
    assert((modulus[0] & 1) == 1 && bit_length<n>(modulus) > 1);
    for (int i = 0; i < n; ++i) {
        m[i] = modulus[i];
        zero[i] = 0;
    }
    subtract<n>(complement, zero, m);
    shift_left<n>(twice, m, 1);
    k = math_mod_inv_2(m[0]);
    inverse = umint{0} - k;

    umint2 product = static_cast<umint2>(m[0]) * k + 1;
    for (int i = 1; i < n; ++i) {
        product = static_cast<umint2>(m[i]) * k + static_cast<umint>(product >> 64);
        mu[i - 1] = static_cast<umint>(product);
    }
    mu[n - 1] = static_cast<umint>(product >> 64);

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
    umint d[n], x[n], minus_one[n];
    for (int i = 0; i < n; ++i) d[i] = modulus.m[i];
    d[0] -= 1;
    int s = 0;
    for (int i = 0; i < n && s == 64 * i; ++i) s += static_cast<int>(math_count_trailing_zeros(d[i]));
    shift_right<n>(d, d, s);
    pow2<n>(x, d, modulus);
    subtract<n>(minus_one, modulus.m, modulus.r1);
    if (equal<n>(x, modulus.r1) || equal<n>(x, minus_one)) return true;
    for (int j = 1; j < s; ++j) {
        mont_sqr<n>(x, x, modulus);
        if (equal<n>(x, minus_one)) return true;
    }
    return false;
}

template <int n>
bool lucas_u_vanishes(const Modulus<n>& modulus, mint q) noexcept {
    assert(q != 0);
    const umint zero[n] = {};
    umint two[n], a[n], e[n], l[n], h[n];
    for (int i = 0; i < n; ++i) two[i] = modulus.r1[i];
    double_if<n>(two, 1, modulus.m);
    divide_by_limb<n>(a, modulus.r1, q < 0 ? umint{0} - static_cast<umint>(q) : static_cast<umint>(q), modulus.m);
    if (q < 0) subtract_mod<n>(a, zero, a, modulus.m);
    subtract_mod<n>(a, a, two, modulus.m);

    // (m + 1) / 2 without the carry that m + 1 may have.
    shift_right<n>(e, modulus.m, 1);
    std::uint8_t carry = 1;
    for (int i = 0; i < n; ++i) carry = math_addcarry(carry, e[i], 0, e[i]);
    lucas_ladder<n>(l, h, a, e, modulus);

    // 2 V(e+1) - a V(e) = (a^2 - 4) U(e) for the parameters (a, 1); there a^2 - 4 = D / Q^2 and U(e) = U(m + 1) /
    // Q^(e-1) of (1, Q).
    mont_mul<n>(l, a, l, modulus);
    mont_mul<n>(h, two, h, modulus);
    return equal<n>(l, h);
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
