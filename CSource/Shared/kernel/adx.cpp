/// @file   adx.cpp
/// @brief  The kernels for processors with BMI2 and ADX.

#include "Shared/kernel/routines.h"

namespace kesh::kernel {

template <int n>
const Routines<n>& adx_routines() noexcept {
    return portable_routines<n>();
}

template const Routines<2>& adx_routines<2>() noexcept;
template const Routines<4>& adx_routines<4>() noexcept;
template const Routines<8>& adx_routines<8>() noexcept;
template const Routines<16>& adx_routines<16>() noexcept;

}  // namespace kesh::kernel
