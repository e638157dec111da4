/**
 * @file   avx2.h
 * @brief  A software model of the AVX2 instructions that the kernels use, in place of the header of the same name. Like
 * the model of AVX-512 it ends the program when a lane overflows, or when an operand of a product has more than 32 bits
 *         and does not come from low_32_bits.
 */
#pragma once

#include "Shared/intx/intx_gcc.h"

#define KESH_AVX2
#define KESH_AVX2_INLINE inline

namespace kesh::kernel::avx2_form {

inline namespace model {

struct alignas(32) Vector {
    umint lane[4];
};
using Mask = Vector;

Vector all_lanes(umint value) noexcept;
Vector load(const umint* memory) noexcept;
void store(umint* memory, const Vector& a) noexcept;
Vector lowest_lane(const Vector& a) noexcept;
Vector lanes_down(const Vector& a) noexcept;
Vector lanes_up(const Vector& a) noexcept;
Vector sum(const Vector& a, const Vector& b) noexcept;
Vector difference(const Vector& a, const Vector& b) noexcept;
Vector bit_and(const Vector& a, const Vector& b) noexcept;
Vector bit_xor(const Vector& a, const Vector& b) noexcept;
Vector shifted_right(const Vector& a, int count) noexcept;
template <int count>
Vector shifted_right(const Vector& a) noexcept {
    return shifted_right(a, count);
}
Vector shifted_left(const Vector& a, int count) noexcept;
Vector power_of_2(const Vector& s) noexcept;
Mask equal_lanes(const Vector& a, const Vector& b) noexcept;
unsigned bits_of_mask(const Mask& mask) noexcept;
Vector select(const Mask& mask, const Vector& a, const Vector& b) noexcept;
Vector low_32_bits(const Vector& a) noexcept;
Vector product(const Vector& a, const Vector& b) noexcept;
inline Vector product_with(const Vector& a, const Vector* b) noexcept {
    return product(a, *b);
}
/** This only keeps compilers from changing an order. */
inline void sum_so_far(const Vector&) noexcept {}

}  // namespace model
}  // namespace kesh::kernel::avx2_form
