/**
 * @file   second_unit.cpp
 * @brief  A second translation unit with the engine's headers: together with the first it shows that nothing is defined
 *         twice.
 */
#include "Shared/fastdiv.h"
#include "Shared/isqrt.h"
#include "Shared/mont.h"

kesh::uintx_t<512> square_of(const kesh::uintx_t<512>& a) {
    return a * a;
}
