/**
 * @file   consumer.cpp
 * @brief  A program that uses the installed engine: it returns 0 when a product, a quotient and a root are right.
 */
#include "Shared/fastdiv.h"
#include "Shared/isqrt.h"
#include "Shared/mont.h"

kesh::uintx_t<512> square_of(const kesh::uintx_t<512>& a);

int main() {
    const kesh::uintx_t<512> a("1000000000000000000000000000057");
    const kesh::uintx_t<512> square = square_of(a);
    kesh::uintx_t<512> root, rest;
    kesh::math_isqrt(square, root, rest);
    const kesh::fastdiv_data<kesh::uintx_t<512>, unsigned long> by_57(57);
    return square / a == a && root == a && !rest && (a * 57UL) / by_57 == a ? 0 : 1;
}
