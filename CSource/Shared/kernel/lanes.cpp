/**
 * @file   lanes.cpp
 * @brief  Chooses the form of the vector lanes by the level.
 */

#include "Shared/kernel/lanes.h"

#include "Shared/kernel/avx2_lanes.h"
#include "Shared/kernel/ifma_lanes.h"

namespace kesh::kernel {

unsigned strong_base2_in_lanes(Level level, const LaneGroup& numbers, int size, std::size_t count) noexcept {
    return level == Level::ifma ? strong_base2_in_ifma_lanes(numbers, size, count)
                                : strong_base2_in_avx2_lanes(numbers, size, count);
}

unsigned lucas_u_vanishes_in_lanes(Level level, const LaneGroup& numbers, const LaneParameters& q, int size,
                                   std::size_t count) noexcept {
    return level == Level::ifma ? lucas_u_vanishes_in_ifma_lanes(numbers, q, size, count)
                                : lucas_u_vanishes_in_avx2_lanes(numbers, q, size, count);
}

}  // namespace kesh::kernel
