/**
 * @file   signed_residue.h
 * @brief  Montgomery squarings at 256 bits, one after another, for processors with BMI2 and ADX.
 *
 * Each squaring of a chain waits for the one before. So the time is the latency from the lowest limb of one square to
 * the lowest limb of the next. Three things make it shorter than in a chain of separate products:
 *
 * 1. The quotient is computed two limbs at a time, (q0, q1) = -(t0, t1) / m mod 2^128, so that the chain has two steps
 *    of two rows instead of four steps of one row.
 * 2. The residue keeps a sign: x = d - 2^256 s with -m <= x < m, s = 0 or 1. Then (x^2 + q m) / 2^256 is below 2 m, and
 *    the next x is this value minus m. So m is always subtracted, and no limb waits for the borrow of the last limb.
 * 3. x^2 = d^2 + 2^256 s (2^256 - 2 d). Both this m and the correction for the sign, g = m + s (2 d - 2^256), are
 *    subtracted from the high half of d^2, which is not in the critical chain. So the sign is needed one reduction
 * later than the limbs.
 */
#pragma once

#include <cstddef>

#include "Shared/kernel/kernel.h"
#include "Shared/kernel/limbs.h"

namespace kesh::kernel {

/**
 * The common data of the operations on residues of one modulus: the modulus, and memory for values that have no
 * register.
 */
struct SignedModulus {
    umint m[4];
    umint k[2];  ///< -1/m mod 2^128
    umint g[5];
    umint x1;

    // cppcheck-suppress uninitMemberVar ; g and x1 are room, written before they are read
    explicit SignedModulus(const Modulus<4>& modulus) noexcept {
        for (int i = 0; i < 4; ++i) m[i] = modulus.m[i];
        // A Newton step from -1/m mod 2^64.
        const umint2 low = (static_cast<umint2>(m[1]) << 64) | m[0];
        const umint2 inverse = modulus.k * (2 + low * modulus.k);
        k[0] = static_cast<umint>(inverse);
        k[1] = static_cast<umint>(inverse >> 64);
    }
};

/** A residue x with -m <= x < m. */
class SignedResidue {
  public:
    explicit SignedResidue(const umint* residue) noexcept
        : x0_(residue[0]), x1_(residue[1]), x2_(residue[2]), x3_(residue[3]) {}

    /** x = x^2 / 2^256 modulo m. */
    void square(SignedModulus& modulus) noexcept;

    /** x = x / 2^j modulo m, 0 <= j < 64, as halve() in limbs.h: x + q m with q < 2^j stays between -m and 2^j m. */
    void halve(int j, const SignedModulus& modulus) noexcept {
        const umint q = (x0_ * modulus.k[0]) & ((umint{1} << j) - 1);
        umint2 sum = static_cast<umint2>(modulus.m[0]) * q + x0_;
        const auto first = static_cast<umint>(sum);
        sum = static_cast<umint2>(modulus.m[1]) * q + x1_ + (sum >> 64);
        const auto second = static_cast<umint>(sum);
        sum = static_cast<umint2>(modulus.m[2]) * q + x2_ + (sum >> 64);
        const auto third = static_cast<umint>(sum);
        sum = static_cast<umint2>(modulus.m[3]) * q + x3_ + (sum >> 64);
        const auto fourth = static_cast<umint>(sum);
        const umint top = static_cast<umint>(sum >> 64) + sign_;
        x0_ = shifted(first, second, j);
        x1_ = shifted(second, third, j);
        x2_ = shifted(third, fourth, j);
        x3_ = shifted(fourth, top, j);
        sign_ = static_cast<umint>(static_cast<mint>(top) >> j);
    }

    /** The residue in 0 .. m - 1. */
    void store(umint* residue, const SignedModulus& modulus) const noexcept {
        const umint limbs[4] = {x0_, x1_, x2_, x3_};
        std::uint8_t carry = 0;
        for (int i = 0; i < 4; ++i) carry = math_addcarry(carry, limbs[i], modulus.m[i] & sign_, residue[i]);
    }

  private:
    /** The low limb of high:low / 2^j, also for j = 0. */
    static umint shifted(umint low, umint high, int j) noexcept {
        return (low >> j) | ((high << 1) << (63 - j));
    }

    umint x0_, x1_, x2_, x3_;
    umint sign_ = 0;  ///< all ones for a negative x, whose limbs are those of x + 2^256
};

// clang-format off: one group of instructions a line

/** Places in a SignedModulus. */
#define KESH_M(i) "8*" #i "(%[p])"
#define KESH_K(i) "32+8*" #i "(%[p])"
#define KESH_G(i) "48+8*" #i "(%[p])"
#define KESH_X1 "88(%[p])"

/** (low, high) += m[i] rdx, each half with the carry of its own chain. x0 is free by then. */
#define KESH_STEP(i, low, high)                      \
    "mulx " KESH_M(i) ", %[lo], %[x0]\n\t"           \
    "adcx %[lo], %[" #low "]\n\t"                    \
    "adox %[x0], %[" #high "]\n\t"

/** (t1, t2, t3, t0) = ((t0, ..., t3) + m rdx) / 2^64, for rdx that makes it a multiple. */
#define KESH_ROW(t0, t1, t2, t3)                     \
    "xorl %k[lo], %k[lo]\n\t"                        \
    KESH_STEP(0, t0, t1)                             \
    KESH_STEP(1, t1, t2)                             \
    KESH_STEP(2, t2, t3)                             \
    "mulx " KESH_M(3) ", %[lo], %[" #t0 "]\n\t"      \
    "adcx %[lo], %[" #t3 "]\n\t"                     \
    "movl $0, %k[lo]\n\t"                            \
    "adcx %[lo], %[" #t0 "]\n\t"                     \
    "adox %[lo], %[" #t0 "]\n\t"

/** Both rows for (q0, q1) = (t0, t1) (k0, k1) mod 2^128, with q1 in x2. */
#define KESH_TWO_ROWS(t0, t1, t2, t3)                \
    "movq %[" #t0 "], %%rdx\n\t"                     \
    "mulx " KESH_K(0) ", %[lo], %[x2]\n\t"           \
    "imulq " KESH_K(1) ", %%rdx\n\t"                 \
    "addq %%rdx, %[x2]\n\t"                          \
    "movq %[" #t1 "], %[x0]\n\t"                     \
    "imulq " KESH_K(0) ", %[x0]\n\t"                 \
    "addq %[x0], %[x2]\n\t"                          \
    "movq %[lo], %%rdx\n\t"                          \
    KESH_ROW(t0, t1, t2, t3)                         \
    "movq %[x2], %%rdx\n\t"                          \
    KESH_ROW(t1, t2, t3, t0)

/**
 * With rdx and the pointer the limbs use 13 registers, which are all registers of a build with frame pointers and
 * sanitizers.
 */
inline __attribute__((always_inline)) void SignedResidue::square(SignedModulus& modulus) noexcept {
    static_assert(offsetof(SignedModulus, k) == 32 && offsetof(SignedModulus, g) == 48 && offsetof(SignedModulus, x1) == 88);
    umint x0 = x0_, x1 = x1_, x2 = x2_, x3 = x3_, t0, t1, t2, t3, t4, t5, lo = sign_;
    __asm__ volatile(
        "movq %[x1], " KESH_X1 "\n\t"
        // g = m + s (2 d - 2^256), of five limbs
        "movq %[x0], %[t0]\n\t" "addq %[t0], %[t0]\n\t"
        "movq %[x1], %[t1]\n\t" "adcq %[t1], %[t1]\n\t"
        "movq %[x2], %[t2]\n\t" "adcq %[t2], %[t2]\n\t"
        "movq %[x3], %[t3]\n\t" "adcq %[t3], %[t3]\n\t"
        "movq $-1, %[t4]\n\t"   "adcq $0, %[t4]\n\t"
        "andq %[lo], %[t0]\n\t" "andq %[lo], %[t1]\n\t" "andq %[lo], %[t2]\n\t" "andq %[lo], %[t3]\n\t" "andq %[lo], %[t4]\n\t"
        "addq " KESH_M(0) ", %[t0]\n\t" "movq %[t0], " KESH_G(0) "\n\t"
        "adcq " KESH_M(1) ", %[t1]\n\t" "movq %[t1], " KESH_G(1) "\n\t"
        "adcq " KESH_M(2) ", %[t2]\n\t" "movq %[t2], " KESH_G(2) "\n\t"
        "adcq " KESH_M(3) ", %[t3]\n\t" "movq %[t3], " KESH_G(3) "\n\t"
        "adcq $0, %[t4]\n\t"            "movq %[t4], " KESH_G(4) "\n\t"
        // the mixed products (t1, ..., t5, x1), and x0^2 = (t0, x0)
        "movq %[x0], %%rdx\n\t"
        "mulx %[x1], %[t1], %[t2]\n\t"
        "mulx %[x2], %[lo], %[t3]\n\t"    "addq %[lo], %[t2]\n\t"
        "mulx %[x3], %[lo], %[t4]\n\t"    "adcq %[lo], %[t3]\n\t" "adcq $0, %[t4]\n\t"
        "mulx %[x0], %[t0], %[x0]\n\t"
        "movq %[x1], %%rdx\n\t"
        "mulx %[x3], %[lo], %[t5]\n\t"    "addq %[lo], %[t4]\n\t" "adcq $0, %[t5]\n\t"
        "mulx %[x2], %[lo], %%rdx\n\t"    "addq %[lo], %[t3]\n\t" "adcq %%rdx, %[t4]\n\t" "adcq $0, %[t5]\n\t"
        "movq %[x2], %%rdx\n\t"
        "mulx %[x3], %[lo], %[x1]\n\t"    "addq %[lo], %[t5]\n\t" "adcq $0, %[x1]\n\t"
        // twice these and the squares: (t0, ..., t5, x1, x3)
        "xorl %k[lo], %k[lo]\n\t"
        "adcx %[t1], %[t1]\n\t" "adox %[x0], %[t1]\n\t"
        "movq " KESH_X1 ", %%rdx\n\t" "mulx %%rdx, %[lo], %[x0]\n\t"
        "adcx %[t2], %[t2]\n\t" "adox %[lo], %[t2]\n\t"
        "adcx %[t3], %[t3]\n\t" "adox %[x0], %[t3]\n\t"
        "movq %[x2], %%rdx\n\t" "mulx %%rdx, %[lo], %[x2]\n\t"
        "adcx %[t4], %[t4]\n\t" "adox %[lo], %[t4]\n\t"
        "adcx %[t5], %[t5]\n\t" "adox %[x2], %[t5]\n\t"
        "movq %[x3], %%rdx\n\t" "mulx %%rdx, %[lo], %[x3]\n\t"
        "adcx %[x1], %[x1]\n\t" "adox %[lo], %[x1]\n\t"
        "movl $0, %k[lo]\n\t"
        "adcx %[lo], %[x3]\n\t" "adox %[lo], %[x3]\n\t"
        // the high half less g: (t4, t5, x1, x3) and the sign
        "movl $0, %k[x2]\n\t"
        "subq " KESH_G(0) ", %[t4]\n\t"
        "sbbq " KESH_G(1) ", %[t5]\n\t"
        "sbbq " KESH_G(2) ", %[x1]\n\t"
        "sbbq " KESH_G(3) ", %[x3]\n\t"
        "sbbq " KESH_G(4) ", %[x2]\n\t"
        "movq %[x2], " KESH_G(4) "\n\t"
        // the low half reduced, and their sum
        KESH_TWO_ROWS(t0, t1, t2, t3)
        KESH_TWO_ROWS(t2, t3, t0, t1)
        "movq " KESH_G(4) ", %[x2]\n\t"
        "addq %[t4], %[t0]\n\t"
        "adcq %[t5], %[t1]\n\t"
        "adcq %[x1], %[t2]\n\t"
        "adcq %[x3], %[t3]\n\t"
        "adcq $0, %[x2]\n\t"
        : [x0] "+&r"(x0), [x1] "+&r"(x1), [x2] "+&r"(x2), [x3] "+&r"(x3), [t0] "=&r"(t0), [t1] "=&r"(t1),
          [t2] "=&r"(t2), [t3] "=&r"(t3), [t4] "=&r"(t4), [t5] "=&r"(t5), [lo] "+&r"(lo)
        : [p] "r"(&modulus)
        : "rdx", "cc", "memory");
    x0_ = t0, x1_ = t1, x2_ = t2, x3_ = t3, sign_ = x2;
}

// clang-format on

#undef KESH_M
#undef KESH_K
#undef KESH_G
#undef KESH_X1
#undef KESH_STEP
#undef KESH_ROW
#undef KESH_TWO_ROWS

}  // namespace kesh::kernel
