/**
 * @file   avx2_lanes.h
 * @brief  The tests of wide numbers in vectors of four lanes, with AVX2; lanes.h chooses between the forms.
 */
#pragma once

#include "Shared/kernel/lanes.h"

namespace kesh::kernel {

[[nodiscard]] unsigned strong_base2_in_avx2_lanes(const LaneGroup& numbers, int limbs, std::size_t count) noexcept;
[[nodiscard]] unsigned lucas_u_vanishes_in_avx2_lanes(const LaneGroup& numbers, const LaneParameters& q, int limbs,
                                                      std::size_t count) noexcept;

}  // namespace kesh::kernel
