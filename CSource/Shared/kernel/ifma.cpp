/// @file   ifma.cpp
/// @brief  The kernels for processors with AVX-512 IFMA.

#include "Shared/kernel/routines.h"

namespace kesh::kernel {

template <int n>
const Routines<n>& ifma_routines() noexcept {
    return adx_routines<n>();
}

template const Routines<2>& ifma_routines<2>() noexcept;
template const Routines<4>& ifma_routines<4>() noexcept;
template const Routines<8>& ifma_routines<8>() noexcept;
template const Routines<16>& ifma_routines<16>() noexcept;

}  // namespace kesh::kernel
