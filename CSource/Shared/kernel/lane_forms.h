/**
 * @file   lane_forms.h
 * @brief  The tests in vector lanes of each form, which lanes.h chooses from.
 */
#pragma once

#include "Shared/kernel/lanes.h"

namespace kesh::kernel {

[[nodiscard]] unsigned strong_base2_in_ifma_lanes(const LaneGroup& numbers, int digits, std::size_t count) noexcept;
[[nodiscard]] unsigned lucas_u_vanishes_in_ifma_lanes(const LaneGroup& numbers, const LaneParameters& q, int digits,
                                                      std::size_t count) noexcept;

[[nodiscard]] unsigned strong_base2_in_avx2_lanes(const LaneGroup& numbers, int limbs, std::size_t count) noexcept;
[[nodiscard]] unsigned lucas_u_vanishes_in_avx2_lanes(const LaneGroup& numbers, const LaneParameters& q, int limbs,
                                                      std::size_t count) noexcept;

}  // namespace kesh::kernel
