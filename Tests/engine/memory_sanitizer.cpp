/**
 * @file   memory_sanitizer.cpp
 * @brief  Uses the engine as a program does that is built with the memory sanitizer: the sanitizer must find nothing.
 *
 * The sanitizer does not see what assembly writes. A result that only assembly wrote would count as uninitialised, and
 * the comparisons below would be reported. With --find the program compares a limb that nothing wrote, which must be
 * reported.
 */
#include <cstdio>
#include <cstring>

#include "Shared/fastdiv.h"
#include "Shared/isqrt.h"
#include "Shared/jacobi.h"
#include "Shared/mont.h"

namespace {

template <class T>
bool right() {
    const T a = (T(1) << (T::limbs * 64 - 3)) - 12345;
    const T b = (T(1) << (T::limbs * 32)) + 59;
    bool all = (a / b) * b + a % b == a && a % b < b;
    all = all && ((a << 70) >> 70) == (a & (T(-1) >> 70)) && a * 7UL - a == a * 6UL;

    T low, high, quotient, remainder;
    kesh::math_mul(a, b, low, high);
    kesh::math_divmod_imp(low, high, a, quotient, remainder);
    all = all && quotient == b && !remainder;
    kesh::math_mul(b, b, low, high);
    T root, rest;
    kesh::math_isqrt(low, root, rest);
    all = all && root * root + rest == low;

    const kesh::mp_mont_data<T> modulo(a | 1);
    const T residue = modulo.toMontMod(b);
    all = all && modulo.pow(residue, T(3)) == modulo.mul(residue, modulo.mul(residue, residue));
    const T odd_power = (T(1) << (T::limbs * 64 - 3)) - 1;  // 2^k - 1 with an odd k: 3 does not divide it
    const T third = kesh::math_invmod(T(3), odd_power);
    all = all && third < odd_power && (third * 3UL) % odd_power == 1;

    const kesh::fastdiv_data<T, unsigned long> by_57(57);
    all = all && a / by_57 == a / 57UL;
    const std::string text = to_string(a);
    return all && T(text.c_str()) == a && kesh::Jacobi<kesh::mint, T>(5, a | 1) <= 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--find") == 0) {
        const auto* limbs = new unsigned long[2];
        return limbs[1] > 5 ? 1 : 0;
    }
    const bool all = right<kesh::uintx_t<128>>() && right<kesh::uintx_t<256>>() && right<kesh::uintx_t<512>>() &&
                     right<kesh::uintx_t<1024>>();
    std::puts(all ? "right" : "wrong");
    return all ? 0 : 1;
}
