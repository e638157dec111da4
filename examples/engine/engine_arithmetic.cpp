/**
 * @file   engine_arithmetic.cpp
 * @brief  The exact value of 100 factorial over 2^97, and its remainder: arithmetic, division and text.
 *
 *     c++ -std=c++20 engine_arithmetic.cpp $(pkg-config --cflags velmora-kesh-engine) -o engine_arithmetic
 */

#include <cstdio>

#include "Shared/intx/intx_operator.h"

int main() {
    using Integer = kesh::uintx_t<1024>;

    Integer factorial(1);
    for (kesh::umint k = 2; k <= 100; ++k) factorial *= k;

    const kesh::mint zeros = kesh::math_count_trailing_zeros(factorial);
    const Integer odd_part = factorial >> zeros;
    std::printf("100! = 2^%ld * %s\n", zeros, to_string(odd_part).c_str());

    Integer modulus;
    if (!from_string("0xfffffffffffffffffffffffffffffff1", modulus)) return 1;
    std::printf("odd part mod 2^128 - 15 = %s\n", to_string(odd_part % modulus).c_str());
    std::printf("about %.6g\n", static_cast<double>(factorial));
}
