/**
 * @file   adx.cpp
 * @brief  The kernels for processors with BMI2, ADX and AVX2.
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
    if (signed_pow2(x, e, modulus)) return;
    Doublings<n> y(modulus, e);
    for (int i = y.bits_left() - 1; i >= 0;) {
        const int times = i % Doublings<n>::first_bits + 1;
        Adx::sqr_times(y.value, times, modulus);
        for (const int last = i - times; i > last; --i) y.after_square(e, i);
    }
    y.finish(x);
    fully_reduce<n, Adx>(x, x, modulus);
}

/**
 * Up to these lengths two carry chains are faster than AVX2. (README.md: AVX2 works on whole registers of four digits,
 * and on rows that wait for each other.)
 */
constexpr int most_limbs_of_power = 10, most_limbs_of_ladder = 4;
static_assert(has_signed_residue<most_limbs_of_power> && !has_signed_residue<most_limbs_of_power + 1>);

}  // namespace

template <int n>
const Routines<n>& adx_routines() noexcept {
    if constexpr (n == 2) {
        return portable_routines<n>();
    } else {
        static_assert(modulus_as_assembled<n>);
        if constexpr (n <= most_limbs_of_ladder) {
            static constexpr Routines<n> table = {reduced_mul<n, Adx>, reduced_sqr<n, Adx>, adx_pow2<n>,
                                                  generic_lucas_ladder<n, Adx>};
            return table;
        } else if constexpr (n <= most_limbs_of_power) {
            static constexpr Routines<n> table = {reduced_mul<n, Adx>, reduced_sqr<n, Adx>, adx_pow2<n>,
                                                  avx2_lucas_ladder<n>};
            return table;
        } else {
            static constexpr Routines<n> table = {reduced_mul<n, Adx>, reduced_sqr<n, Adx>, avx2_pow2<n>,
                                                  avx2_lucas_ladder<n>};
            return table;
        }
    }
}

#define KESH_ADX_ROUTINES(n) template const Routines<n>& adx_routines<n>() noexcept;
KESH_FOR_EACH_WIDTH(KESH_ADX_ROUTINES)
#undef KESH_ADX_ROUTINES

}  // namespace kesh::kernel
