/**
 * @file   narrow.h
 * @brief  The power and the ladder at 128 bits, in special forms that all levels use.
 */
#pragma once

#include "Shared/kernel/limbs.h"
#include "Shared/kernel/routines.h"

namespace kesh::kernel {

void pow2_128(umint* x, const umint* e, const Modulus<2>& modulus) noexcept;
void lucas_ladder_128(umint* l, umint* h, const umint* a, const umint* e, const Modulus<2>& modulus) noexcept;

}  // namespace kesh::kernel
