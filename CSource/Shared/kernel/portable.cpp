/**
 * @file   portable.cpp
 * @brief  The kernels for any x86-64 processor.
 */

#include "Shared/kernel/portable.h"

#include "Shared/kernel/narrow.h"
#include "Shared/kernel/signed_residue.h"

namespace kesh::kernel {

namespace {

void portable_pow2_192(umint* x, const umint* e, const Modulus<3>& modulus) noexcept {
    if (!signed_pow2(x, e, modulus)) generic_pow2<3, Portable>(x, e, modulus);
}

}  // namespace

template <int n>
const Routines<n>& portable_routines() noexcept {
    if constexpr (n == 2) {
        static constexpr Routines<2> table = {reduced_mul<2, Portable>, reduced_sqr<2, Portable>, pow2_128,
                                              lucas_ladder_128};
        return table;
    } else if constexpr (n == 3) {
        static constexpr Routines<3> table = {reduced_mul<3, Portable>, reduced_sqr<3, Portable>, portable_pow2_192,
                                              generic_lucas_ladder<3, Portable>};
        return table;
    } else {
        static constexpr Routines<n> table = {reduced_mul<n, Portable>, reduced_sqr<n, Portable>,
                                              generic_pow2<n, Portable>, generic_lucas_ladder<n, Portable>};
        return table;
    }
}

#define KESH_PORTABLE_ROUTINES(n) template const Routines<n>& portable_routines<n>() noexcept;
KESH_FOR_EACH_WIDTH(KESH_PORTABLE_ROUTINES)
#undef KESH_PORTABLE_ROUTINES

}  // namespace kesh::kernel
