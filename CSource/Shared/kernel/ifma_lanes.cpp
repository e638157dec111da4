/**
 * @file   ifma_lanes.cpp
 * @brief  The probable-prime tests of wide numbers in vectors of eight lanes, with AVX-512 IFMA.
 */

#include "Shared/kernel/lane_tests.h"

#include "Shared/kernel/ifma_lanes.h"

namespace kesh::kernel {

#define KESH_FOR_EACH_DIGITS(each)                                                                               \
    each(2) each(3) each(4) each(5) each(6) each(7) each(8) each(9) each(10) each(12) each(14) each(16) each(18) \
        each(20)

unsigned strong_base2_in_ifma_lanes(const LaneGroup& numbers, int digits, std::size_t count) noexcept {
    switch (digits) {
#define KESH_CASE(n) \
    case n:          \
        return ifma_form::strong_base2_in_vectors<n, lanes_to_base_2(Level::ifma, n)>(numbers, count);
        KESH_FOR_EACH_DIGITS(KESH_CASE)
#undef KESH_CASE
    }
    assert(false);
    return 0;
}

unsigned lucas_u_vanishes_in_ifma_lanes(const LaneGroup& numbers, const LaneParameters& q, int digits,
                                        std::size_t count) noexcept {
    switch (digits) {
#define KESH_CASE(n) \
    case n:          \
        return ifma_form::lucas_in_vectors<n, lanes_in_lucas(Level::ifma, n)>(numbers, q, count);
        KESH_FOR_EACH_DIGITS(KESH_CASE)
#undef KESH_CASE
    }
    assert(false);
    return 0;
}

}  // namespace kesh::kernel
