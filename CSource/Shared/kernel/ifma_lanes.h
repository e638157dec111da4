/**
 * @file   ifma_lanes.h
 * @brief  The tests of wide numbers in vectors of eight lanes, with AVX-512 IFMA; lanes.h chooses between the forms.
 */
#pragma once

#include "Shared/kernel/lanes.h"

namespace kesh::kernel {

[[nodiscard]] unsigned strong_base2_in_ifma_lanes(const LaneGroup& numbers, int digits, std::size_t count) noexcept;
[[nodiscard]] unsigned lucas_u_vanishes_in_ifma_lanes(const LaneGroup& numbers, const LaneParameters& q, int digits,
                                                      std::size_t count) noexcept;

}  // namespace kesh::kernel
