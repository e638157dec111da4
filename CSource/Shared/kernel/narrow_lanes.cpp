/**
 * @file   narrow_lanes.cpp
 * @brief  Chains of 128-bit squarings side by side.
 */
#include "Shared/kernel/narrow_lanes.h"

#include <algorithm>
#include <cstddef>

#include "Shared/kernel/routines.h"

namespace kesh::kernel {

namespace {

// Assembly, because compilers pass the carries of such sums through memory and registers.
// clang-format off: one group of instructions a line

/** Places in a Modulus<2>. */
#define KESH_M(i) "16+8*" #i "(%[p])"
#define KESH_MU(i) "64+8*" #i "(%[p])"
#define KESH_INVERSE "104(%[p])"

/** (c0, c1) added to t1, t2, t3. */
#define KESH_ADD_MIXED                                                      \
    "addq %[c0], %[t1]\n\t" "adcq %[c1], %[t2]\n\t" "adcq $0, %[t3]\n\t"

/**
 * (t2, t3) = (t0, ..., t3) / 2^128 modulo m, below 2^128. README.md derives the row by mu, the row by m and the choice
 * of what is added in the end, by its place: m before zero, R - m after it.
 */
#define KESH_REDUCE                                                         \
    "movq %[t0], %%rax\n\t" "mulq " KESH_MU(0) "\n\t"                       \
    "movq %%rax, %[c0]\n\t" "movq %%rdx, %[c1]\n\t"                         \
    "movq %[t0], %%rax\n\t" "mulq " KESH_MU(1) "\n\t"                       \
    "movl $0, %k[t0]\n\t"                                                   \
    "addq %[c0], %[t1]\n\t" "adcq %%rax, %[t2]\n\t"                         \
    "adcq %%rdx, %[t3]\n\t" "adcq $0, %[t0]\n\t"                            \
    "movq %[t1], %%rax\n\t" "imulq " KESH_INVERSE ", %%rax\n\t"             \
    "addq %[c1], %[t2]\n\t" "adcq $0, %[t3]\n\t" "adcq $0, %[t0]\n\t"       \
    "movq %%rax, %[c0]\n\t" "mulq " KESH_M(0) "\n\t"                        \
    "movq %%rdx, %[c1]\n\t"                                                 \
    "movq %[c0], %%rax\n\t" "mulq " KESH_M(1) "\n\t"                        \
    "addq %%rax, %[c1]\n\t" "adcq $0, %%rdx\n\t"                            \
    "subq %[c1], %[t2]\n\t" "sbbq %%rdx, %[t3]\n\t" "sbbq $0, %[t0]\n\t"    \
    "shlq $4, %[t0]\n\t"                                                    \
    "addq 32(%[p],%[t0]), %[t2]\n\t" "adcq 40(%[p],%[t0]), %[t3]\n\t"

/** (t2, t3) less c modulo m, from the limbs of 2^128 - 1 - c: m is added if there is no carry, else 0. */
#define KESH_SUBTRACT                                                       \
    "movl $0, %k[t0]\n\t" "stc\n\t"                                         \
    "adcq (%[not_c]), %[t2]\n\t" "adcq 8(%[not_c]), %[t3]\n\t"              \
    "adcq $0, %[t0]\n\t" "shlq $4, %[t0]\n\t"                               \
    "addq 16(%[p],%[t0]), %[t2]\n\t" "adcq 24(%[p],%[t0]), %[t3]\n\t"

/** (t0, ..., t3) = x^2. */
#define KESH_SQUARE                                                         \
    "movq (%[x]), %%rax\n\t" "movq %%rax, %[c0]\n\t" "mulq %%rax\n\t"       \
    "movq %%rax, %[t0]\n\t" "movq %%rdx, %[t1]\n\t"                         \
    "movq 8(%[x]), %%rax\n\t" "movq %%rax, %[t3]\n\t" "mulq %[c0]\n\t"      \
    "movq %%rax, %[c0]\n\t" "movq %%rdx, %[c1]\n\t"                         \
    "movq %[t3], %%rax\n\t" "mulq %%rax\n\t"                                \
    "movq %%rax, %[t2]\n\t" "movq %%rdx, %[t3]\n\t"                         \
    KESH_ADD_MIXED KESH_ADD_MIXED

/** (t0, ..., t3) = x y. */
#define KESH_MULTIPLY                                                       \
    "movq (%[x]), %%rax\n\t" "mulq (%[y])\n\t"                              \
    "movq %%rax, %[t0]\n\t" "movq %%rdx, %[t1]\n\t"                         \
    "movq 8(%[x]), %%rax\n\t" "mulq 8(%[y])\n\t"                            \
    "movq %%rax, %[t2]\n\t" "movq %%rdx, %[t3]\n\t"                         \
    "movq (%[x]), %%rax\n\t" "mulq 8(%[y])\n\t"                             \
    "movq %%rax, %[c0]\n\t" "movq %%rdx, %[c1]\n\t" KESH_ADD_MIXED          \
    "movq 8(%[x]), %%rax\n\t" "mulq (%[y])\n\t"                             \
    "movq %%rax, %[c0]\n\t" "movq %%rdx, %[c1]\n\t" KESH_ADD_MIXED

#define KESH_NARROW(instructions, ...)                                      \
    static_assert(offsetof(Modulus<2>, m) == 16 && offsetof(Modulus<2>, zero) == 32 && offsetof(Modulus<2>, mu) == 64 && \
                  offsetof(Modulus<2>, inverse) == 104);                    \
    umint t0, t1, t2, t3, c0, c1;                                           \
    __asm__ volatile(instructions                                           \
        : [t0] "=&r"(t0), [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3), [c0] "=&r"(c0), [c1] "=&r"(c1) \
        : [p] "r"(&modulus), __VA_ARGS__                                    \
        : "rax", "rdx", "cc", "memory");                                    \
    r[0] = t2, r[1] = t3

/** r = x^2 / 2^128 modulo m, for any x and an r below 2^128. */
inline __attribute__((always_inline)) void square(umint* r, const umint* x, const Modulus<2>& modulus) noexcept {
    KESH_NARROW(KESH_SQUARE KESH_REDUCE, [x] "r"(x));
}

/** r = x^2 / 2^128 - c modulo m, for any x, an r below 2^128 and a c below m, of which not_c are the inverted limbs. */
inline __attribute__((always_inline)) void square(umint* r, const umint* x, const umint* not_c,
                                                  const Modulus<2>& modulus) noexcept {
    KESH_NARROW(KESH_SQUARE KESH_REDUCE KESH_SUBTRACT, [x] "r"(x), [not_c] "r"(not_c));
}

/** r = x y / 2^128 modulo m. */
inline __attribute__((always_inline)) void multiply(umint* r, const umint* x, const umint* y,
                                                    const Modulus<2>& modulus) noexcept {
    KESH_NARROW(KESH_MULTIPLY KESH_REDUCE, [x] "r"(x), [y] "r"(y));
}

/** r = x y / 2^128 - c modulo m. */
inline __attribute__((always_inline)) void multiply(umint* r, const umint* x, const umint* y, const umint* not_c,
                                                    const Modulus<2>& modulus) noexcept {
    KESH_NARROW(KESH_MULTIPLY KESH_REDUCE KESH_SUBTRACT, [x] "r"(x), [y] "r"(y), [not_c] "r"(not_c));
}

// clang-format on

#undef KESH_M
#undef KESH_MU
#undef KESH_INVERSE
#undef KESH_ADD_MIXED
#undef KESH_REDUCE
#undef KESH_SUBTRACT
#undef KESH_SQUARE
#undef KESH_MULTIPLY
#undef KESH_NARROW

/** The residue below m. */
void fully_reduce(umint* x, const Modulus<2>& modulus) noexcept {
    multiply(x, x, modulus.r1, modulus);
    reduce_once<2>(x, x, 0, modulus.m);
}

/** f(0), ..., f(3) with constants, so that no loop is left. */
template <class F>
inline __attribute__((always_inline)) void for_each_lane(F&& f) noexcept {
    f(0), f(1), f(2), f(3);
    static_assert(narrow_lanes == 4);
}

}  // namespace

unsigned strong_base2_narrow(const NarrowGroup& numbers) noexcept {
    const Modulus<2> modulus[narrow_lanes] = {Modulus<2>(numbers[0]), Modulus<2>(numbers[1]), Modulus<2>(numbers[2]),
                                              Modulus<2>(numbers[3])};
    const StrongExponent<2> exponent[narrow_lanes] = {StrongExponent<2>(numbers[0]), StrongExponent<2>(numbers[1]),
                                                      StrongExponent<2>(numbers[2]), StrongExponent<2>(numbers[3])};
    Doublings<2> y[narrow_lanes] = {{modulus[0], exponent[0].e},
                                    {modulus[1], exponent[1].e},
                                    {modulus[2], exponent[2].e},
                                    {modulus[3], exponent[3].e}};
    int longest = 0;
    for (const Doublings<2>& power : y) longest = std::max(longest, power.bits_left());
    for (int i = longest - 1; i >= 0; --i) {
        for_each_lane([&](std::size_t c) __attribute__((always_inline)) {
            if (i >= y[c].bits_left()) return;  // a shorter exponent begins later
            square(y[c].value, y[c].value, modulus[c]);
            y[c].after_square(exponent[c].e, i);
        });
    }
    unsigned passed = 0;
    for (std::size_t c = 0; c < narrow_lanes; ++c) {
        umint x[2];
        y[c].finish(x);
        fully_reduce(x, modulus[c]);
        passed |= unsigned{ends_strongly<2>(x, exponent[c].s, modulus[c])} << c;
    }
    return passed;
}

unsigned lucas_u_vanishes_narrow(const NarrowGroup& numbers, const std::array<mint, narrow_lanes>& q) noexcept {
    const Modulus<2> modulus[narrow_lanes] = {Modulus<2>(numbers[0]), Modulus<2>(numbers[1]), Modulus<2>(numbers[2]),
                                              Modulus<2>(numbers[3])};
    const LucasStart<2> start[narrow_lanes] = {
        {modulus[0], q[0]}, {modulus[1], q[1]}, {modulus[2], q[2]}, {modulus[3], q[3]}};
    umint pair[narrow_lanes][2][2], not_two[narrow_lanes][2], not_a[narrow_lanes][2];
    int longest = 0;
    for (std::size_t c = 0; c < narrow_lanes; ++c) {
        for (int i = 0; i < 2; ++i) {
            pair[c][0][i] = start[c].two[i];
            pair[c][1][i] = start[c].a[i];
            not_two[c][i] = ~start[c].two[i];
            not_a[c][i] = ~start[c].a[i];
        }
        longest = std::max(longest, bit_length<2>(start[c].e));
    }
    // A shorter exponent begins with clear bits, which leave the pair V(0), V(1) as it is.
    for (int i = longest - 1; i >= 0; --i) {
        for_each_lane([&](std::size_t c) __attribute__((always_inline)) {
            const umint bit = bit_at(start[c].e, i);
            umint* const product = pair[c][1 - bit];
            umint* const squared = pair[c][bit];
            multiply(product, pair[c][0], pair[c][1], not_a[c], modulus[c]);
            square(squared, squared, not_two[c], modulus[c]);
        });
    }
    unsigned passed = 0;
    for (std::size_t c = 0; c < narrow_lanes; ++c) {
        fully_reduce(pair[c][0], modulus[c]);
        fully_reduce(pair[c][1], modulus[c]);
        passed |= unsigned{start[c].vanishes(pair[c][0], pair[c][1], modulus[c])} << c;
    }
    return passed;
}

}  // namespace kesh::kernel
