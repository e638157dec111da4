/**
 * @file   adx.cpp
 * @brief  The kernels for processors with BMI2 and ADX.
 */

#include "Shared/kernel/adx.h"

#include "Shared/kernel/signed_residue.h"

namespace kesh::kernel {

namespace {

/**
 * As generic_pow2(), with the squarings between two exact divisions in one call, and on residues with a sign where
 * there are such.
 */
template <int n>
void adx_pow2(umint* x, const umint* e, const Modulus<n>& modulus) noexcept {
    if constexpr (has_signed_residue<n>) {
        if (signed_pow2(x, e, modulus)) return;
    }
    Doublings<n> y(modulus, e);
    for (int i = y.bits_left() - 1; i >= 0;) {
        const int times = i % Doublings<n>::first_bits + 1;
        Adx::sqr_times(y.value, times, modulus);
        for (const int last = i - times; i > last; --i) y.after_square(e, i);
    }
    y.finish(x);
    fully_reduce<n, Adx>(x, x, modulus);
}

}  // namespace

template <int n>
const Routines<n>& adx_routines() noexcept {
    if constexpr (n == 2) {
        return portable_routines<n>();
    } else {
        static_assert(modulus_as_assembled<n>);
        static constexpr Routines<n> table = {reduced_mul<n, Adx>, reduced_sqr<n, Adx>, adx_pow2<n>,
                                              generic_lucas_ladder<n, Adx>};
        return table;
    }
}

#define KESH_ADX_ROUTINES(n) template const Routines<n>& adx_routines<n>() noexcept;
KESH_FOR_EACH_WIDTH(KESH_ADX_ROUTINES)
#undef KESH_ADX_ROUTINES

}  // namespace kesh::kernel
