/**
 * @file   signed_residue.h
 * @brief  Montgomery squarings at 128 to 640 bits, one after another: at 128 and 192 bits for any processor, above for
 *         those with BMI2 and ADX.
 *
 * Each squaring of a chain waits for the one before. So the time is the latency from the lowest limb of one square to
 * the lowest limb of the next. A product that ends with a choice between several multiples of m has a long one: the
 * carry of the highest limb decides, and then a new chain of carries begins at the lowest limb. Here the residue keeps
 * a sign instead, and nothing is chosen:
 *
 * 1. x = d - s R with R = 2^(64 n), limbs d and s = 0 or 1. x^2 = d^2 - s (2 d - R) R, so that the high half of d^2
 *    less 2 d is the high half of x^2 modulo R. So the sign is needed one reduction later than the limbs.
 * 2. n - 2 rows of the reduction use mu, as in README.md, and leave a value t below x^2 / 2^(64 (n-2)) + 2^64 m. The
 *    last two rows have the exact quotient q = t/m mod 2^128, and the next x is (t - q m) / 2^128.
 *
 * At 128 bits there is no row with mu.
 *
 * Bounds: let m <= R - R / 2^63, or n = 2. If -m <= x <= m, then x^2 / R <= m (1 - 2^-63), and the next x is below this
 * plus m / 2^64 because of t, so below m; it is above -m because q m / 2^128 < m. For a larger m, x could reach R.
 */
#pragma once

#include <cstddef>

#include "Shared/kernel/kernel.h"
#include "Shared/kernel/limbs.h"
#include "Shared/kernel/routines.h"

/** Expands to `each(n)` for the numbers of limbs whose squarings write_adx_products writes. */
#define KESH_FOR_EACH_WRITTEN_WIDTH(each) each(5) each(6) each(7) each(8) each(9) each(10)

#define KESH_DECLARE(n) void kesh_adx_signed_sqr_##n(kesh::umint* x, const void* modulus, kesh::mint times) noexcept;
extern "C" {
KESH_FOR_EACH_WRITTEN_WIDTH(KESH_DECLARE)
}
#undef KESH_DECLARE

namespace kesh::kernel {

/** The numbers of limbs that have this form: to ten, the accumulators of a row are in registers. */
template <int n>
concept has_signed_residue = 2 <= n && n <= 10;

namespace detail {

/**
 * x = x^2 / R modulo m, `times` times one after another, for the n limbs of x and its sign, which is all ones for a
 * negative x. Precondition: times > 0.
 */
#define KESH_DEFINE(n)                                                                    \
    inline void square_signed(umint* x, const Modulus<n>& modulus, mint times) noexcept { \
        kesh_adx_signed_sqr_##n(x, &modulus, times);                                      \
    }
KESH_FOR_EACH_WRITTEN_WIDTH(KESH_DEFINE)
#undef KESH_DEFINE

// clang-format off: one group of instructions a line

/** Places in the data that %[p] points to. */
#define KESH_M(i) "%c[m]+8*" #i "(%[p])"
#define KESH_MU(i) "%c[mu]+8*" #i "(%[p])"
#define KESH_INVERSE(i) "%c[inverse]+8*" #i "(%[p])"

/** rdx:rax = a b, in instructions that every processor has. */
#define KESH_MULTIPLY(a, b) "movq %[" #a "], %%rax\n\t" "mulq " b "\n\t"
#define KESH_MOVE(low, high) "movq %%rax, %[" #low "]\n\t" "movq %%rdx, %[" #high "]\n\t"

static_assert(offsetof(Modulus<2>, inverse_high) == offsetof(Modulus<2>, inverse) + sizeof(umint));
static_assert(offsetof(Modulus<3>, inverse_high) == offsetof(Modulus<3>, inverse) + sizeof(umint));

/** On any processor. */
inline void square_signed(umint* x, const Modulus<2>& modulus, mint times) noexcept {
    umint x0 = x[0], x1 = x[1], sign = x[2];
    for (; times > 0; --times) {
        umint t0, t1, t2, t3;
        __asm__(
            // the mixed product (t1, t2), and (t2, t3) less d
            KESH_MULTIPLY(x0, "%[x1]") KESH_MOVE(t1, t2)
            "movq %[x0], %%rax\n\t" "andq %[sign], %%rax\n\t" "andq %[x1], %[sign]\n\t"
            "xorl %k[t3], %k[t3]\n\t"
            "subq %%rax, %[t2]\n\t" "sbbq %[sign], %[t3]\n\t"
            // twice these and the squares: (t0, ..., t3)
            "addq %[t1], %[t1]\n\t" "adcq %[t2], %[t2]\n\t" "adcq %[t3], %[t3]\n\t"
            KESH_MULTIPLY(x0, "%%rax") KESH_MOVE(t0, sign)
            KESH_MULTIPLY(x1, "%%rax")
            "addq %[sign], %[t1]\n\t" "adcq %%rax, %[t2]\n\t" "adcq %%rdx, %[t3]\n\t"
            // q = (x0, x1) = (t0, t1) / m mod 2^128
            KESH_MULTIPLY(t0, KESH_INVERSE(0)) KESH_MOVE(x0, x1)
            "imulq " KESH_INVERSE(1) ", %[t0]\n\t" "imulq " KESH_INVERSE(0) ", %[t1]\n\t"
            "addq %[t0], %[x1]\n\t" "addq %[t1], %[x1]\n\t"
            // q m / 2^128 = (t1, sign)
            KESH_MULTIPLY(x0, KESH_M(0)) "movq %%rdx, %[t0]\n\t"
            KESH_MULTIPLY(x0, KESH_M(1)) "movq %%rdx, %[t1]\n\t"
            "addq %%rax, %[t0]\n\t" "adcq $0, %[t1]\n\t"
            "xorl %k[sign], %k[sign]\n\t"
            KESH_MULTIPLY(x1, KESH_M(0)) "addq %%rax, %[t0]\n\t" "adcq %%rdx, %[t1]\n\t" "adcq $0, %[sign]\n\t"
            KESH_MULTIPLY(x1, KESH_M(1)) "addq %%rax, %[t1]\n\t" "adcq %%rdx, %[sign]\n\t"
            "subq %[t1], %[t2]\n\t" "sbbq %[sign], %[t3]\n\t" "sbbq %[sign], %[sign]\n\t"
            : [x0] "+&r"(x0), [x1] "+&r"(x1), [sign] "+&r"(sign), [t0] "=&r"(t0), [t1] "=&r"(t1), [t2] "=&r"(t2),
              [t3] "=&r"(t3)
            : [p] "r"(&modulus), "m"(modulus), [m] "i"(offsetof(Modulus<2>, m)), [inverse] "i"(offsetof(Modulus<2>, inverse))
            : "rax", "rdx", "cc");
        x0 = t2, x1 = t3;
    }
    x[0] = x0, x[1] = x1, x[2] = sign;
}

/** On any processor: mulx, adcx and adox would not be faster here. */
inline void square_signed(umint* x, const Modulus<3>& modulus, mint times) noexcept {
    umint x0 = x[0], x1 = x[1], x2 = x[2], sign = x[3];
    for (; times > 0; --times) {
        umint t0, t1, t2, t3, t4, t5;
        __asm__(
            // the mixed products (t1, ..., t4)
            KESH_MULTIPLY(x0, "%[x1]") KESH_MOVE(t1, t2)
            KESH_MULTIPLY(x0, "%[x2]") "addq %%rax, %[t2]\n\t" "movq %%rdx, %[t3]\n\t" "adcq $0, %[t3]\n\t"
            KESH_MULTIPLY(x1, "%[x2]") "addq %%rax, %[t3]\n\t" "movq %%rdx, %[t4]\n\t" "adcq $0, %[t4]\n\t"
            // the sign: (t3, t4, t5) less d
            "movq %[x0], %%rax\n\t" "andq %[sign], %%rax\n\t"
            "movq %[x1], %%rdx\n\t" "andq %[sign], %%rdx\n\t"
            "andq %[x2], %[sign]\n\t"
            "xorl %k[t5], %k[t5]\n\t"
            "subq %%rax, %[t3]\n\t" "sbbq %%rdx, %[t4]\n\t" "sbbq %[sign], %[t5]\n\t"
            // twice these and the squares: (t0, ..., t5)
            "addq %[t1], %[t1]\n\t" "adcq %[t2], %[t2]\n\t" "adcq %[t3], %[t3]\n\t" "adcq %[t4], %[t4]\n\t" "adcq %[t5], %[t5]\n\t"
            KESH_MULTIPLY(x0, "%%rax") KESH_MOVE(t0, sign)
            KESH_MULTIPLY(x1, "%%rax") KESH_MOVE(x0, x1)
            KESH_MULTIPLY(x2, "%%rax")
            "addq %[sign], %[t1]\n\t" "adcq %[x0], %[t2]\n\t" "adcq %[x1], %[t3]\n\t" "adcq %%rax, %[t4]\n\t" "adcq %%rdx, %[t5]\n\t"
            // a row with mu: (t1, t2, sign, rdx), of which the upper half joins (t3, t4, t5)
            KESH_MULTIPLY(t0, KESH_MU(0)) KESH_MOVE(x0, x1)
            KESH_MULTIPLY(t0, KESH_MU(1)) KESH_MOVE(x2, sign)
            KESH_MULTIPLY(t0, KESH_MU(2))
            "addq %[x0], %[t1]\n\t" "adcq %[x2], %[t2]\n\t" "adcq %%rax, %[sign]\n\t" "adcq $0, %%rdx\n\t"
            "addq %[x1], %[t2]\n\t" "adcq $0, %[sign]\n\t" "adcq $0, %%rdx\n\t"
            "addq %[sign], %[t3]\n\t" "adcq %%rdx, %[t4]\n\t" "adcq $0, %[t5]\n\t"
            // q = (x0, x1) = (t1, t2) / m mod 2^128
            KESH_MULTIPLY(t1, KESH_INVERSE(0)) KESH_MOVE(x0, x1)
            "imulq " KESH_INVERSE(1) ", %[t1]\n\t" "imulq " KESH_INVERSE(0) ", %[t2]\n\t"
            "addq %[t1], %[x1]\n\t" "addq %[t2], %[x1]\n\t"
            // q m / 2^128 = (t2, sign, t1)
            KESH_MULTIPLY(x0, KESH_M(0)) "movq %%rdx, %[t0]\n\t"
            KESH_MULTIPLY(x0, KESH_M(1)) KESH_MOVE(t1, t2)
            KESH_MULTIPLY(x0, KESH_M(2)) "movq %%rdx, %[sign]\n\t"
            "addq %[t1], %[t0]\n\t" "adcq %%rax, %[t2]\n\t" "adcq $0, %[sign]\n\t"
            "xorl %k[t1], %k[t1]\n\t"
            KESH_MULTIPLY(x1, KESH_M(0)) "addq %%rax, %[t0]\n\t" "adcq %%rdx, %[t2]\n\t" "adcq $0, %[sign]\n\t" "adcq $0, %[t1]\n\t"
            KESH_MULTIPLY(x1, KESH_M(1)) "addq %%rax, %[t2]\n\t" "adcq %%rdx, %[sign]\n\t" "adcq $0, %[t1]\n\t"
            KESH_MULTIPLY(x1, KESH_M(2)) "addq %%rax, %[sign]\n\t" "adcq %%rdx, %[t1]\n\t"
            "subq %[t2], %[t3]\n\t" "sbbq %[sign], %[t4]\n\t" "sbbq %[t1], %[t5]\n\t"
            "sbbq %[sign], %[sign]\n\t"
            : [x0] "+&r"(x0), [x1] "+&r"(x1), [x2] "+&r"(x2), [sign] "+&r"(sign), [t0] "=&r"(t0), [t1] "=&r"(t1),
              [t2] "=&r"(t2), [t3] "=&r"(t3), [t4] "=&r"(t4), [t5] "=&r"(t5)
            : [p] "r"(&modulus), "m"(modulus), [m] "i"(offsetof(Modulus<3>, m)), [mu] "i"(offsetof(Modulus<3>, mu)),
              [inverse] "i"(offsetof(Modulus<3>, inverse))
            : "rax", "rdx", "cc");
        x0 = t3, x1 = t4, x2 = t5;
    }
    x[0] = x0, x[1] = x1, x[2] = x2, x[3] = sign;
}

/** (low, high) += source rdx, each half with the carry of its own chain; a and b are overwritten. */
#define KESH_STEP(source, a, b, low, high)                                    \
    "mulx " source ", %[" #a "], %[" #b "]\n\t"                               \
    "adcx %[" #a "], %[" #low "]\n\t"                                         \
    "adox %[" #b "], %[" #high "]\n\t"

/** The highest product of a row: low += its low half, top = its high half and both carries. */
#define KESH_LAST_STEP(source, a, zero, low, top)                             \
    "mulx " source ", %[" #a "], %[" #top "]\n\t"                             \
    "adcx %[" #a "], %[" #low "]\n\t"                                         \
    "movl $0, %k[" #zero "]\n\t"                                              \
    "adcx %[" #zero "], %[" #top "]\n\t"                                      \
    "adox %[" #zero "], %[" #top "]\n\t"

/** (a, b, c, d, top) = (a, b, c, d) + source rdx, with clear carries. x0 and x2 are overwritten. */
#define KESH_ROW(source, a, b, c, d, top)                                     \
    KESH_STEP(source(0), x0, x2, a, b)                                        \
    KESH_STEP(source(1), x0, x2, b, c)                                        \
    KESH_STEP(source(2), x0, x2, c, d)                                        \
    KESH_LAST_STEP(source(3), x0, x2, d, top)

/** What the squaring of four limbs reads, and memory for values that have no register. */
struct SignedModulus4 {
    umint m[4], mu[4], inverse[2];
    umint x1, d0, sign;
};

/**
 * With rdx and the pointer the limbs use 13 registers, which are all registers of a build with frame pointers and
 * sanitizers.
 */
inline void square_signed(umint* x, const Modulus<4>& modulus, mint times) noexcept {
    SignedModulus4 memory{{modulus.m[0], modulus.m[1], modulus.m[2], modulus.m[3]},
                          {modulus.mu[0], modulus.mu[1], modulus.mu[2], modulus.mu[3]},
                          {modulus.inverse, modulus.inverse_high}, 0, 0, 0};
    umint x0 = x[0], x1 = x[1], x2 = x[2], x3 = x[3], sign = x[4];
    for (; times > 0; --times) {
        umint t0, t1, t2, t3, t4, t5;
        __asm__ volatile(
            "movq %[sign], %c[at_sign](%[p])\n\t"
            "movq %[x1], %c[at_x1](%[p])\n\t"
            // the mixed products (t1, ..., t5, x1), and x0^2 = (t0, x0)
            "movq %[x0], %%rdx\n\t"
            "mulx %[x1], %[t1], %[t2]\n\t"
            "andq %[sign], %[x0]\n\t"
            "movq %[x0], %c[at_d0](%[p])\n\t"
            "mulx %[x2], %[sign], %[t3]\n\t"    "addq %[sign], %[t2]\n\t"
            "mulx %[x3], %[sign], %[t4]\n\t"    "adcq %[sign], %[t3]\n\t" "adcq $0, %[t4]\n\t"
            "mulx %%rdx, %[t0], %[x0]\n\t"
            "movq %[x1], %%rdx\n\t"
            "mulx %[x3], %[sign], %[t5]\n\t"    "addq %[sign], %[t4]\n\t" "adcq $0, %[t5]\n\t"
            "mulx %[x2], %[sign], %%rdx\n\t"    "addq %[sign], %[t3]\n\t" "adcq %%rdx, %[t4]\n\t" "adcq $0, %[t5]\n\t"
            "movq %[x2], %%rdx\n\t"
            "mulx %[x3], %[sign], %[x1]\n\t"    "addq %[sign], %[t5]\n\t" "adcq $0, %[x1]\n\t"
            // twice these and the squares: (t0, ..., t5, x1, sign)
            "xorl %k[sign], %k[sign]\n\t"
            "adcx %[t1], %[t1]\n\t" "adox %[x0], %[t1]\n\t"
            "movq %c[at_x1](%[p]), %%rdx\n\t" "mulx %%rdx, %[sign], %[x0]\n\t"
            "adcx %[t2], %[t2]\n\t" "adox %[sign], %[t2]\n\t"
            "adcx %[t3], %[t3]\n\t" "adox %[x0], %[t3]\n\t"
            "movq %[x2], %%rdx\n\t" "mulx %%rdx, %[sign], %[x0]\n\t"
            "adcx %[t4], %[t4]\n\t" "adox %[sign], %[t4]\n\t"
            "adcx %[t5], %[t5]\n\t" "adox %[x0], %[t5]\n\t"
            "movq %[x3], %%rdx\n\t" "mulx %%rdx, %[x0], %[sign]\n\t"
            "adcx %[x1], %[x1]\n\t" "adox %[x0], %[x1]\n\t"
            "movl $0, %k[x0]\n\t"
            "adcx %[x0], %[sign]\n\t" "adox %[x0], %[sign]\n\t"
            // the sign: (t4, t5, x1, sign) less 2 d
            "movq %c[at_sign](%[p]), %%rdx\n\t"
            "movq %c[at_x1](%[p]), %[x0]\n\t"
            "andq %%rdx, %[x0]\n\t" "andq %%rdx, %[x2]\n\t" "andq %%rdx, %[x3]\n\t"
            "movq %c[at_d0](%[p]), %%rdx\n\t"
            "subq %%rdx, %[t4]\n\t" "sbbq %[x0], %[t5]\n\t" "sbbq %[x2], %[x1]\n\t" "sbbq %[x3], %[sign]\n\t"
            "subq %%rdx, %[t4]\n\t" "sbbq %[x0], %[t5]\n\t" "sbbq %[x2], %[x1]\n\t" "sbbq %[x3], %[sign]\n\t"
            // two rows with mu: (t1, t2, t3, x3, t0), then (t2, t3, x3, t0, t1), of which the upper limbs join
            "movq %[t0], %%rdx\n\t"
            "xorl %k[x3], %k[x3]\n\t"
            KESH_ROW(KESH_MU, t1, t2, t3, x3, t0)
            "movq %[t1], %%rdx\n\t"
            "xorl %k[x2], %k[x2]\n\t"
            KESH_ROW(KESH_MU, t2, t3, x3, t0, t1)
            "addq %[x3], %[t4]\n\t" "adcq %[t0], %[t5]\n\t" "adcq %[t1], %[x1]\n\t" "adcq $0, %[sign]\n\t"
            // q m / 2^128 = (t1, t2, t3, x3)
            "movq %[t2], %%rdx\n\t"
            "mulx " KESH_INVERSE(0) ", %[x0], %[x2]\n\t"
            "imulq " KESH_INVERSE(1) ", %[t2]\n\t" "imulq " KESH_INVERSE(0) ", %[t3]\n\t"
            "addq %[t2], %[x2]\n\t" "addq %[t3], %[x2]\n\t"
            "movq %[x0], %%rdx\n\t"
            "mulx " KESH_M(0) ", %[x0], %[t0]\n\t"
            "mulx " KESH_M(1) ", %[x0], %[t1]\n\t" "addq %[x0], %[t0]\n\t"
            "mulx " KESH_M(2) ", %[x0], %[t2]\n\t" "adcq %[x0], %[t1]\n\t"
            "mulx " KESH_M(3) ", %[x0], %[t3]\n\t" "adcq %[x0], %[t2]\n\t" "adcq $0, %[t3]\n\t"
            "movq %[x2], %%rdx\n\t"
            "xorl %k[x3], %k[x3]\n\t"
            KESH_ROW(KESH_M, t0, t1, t2, t3, x3)
            "subq %[t1], %[t4]\n\t" "sbbq %[t2], %[t5]\n\t" "sbbq %[t3], %[x1]\n\t" "sbbq %[x3], %[sign]\n\t"
            "sbbq %[x2], %[x2]\n\t"
            : [x0] "+&r"(x0), [x1] "+&r"(x1), [x2] "+&r"(x2), [x3] "+&r"(x3), [sign] "+&r"(sign), [t0] "=&r"(t0),
              [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3), [t4] "=&r"(t4), [t5] "=&r"(t5)
            : [p] "r"(&memory), [m] "i"(offsetof(SignedModulus4, m)), [mu] "i"(offsetof(SignedModulus4, mu)),
              [inverse] "i"(offsetof(SignedModulus4, inverse)), [at_x1] "i"(offsetof(SignedModulus4, x1)),
              [at_d0] "i"(offsetof(SignedModulus4, d0)), [at_sign] "i"(offsetof(SignedModulus4, sign))
            : "rdx", "cc", "memory");
        x3 = sign, sign = x2, x0 = t4, x2 = x1, x1 = t5;
    }
    x[0] = x0, x[1] = x1, x[2] = x2, x[3] = x3, x[4] = sign;
}

// clang-format on

#undef KESH_M
#undef KESH_MU
#undef KESH_INVERSE
#undef KESH_MULTIPLY
#undef KESH_MOVE
#undef KESH_STEP
#undef KESH_LAST_STEP
#undef KESH_ROW

}  // namespace detail

/** A residue x of a modulus m, with -m <= x <= m. */
template <int n>
    requires has_signed_residue<n>
class SignedResidue {
  public:
    /** Precondition: represents(modulus). */
    SignedResidue(const umint* residue, const Modulus<n>& modulus) noexcept : modulus_(modulus) {
        for (int i = 0; i < n; ++i) x_[i] = residue[i];
        x_[n] = 0;
    }

    /** Whether n = 2, or the highest limb of m is at most 2^64 - 3, so that m <= R - R / 2^63. */
    static bool represents(const Modulus<n>& modulus) noexcept {
        return n == 2 || modulus.m[n - 1] < ~umint{0} - 1;
    }

    /** x = x^2 / R modulo m, `times` times one after another. Precondition: times > 0. */
    void square(mint times) noexcept {
        detail::square_signed(x_, modulus_, times);
    }

    /**
     * x = x / 2^j modulo m, 0 <= j < 64, as halve() in limbs.h: for q < 2^j, (x + q m) / 2^j is from -m to m too.
     */
    void halve(int j) noexcept {
        const umint q = (x_[0] * modulus_.k) & ((umint{1} << j) - 1);
        umint t[n + 1];
        t[n] = add_product_row<n>(t, x_, modulus_.m, q) + x_[n];
        for (int i = 0; i < n; ++i) x_[i] = (t[i] >> j) | ((t[i + 1] << 1) << (63 - j));
        x_[n] = static_cast<umint>(static_cast<mint>(t[n]) >> j);
    }

    /** The residue in 0 .. m - 1. */
    void store(umint* residue) const noexcept {
        std::uint8_t carry = 0;
        for (int i = 0; i < n; ++i) carry = math_addcarry(carry, x_[i], modulus_.m[i] & x_[n], residue[i]);
    }

  private:
    const Modulus<n>& modulus_;
    umint x_[n + 1];  ///< the limbs of x, or of x + R if x is negative, and the sign: all ones for a negative x
};

/** pow2 by residues with a sign. */
template <int n>
    requires has_signed_residue<n>
class SignedPower {
  public:
    /** Precondition: SignedResidue<n>::represents(modulus). */
    SignedPower(const Modulus<n>& modulus, const umint* e) noexcept
        : SignedPower(Doublings<n>(modulus, e), modulus, e) {}

    /** The index of the first bit of e that needs a squaring, plus 1. */
    [[nodiscard]] int bits_left() const noexcept {
        return left_;
    }

    /** The squarings between here and the next exact division. */
    [[nodiscard]] int squarings() const noexcept {
        return (left_ - 1) % Doublings<n>::first_bits + 1;
    }

    /** The squarings for the next bits of e. Precondition: 0 < times <= squarings(). */
    void square(int times) noexcept {
        value_.square(times);
        for (; times > 0; --times) ahead_ = 2 * ahead_ - static_cast<int>(bit_at(e_, --left_));
        if (left_ % Doublings<n>::first_bits != 0) return;
        value_.halve(ahead_ - 1);
        ahead_ = 1;
    }

    /** x = 2^e R modulo m, once no bit is left. */
    void finish(umint* x) noexcept {
        value_.halve(1);
        value_.store(x);
    }

  private:
    SignedPower(const Doublings<n>& start, const Modulus<n>& modulus, const umint* e) noexcept
        : value_(start.value, modulus), e_(e), left_(start.bits_left()) {}

    SignedResidue<n> value_;  ///< with postponed doublings, as in Doublings
    const umint* e_;
    int left_, ahead_ = 1;
};

/** pow2 by residues with a sign, or false if the modulus is too large for them. */
template <int n>
    requires has_signed_residue<n>
[[nodiscard]] bool signed_pow2(umint* x, const umint* e, const Modulus<n>& modulus) noexcept {
    if (!SignedResidue<n>::represents(modulus)) return false;
    SignedPower<n> y(modulus, e);
    while (y.bits_left() > 0) y.square(y.squarings());
    y.finish(x);
    return true;
}

}  // namespace kesh::kernel
