/// @file   adx.cpp
/// @brief  The kernels for processors with BMI2 and ADX.

#include "Shared/kernel/adx.h"

namespace kesh::kernel {

template <int n>
const Routines<n>& adx_routines() noexcept {
    if constexpr (n == 2) {
        return portable_routines<n>();
    } else {
        static_assert(modulus_as_assembled<n>);
        static constexpr Routines<n> table = {reduced_mul<n, Adx>, reduced_sqr<n, Adx>, generic_pow2<n, Adx>,
                                              generic_lucas_ladder<n, Adx>};
        return table;
    }
}

#define KESH_INSTANCE(n) template const Routines<n>& adx_routines<n>() noexcept;
KESH_FOR_EACH_WIDTH(KESH_INSTANCE)
#undef KESH_INSTANCE

}  // namespace kesh::kernel
