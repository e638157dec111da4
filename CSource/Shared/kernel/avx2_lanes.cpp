/**
 * @file   avx2_lanes.cpp
 * @brief  The probable-prime tests of wide numbers in vectors of four lanes, with AVX2.
 */

#define KESH_AVX2_FORM
#include "Shared/kernel/lane_tests.h"

#include "Shared/kernel/avx2_lanes.h"

namespace kesh::kernel {

unsigned strong_base2_in_avx2_lanes(const LaneGroup& numbers, int limbs, std::size_t count) noexcept {
    switch (limbs) {
#define KESH_CASE(n)                                                                                                \
    case n:                                                                                                         \
        return avx2_form::strong_base2_in_vectors<avx2_form::digits_of(n), lanes_to_base_2(Level::adx, n)>(numbers, \
                                                                                                           count);
        KESH_FOR_EACH_WIDTH(KESH_CASE)
#undef KESH_CASE
    }
    assert(false);
    return 0;
}

unsigned lucas_u_vanishes_in_avx2_lanes(const LaneGroup& numbers, const LaneParameters& q, int limbs,
                                        std::size_t count) noexcept {
    static_assert(most_limbs_of_avx2_lucas == 8);
    switch (limbs) {
#define KESH_CASE(n) \
    case n:          \
        return avx2_form::lucas_in_vectors<avx2_form::digits_of(n), lanes_in_lucas(Level::adx, n)>(numbers, q, count);
        KESH_CASE(2)
        KESH_CASE(3)
        KESH_CASE(4)
        KESH_CASE(5)
        KESH_CASE(6)
        KESH_CASE(7)
        KESH_CASE(8)
#undef KESH_CASE
    }
    assert(false);
    return 0;
}

}  // namespace kesh::kernel
