/**
 * @file   portable.cpp
 * @brief  The kernels for any x86-64 processor.
 */

#include "Shared/kernel/portable.h"

#include "Shared/kernel/narrow.h"
#include "Shared/kernel/signed_residue.h"

namespace kesh::kernel {

namespace {

template <int n>
void portable_pow2(umint* x, const umint* e, const Modulus<n>& modulus) noexcept {
    if constexpr (n <= 3) {
        if (signed_pow2(x, e, modulus)) return;
    }
    generic_pow2<n, Portable>(x, e, modulus);
}

template <int n>
void portable_lucas_ladder(umint* l, umint* h, const umint* a, const umint* e, const Modulus<n>& modulus) noexcept {
    if constexpr (n == 2)
        lucas_ladder_128(l, h, a, e, modulus);
    else
        generic_lucas_ladder<n, Portable>(l, h, a, e, modulus);
}

}  // namespace

template <int n>
const Routines<n>& portable_routines() noexcept {
    static constexpr Routines<n> table = {reduced_mul<n, Portable>, reduced_sqr<n, Portable>, portable_pow2<n>,
                                          portable_lucas_ladder<n>};
    return table;
}

#define KESH_PORTABLE_ROUTINES(n) template const Routines<n>& portable_routines<n>() noexcept;
KESH_FOR_EACH_WIDTH(KESH_PORTABLE_ROUTINES)
#undef KESH_PORTABLE_ROUTINES

}  // namespace kesh::kernel
