/**
 * @file   engine_square_root.cpp
 * @brief  Decimal digits of the square root of 2, from one integer square root evaluated by the compiler.
 *
 *     c++ -std=c++20 engine_square_root.cpp $(pkg-config --cflags velmora-kesh-engine) -o engine_square_root
 */

#include <cstdio>

#include "Shared/isqrt.h"

using Integer = kesh::uintx_t<256>;

/** floor(10^36 sqrt 2) as the root of 2 * 10^72. */
constexpr Integer scaled_root() {
    Integer radicand(2);
    for (int k = 0; k < 72; ++k) radicand = radicand * kesh::umint{10};
    Integer root, rest;
    kesh::math_isqrt(radicand, root, rest);
    return root;
}

int main() {
    constexpr Integer root = scaled_root();
    static_assert(root % Integer(10) == 8);
    const std::string digits = to_string(root);
    std::printf("%.1s.%s\n", digits.c_str(), digits.c_str() + 1);
}
