/// @file   portable.cpp
/// @brief  The kernels for any x86-64 processor.

#include "Shared/kernel/portable.h"

#include "Shared/kernel/narrow.h"

namespace kesh::kernel {

namespace {

template <int n>
void mul(umint* r, const umint* a, const umint* b, const Modulus<n>& modulus) noexcept {
    Portable::mul<n>(r, a, b, modulus);
}

template <int n>
void sqr(umint* r, const umint* a, const Modulus<n>& modulus) noexcept {
    Portable::sqr<n>(r, a, modulus);
}

}  // namespace

template <int n>
const Routines<n>& portable_routines() noexcept {
    if constexpr (n == 2) {
        static constexpr Routines<2> table = {mul<2>, sqr<2>, pow2_128, lucas_ladder_128};
        return table;
    } else {
        static constexpr Routines<n> table = {mul<n>, sqr<n>, generic_pow2<n, Portable>,
                                              generic_lucas_ladder<n, Portable>};
        return table;
    }
}

template const Routines<2>& portable_routines<2>() noexcept;
template const Routines<4>& portable_routines<4>() noexcept;
template const Routines<8>& portable_routines<8>() noexcept;
template const Routines<16>& portable_routines<16>() noexcept;

}  // namespace kesh::kernel
