/**
 * @file   engine_modular_power.cpp
 * @brief  A Fermat test of 2^255 - 19: powers in Montgomery form, the inverse of a residue.
 *
 *     c++ -std=c++20 engine_modular_power.cpp $(pkg-config --cflags velmora-kesh-engine) -o engine_modular_power
 */

#include <cstdio>

#include "Shared/mont.h"

int main() {
    using Integer = kesh::uintx_t<256>;

    const Integer p = (Integer(1) << 255) - 19;
    const kesh::mp_mont_data<Integer> mod_p(p);

    const Integer three = mod_p.toMontMod(Integer(3));
    const bool passes = mod_p.pow(three, p - 1) == mod_p.one();
    std::printf("3^(p - 1) mod p is %s\n", passes ? "1" : "not 1");

    const Integer inverse = kesh::math_invmod(Integer(3), p);
    std::printf("1 / 3 mod p = %s\n", to_string(inverse).c_str());
    const Integer product = mod_p.fromMontMod(mod_p.mul(three, mod_p.toMontMod(inverse)));
    std::printf("3 * (1 / 3) mod p = %s\n", to_string(product).c_str());
}
