/**
 * @file   digits.h
 * @brief  The size of the digits that the vector multiply-adds take (AVX-512 IFMA).
 */
#pragma once

#include "Shared/intx/intx_types.h"

namespace kesh::kernel {

constexpr int digit_bits = 52;
constexpr umint digit_mask = (umint{1} << digit_bits) - 1;

}  // namespace kesh::kernel
