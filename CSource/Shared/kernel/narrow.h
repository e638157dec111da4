/**
 * @file   narrow.h
 * @brief  The ladder at 128 bits, in a special form that all levels use.
 */
#pragma once

#include "Shared/kernel/limbs.h"
#include "Shared/kernel/routines.h"

namespace kesh::kernel {

void lucas_ladder_128(umint* l, umint* h, const umint* a, const umint* e, const Modulus<2>& modulus) noexcept;

}  // namespace kesh::kernel
