/**
 * @file   adx_rows.h
 * @brief  Products of limb arrays row by row, for processors with BMI2 and ADX.
 *
 * Adding the row a b[i] to an accumulator takes two chains of carries, one through the low and one through the high
 * halves of the products. mulx does not change the flags, adcx carries in CF only and adox in OF only, so that both
 * chains run in one pass over the row: one multiplication per cycle, the limit of the processors that have these
 * instructions. Compilers use one carry flag and save it between chains, and they move the accumulator between
 * registers from row to row. Therefore all rows of a block of 4 or 8 limbs are one block of assembly, in which the
 * registers change their roles instead. The blocks read and write memory through their pointers, so each is volatile
 * and clobbers "memory": otherwise a compiler may assume that two calls with the same pointers have the same result.
 *
 * Call these functions only if level() is Level::adx or above.
 */
#pragma once

#include <cstddef>

#include "Shared/intx/limbs.h"

#if defined(__x86_64__)

namespace kesh::detail {

// clang-format off: one instruction group a line

/** low += lo(source[offset] rdx), high += hi(...), each with the carry of its own chain. */
#define KESH_MUL_STEP(source, offset, low, high) \
    "mulx " #offset "(%[" #source            \
    "]), %[lo], %[hi]\n\t"                   \
    "adcx %[lo], %[" #low                    \
    "]\n\t"                                  \
    "adox %[hi], %[" #high "]\n\t"

/**
 * The end of a row: the high half of the last product starts the new top limb, which takes both carries and cannot
 * overflow.
 */
#define KESH_LAST_MUL_STEP(source, offset, low, top)       \
    "mulx " #offset "(%[" #source "]), %[lo], %[" #top \
    "]\n\t"                                            \
    "adcx %[lo], %[" #low                              \
    "]\n\t"                                            \
    "movl $0, %k[lo]\n\t"                              \
    "adcx %[lo], %[" #top                              \
    "]\n\t"                                            \
    "adox %[lo], %[" #top "]\n\t"

/** (t1, t2, t3, top) = (t0, ..., t3) + source rdx without its lowest limb, which stays in t0. */
#define KESH_ROW4(source, t0, t1, t2, t3, top)                                                                        \
    "xorl %k[lo], %k[lo]\n\t" KESH_MUL_STEP(source, 0, t0, t1) KESH_MUL_STEP(source, 8, t1, t2) KESH_MUL_STEP(source, 16, t2, t3) \
        KESH_LAST_MUL_STEP(source, 24, t3, top)

/**
 * (t1, ..., t7, t0) = (t0, ..., t7) + source rdx without its lowest limb, which `finished` may save before its
 * register becomes the top limb.
 */
#define KESH_ROW8(source, finished, t0, t1, t2, t3, t4, t5, t6, t7)                               \
    "xorl %k[lo], %k[lo]\n\t" KESH_MUL_STEP(source, 0, t0, t1) finished KESH_MUL_STEP(source, 8, t1, t2)  \
        KESH_MUL_STEP(source, 16, t2, t3) KESH_MUL_STEP(source, 24, t3, t4) KESH_MUL_STEP(source, 32, t4, t5) \
            KESH_MUL_STEP(source, 40, t5, t6) KESH_MUL_STEP(source, 48, t6, t7) KESH_LAST_MUL_STEP(source, 56, t7, t0)

/** The pointer to b stays in memory: a build with frame pointers has no register left for it. */
#define KESH_PRODUCT_ROW8(i, t0, t1, t2, t3, t4, t5, t6, t7) \
    "movq %[b], %%rdx\n\t"                                   \
    "movq " #i                                               \
    "*8(%%rdx), %%rdx\n\t" KESH_ROW8(a, "movq %[" #t0 "], " #i "*8(%[z])\n\t", t0, t1, t2, t3, t4, t5, t6, t7)

#define KESH_REDUCTION_ROW8(i, t0, t1, t2, t3, t4, t5, t6, t7) \
    "movq %[" #t0                                              \
    "], %%rdx\n\t"                                             \
    "imulq %[k0], %%rdx\n\t"                                   \
    "movq %%rdx, " #i "*8(%[q])\n\t" KESH_ROW8(m, "", t0, t1, t2, t3, t4, t5, t6, t7)

/** Eight rows: the registers change their roles, so that t0 is the lowest limb of every row. */
#define KESH_EIGHT_ROWS(ROW)               \
    ROW(0, t0, t1, t2, t3, t4, t5, t6, t7) \
    ROW(1, t1, t2, t3, t4, t5, t6, t7, t0) \
    ROW(2, t2, t3, t4, t5, t6, t7, t0, t1) \
    ROW(3, t3, t4, t5, t6, t7, t0, t1, t2) \
    ROW(4, t4, t5, t6, t7, t0, t1, t2, t3) \
    ROW(5, t5, t6, t7, t0, t1, t2, t3, t4) \
    ROW(6, t6, t7, t0, t1, t2, t3, t4, t5) \
    ROW(7, t7, t0, t1, t2, t3, t4, t5, t6)

/** (t0, ..., t4) += source rdx; t5, zero before or the carry of a row before, takes the carry. */
#define KESH_FULL_ROW4(source, t0, t1, t2, t3, t4, t5) \
    "xorl %k[lo], %k[lo]\n\t"                          \
    KESH_MUL_STEP(source, 0, t0, t1)                       \
    KESH_MUL_STEP(source, 8, t1, t2)                       \
    KESH_MUL_STEP(source, 16, t2, t3)                      \
    KESH_MUL_STEP(source, 24, t3, t4)                      \
    "movl $0, %k[lo]\n\t"                              \
    "adcx %[lo], %[" #t4 "]\n\t"                       \
    "adox %[lo], %[" #t5 "]\n\t"                       \
    "adcx %[lo], %[" #t5 "]\n\t"

/** A row of the product and a row of the reduction. t5 is zero before; t0 is zero afterwards and takes its place. */
#define KESH_ROW_PAIR4(i, t0, t1, t2, t3, t4, t5) \
    "movq " #i "*8(%[b]), %%rdx\n\t"              \
    KESH_FULL_ROW4(a, t0, t1, t2, t3, t4, t5)     \
    "movq %[" #t0 "], %%rdx\n\t"                  \
    "imulq %[k0], %%rdx\n\t"                      \
    KESH_FULL_ROW4(m, t0, t1, t2, t3, t4, t5)

// NOLINTBEGIN(bugprone-macro-parentheses): the offsets are text for the assembler

/** (t0, ..., t9) += the eight limbs at `offset` of the operands, times rdx. */
#define KESH_FULL_ROW8(offset, t0, t1, t2, t3, t4, t5, t6, t7, t8, t9)         \
    "xorl %k[lo], %k[lo]\n\t"                                                  \
    KESH_MUL_STEP(p, offset, t0, t1) KESH_MUL_STEP(p, offset + 8, t1, t2)              \
    KESH_MUL_STEP(p, offset + 16, t2, t3) KESH_MUL_STEP(p, offset + 24, t3, t4)        \
    KESH_MUL_STEP(p, offset + 32, t4, t5) KESH_MUL_STEP(p, offset + 40, t5, t6)        \
    KESH_MUL_STEP(p, offset + 48, t6, t7) KESH_MUL_STEP(p, offset + 56, t7, t8)        \
    "movl $0, %k[lo]\n\t"                                                      \
    "adcx %[lo], %[" #t8 "]\n\t"                                               \
    "adox %[lo], %[" #t9 "]\n\t"                                               \
    "adcx %[lo], %[" #t9 "]\n\t"

// NOLINTEND(bugprone-macro-parentheses)

/** A row of the product and a row of the reduction. t9 is zero before; t0 is zero afterwards and takes its place. */
#define KESH_ROW_PAIR8(i, t0, t1, t2, t3, t4, t5, t6, t7, t8, t9)              \
    "movq 64+8*" #i "(%[p]), %%rdx\n\t"                                        \
    KESH_FULL_ROW8(0, t0, t1, t2, t3, t4, t5, t6, t7, t8, t9)                  \
    "movq 192(%[p]), %%rdx\n\t"                                                \
    "imulq %[" #t0 "], %%rdx\n\t"                                              \
    KESH_FULL_ROW8(128, t0, t1, t2, t3, t4, t5, t6, t7, t8, t9)

#define KESH_ACCUMULATORS8                                                                                          \
    [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4), [t5] "+&r"(t5), [t6] "+&r"(t6), \
        [t7] "+&r"(t7), [lo] "=&r"(low), [hi] "=&r"(high)

// clang-format on

/** hi:lo = a b + addend, of eight limbs each. addend may be lo or hi; lo and hi must not overlap a or b. */
inline void multiply_add8(umint* lo, umint* hi, const umint* addend, const umint* a, const umint* b) noexcept {
    umint t0 = addend[0], t1 = addend[1], t2 = addend[2], t3 = addend[3];
    umint t4 = addend[4], t5 = addend[5], t6 = addend[6], t7 = addend[7];
    umint low, high;
#if defined(__clang_analyzer__)  // the analyzer does not see that the assembly writes through its pointers
    for (int i = 0; i < 8; ++i) lo[i] = 0;
#endif
    __asm__ volatile(KESH_EIGHT_ROWS(KESH_PRODUCT_ROW8)
                     : KESH_ACCUMULATORS8
                     : [z] "r"(lo), [a] "r"(a), [b] "m"(b)
                     : "rdx", "cc", "memory");
    hi[0] = t0, hi[1] = t1, hi[2] = t2, hi[3] = t3, hi[4] = t4, hi[5] = t5, hi[6] = t6, hi[7] = t7;
}

/** With the q[0 .. 7] that make t + q m a multiple of 2^512: c = (t + q m) / 2^512, of eight limbs each. c may be t. */
inline void reduce8(umint* c, umint* q, const umint* t, const umint* m, umint k0) noexcept {
    umint t0 = t[0], t1 = t[1], t2 = t[2], t3 = t[3], t4 = t[4], t5 = t[5], t6 = t[6], t7 = t[7];
    umint low, high;
    __asm__ volatile(KESH_EIGHT_ROWS(KESH_REDUCTION_ROW8)
                     : KESH_ACCUMULATORS8
                     : [q] "r"(q), [m] "r"(m), [k0] "m"(k0)
                     : "rdx", "cc", "memory");
    c[0] = t0, c[1] = t1, c[2] = t2, c[3] = t3, c[4] = t4, c[5] = t5, c[6] = t6, c[7] = t7;
}

/** hi:lo = a b, of four limbs each. lo and hi must not overlap a or b. */
inline void multiply4(umint* lo, umint* hi, const umint* a, const umint* b) noexcept {
    umint t0 = 0, t1 = 0, t2 = 0, t3 = 0, top, low, high;
    // clang-format off
    __asm__ volatile("movq 0(%[b]), %%rdx\n\t" KESH_ROW4(a, t0, t1, t2, t3, top) "movq %[t0], 0(%[z])\n\t"
                     "movq 8(%[b]), %%rdx\n\t" KESH_ROW4(a, t1, t2, t3, top, t0) "movq %[t1], 8(%[z])\n\t"
                     "movq 16(%[b]), %%rdx\n\t" KESH_ROW4(a, t2, t3, top, t0, t1) "movq %[t2], 16(%[z])\n\t"
                     "movq 24(%[b]), %%rdx\n\t" KESH_ROW4(a, t3, top, t0, t1, t2) "movq %[t3], 24(%[z])\n\t"
                     : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [top] "=&r"(top),
                       [lo] "=&r"(low), [hi] "=&r"(high)
                     : [z] "r"(lo), [a] "r"(a), [b] "r"(b)
                     : "rdx", "cc", "memory");
    // clang-format on
    hi[0] = top, hi[1] = t0, hi[2] = t1, hi[3] = t2;
}

/**
 * hi:lo = a^2, of four limbs each: the mixed products once, and then one chain doubles them while the other one adds
 * the squares. lo and hi must not overlap a.
 */
inline void square4(umint* lo, umint* hi, const umint* a) noexcept {
    umint t0, t1, t2, t3, t4, t5, t6, t7, low, high;
    // clang-format off
    __asm__("movq 0(%[a]), %%rdx\n\t"
            "mulx 8(%[a]), %[t1], %[t2]\n\t"
            "mulx 16(%[a]), %[lo], %[t3]\n\t"   "addq %[lo], %[t2]\n\t"
            "mulx 24(%[a]), %[lo], %[t4]\n\t"   "adcq %[lo], %[t3]\n\t"   "adcq $0, %[t4]\n\t"
            "mulx %%rdx, %[t0], %[t7]\n\t"
            "movq 8(%[a]), %%rdx\n\t"
            "mulx 24(%[a]), %[lo], %[t5]\n\t"   "addq %[lo], %[t4]\n\t"   "adcq $0, %[t5]\n\t"
            "mulx 16(%[a]), %[lo], %[hi]\n\t"   "addq %[lo], %[t3]\n\t"   "adcq %[hi], %[t4]\n\t"   "adcq $0, %[t5]\n\t"
            "mulx %%rdx, %[lo], %[hi]\n\t"
            "movq 16(%[a]), %%rdx\n\t"
            "mulx 24(%[a]), %%rdx, %[t6]\n\t"   "addq %%rdx, %[t5]\n\t"   "adcq $0, %[t6]\n\t"
            "xorl %%edx, %%edx\n\t"
            "adcx %[t1], %[t1]\n\t"   "adox %[t7], %[t1]\n\t"
            "adcx %[t2], %[t2]\n\t"   "adox %[lo], %[t2]\n\t"
            "adcx %[t3], %[t3]\n\t"   "adox %[hi], %[t3]\n\t"
            "movq 16(%[a]), %%rdx\n\t" "mulx %%rdx, %[lo], %[hi]\n\t"
            "adcx %[t4], %[t4]\n\t"   "adox %[lo], %[t4]\n\t"
            "adcx %[t5], %[t5]\n\t"   "adox %[hi], %[t5]\n\t"
            "movq 24(%[a]), %%rdx\n\t" "mulx %%rdx, %[lo], %[t7]\n\t"
            "adcx %[t6], %[t6]\n\t"   "adox %[lo], %[t6]\n\t"
            "movl $0, %k[lo]\n\t"
            "adcx %[lo], %[t7]\n\t"   "adox %[lo], %[t7]"
            : [t0] "=&r"(t0), [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3), [t4] "=&r"(t4), [t5] "=&r"(t5),
              [t6] "=&r"(t6), [t7] "=&r"(t7), [lo] "=&r"(low), [hi] "=&r"(high)
            : [a] "r"(a), "m"(*reinterpret_cast<const umint(*)[4]>(a))
            : "rdx", "cc");
    // clang-format on
    lo[0] = t0, lo[1] = t1, lo[2] = t2, lo[3] = t3, hi[0] = t4, hi[1] = t5, hi[2] = t6, hi[3] = t7;
}

// clang-format off: one instruction group a line

/** The first row of the mixed products, a[0] times the seven limbs above it, in one chain. */
#define KESH_FIRST_MIXED_STEP(offset, low, high) \
    "mulx " #offset "(%[a]), %[lo], %[" #high    \
    "]\n\t"                                      \
    "adcq %[lo], %[" #low "]\n\t"

/** Row i: rdx = a[i]. The two limbs below are finished after it. */
#define KESH_MIXED_FACTOR(i) "movq 8*" #i "(%[a]), %%rdx\n\t" "xorl %k[lo], %k[lo]\n\t"
#define KESH_STORE_MIXED(i, even, odd) "movq %[" #odd "], 16*" #i "+8(%[t])\n\t" "movq %[" #even "], 16*" #i "+16(%[t])\n\t"

/** Limbs 2 i and 2 i + 1 of the square, at `offset` of z. */
#define KESH_DIAGONAL_STEP(i, z, offset)    \
    "movq 8*" #i "(%[a]), %%rdx\n\t"        \
    "mulx %%rdx, %[lo], %[hi]\n\t"          \
    "movq 16*" #i "(%[t]), %%rdx\n\t"       \
    "adcx %%rdx, %%rdx\n\t"                 \
    "adox %%rdx, %[lo]\n\t"                 \
    "movq %[lo], " #offset "(%[" #z "])\n\t" \
    "movq 16*" #i "+8(%[t]), %%rdx\n\t"     \
    "adcx %%rdx, %%rdx\n\t"                 \
    "adox %%rdx, %[hi]\n\t"                 \
    "movq %[hi], 8+" #offset "(%[" #z "])\n\t"

// clang-format on

/**
 * hi:lo = a^2, of eight limbs each: the 28 mixed products once, row by row, of which each leaves two limbs finished;
 * then one chain doubles them while the other one adds the squares. lo and hi must not overlap a.
 */
[[gnu::noinline]] inline void square8(umint* lo, umint* hi, const umint* a) noexcept {
    umint t[16];
    t[0] = t[15] = 0;
    umint t1, t2, t3, t4, t5, t6, t7, t8, low, high;
    // clang-format off
    __asm__ volatile(
        "movq (%[a]), %%rdx\n\t"
        "mulx 8(%[a]), %[t1], %[t2]\n\t"
        "xorl %k[lo], %k[lo]\n\t"
        KESH_FIRST_MIXED_STEP(16, t2, t3) KESH_FIRST_MIXED_STEP(24, t3, t4) KESH_FIRST_MIXED_STEP(32, t4, t5)
        KESH_FIRST_MIXED_STEP(40, t5, t6) KESH_FIRST_MIXED_STEP(48, t6, t7) KESH_FIRST_MIXED_STEP(56, t7, t8)
        "adcq $0, %[t8]\n\t"
        KESH_STORE_MIXED(0, t2, t1)
        KESH_MIXED_FACTOR(1)
        KESH_MUL_STEP(a, 16, t3, t4) KESH_MUL_STEP(a, 24, t4, t5) KESH_MUL_STEP(a, 32, t5, t6)
        KESH_MUL_STEP(a, 40, t6, t7) KESH_MUL_STEP(a, 48, t7, t8) KESH_LAST_MUL_STEP(a, 56, t8, t1)
        KESH_STORE_MIXED(1, t4, t3)
        KESH_MIXED_FACTOR(2)
        KESH_MUL_STEP(a, 24, t5, t6) KESH_MUL_STEP(a, 32, t6, t7) KESH_MUL_STEP(a, 40, t7, t8)
        KESH_MUL_STEP(a, 48, t8, t1) KESH_LAST_MUL_STEP(a, 56, t1, t2)
        KESH_STORE_MIXED(2, t6, t5)
        KESH_MIXED_FACTOR(3)
        KESH_MUL_STEP(a, 32, t7, t8) KESH_MUL_STEP(a, 40, t8, t1) KESH_MUL_STEP(a, 48, t1, t2)
        KESH_LAST_MUL_STEP(a, 56, t2, t3)
        KESH_STORE_MIXED(3, t8, t7)
        KESH_MIXED_FACTOR(4)
        KESH_MUL_STEP(a, 40, t1, t2) KESH_MUL_STEP(a, 48, t2, t3) KESH_LAST_MUL_STEP(a, 56, t3, t4)
        KESH_STORE_MIXED(4, t2, t1)
        KESH_MIXED_FACTOR(5)
        KESH_MUL_STEP(a, 48, t3, t4) KESH_LAST_MUL_STEP(a, 56, t4, t5)
        KESH_STORE_MIXED(5, t4, t3)
        KESH_MIXED_FACTOR(6)
        KESH_LAST_MUL_STEP(a, 56, t5, t6)
        KESH_STORE_MIXED(6, t6, t5)
        : [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3), [t4] "=&r"(t4), [t5] "=&r"(t5), [t6] "=&r"(t6),
          [t7] "=&r"(t7), [t8] "=&r"(t8), [lo] "=&r"(low), [hi] "=&r"(high)
        : [a] "r"(a), [t] "r"(t)
        : "rdx", "cc", "memory");
    __asm__ volatile(
        "xorl %k[lo], %k[lo]\n\t"
        KESH_DIAGONAL_STEP(0, zl, 0) KESH_DIAGONAL_STEP(1, zl, 16) KESH_DIAGONAL_STEP(2, zl, 32) KESH_DIAGONAL_STEP(3, zl, 48)
        KESH_DIAGONAL_STEP(4, zh, 0) KESH_DIAGONAL_STEP(5, zh, 16) KESH_DIAGONAL_STEP(6, zh, 32) KESH_DIAGONAL_STEP(7, zh, 48)
        : [lo] "=&r"(low), [hi] "=&r"(high)
        : [a] "r"(a), [t] "r"(t), [zl] "r"(lo), [zh] "r"(hi)
        : "rdx", "cc", "memory");
    // clang-format on
}

/** r = a b R^(-1) mod m with R = 2^256. Precondition: a b < m R. r may be a or b. */
inline void montgomery_product4(umint* r, const umint* a, const umint* b, const umint* m, umint k0) noexcept {
    umint t0 = 0, t1 = 0, t2 = 0, t3 = 0, t4 = 0, t5 = 0, low, high;
    // clang-format off
    __asm__ volatile(KESH_ROW_PAIR4(0, t0, t1, t2, t3, t4, t5)
                     KESH_ROW_PAIR4(1, t1, t2, t3, t4, t5, t0)
                     KESH_ROW_PAIR4(2, t2, t3, t4, t5, t0, t1)
                     KESH_ROW_PAIR4(3, t3, t4, t5, t0, t1, t2)
                     // (t4, t5, t0, t1) below the top limb t2 less m, unless that is negative
                     "movq %[t4], %[lo]\n\t"   "subq (%[m]), %[lo]\n\t"
                     "movq %[t5], %[hi]\n\t"   "sbbq 8(%[m]), %[hi]\n\t"
                     "movq %[t0], %%rdx\n\t"   "sbbq 16(%[m]), %%rdx\n\t"
                     "movq %[t1], %[t3]\n\t"   "sbbq 24(%[m]), %[t3]\n\t"
                     "sbbq $0, %[t2]\n\t"
                     "cmovncq %[lo], %[t4]\n\t" "cmovncq %[hi], %[t5]\n\t"
                     "cmovncq %%rdx, %[t0]\n\t" "cmovncq %[t3], %[t1]\n\t"
                     : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4),
                       [t5] "+&r"(t5), [lo] "=&r"(low), [hi] "=&r"(high)
                     : [a] "r"(a), [b] "r"(b), [m] "r"(m), [k0] "m"(k0)
                     : "rdx", "cc", "memory");
    // clang-format on
    r[0] = t4, r[1] = t5, r[2] = t0, r[3] = t1;
}

/** The operands of the rows of montgomery_product8, behind one pointer: there are not enough registers for three. */
struct Operands8 {
    umint a[8], b[8], m[8], k0;
};

/**
 * r = a b R^(-1) mod m with R = 2^512. Precondition: a b < m R. r may be a or b. Rows of the product and of the
 * reduction alternate: the products are computed while the reduction waits for its next quotient.
 */
inline void montgomery_product8(umint* r, const umint* a, const umint* b, const umint* m, umint k0) noexcept {
    static_assert(offsetof(Operands8, b) == 64 && offsetof(Operands8, m) == 128 && offsetof(Operands8, k0) == 192);
    Operands8 operands;
    for (int i = 0; i < 8; ++i) {
        operands.a[i] = a[i];
        operands.b[i] = b[i];
        operands.m[i] = m[i];
    }
    operands.k0 = k0;
    umint t0 = 0, t1 = 0, t2 = 0, t3 = 0, t4 = 0, t5 = 0, t6 = 0, t7 = 0, t8 = 0, t9 = 0, low, high;
    // clang-format off
    __asm__ volatile(KESH_ROW_PAIR8(0, t0, t1, t2, t3, t4, t5, t6, t7, t8, t9)
                     KESH_ROW_PAIR8(1, t1, t2, t3, t4, t5, t6, t7, t8, t9, t0)
                     KESH_ROW_PAIR8(2, t2, t3, t4, t5, t6, t7, t8, t9, t0, t1)
                     KESH_ROW_PAIR8(3, t3, t4, t5, t6, t7, t8, t9, t0, t1, t2)
                     KESH_ROW_PAIR8(4, t4, t5, t6, t7, t8, t9, t0, t1, t2, t3)
                     KESH_ROW_PAIR8(5, t5, t6, t7, t8, t9, t0, t1, t2, t3, t4)
                     KESH_ROW_PAIR8(6, t6, t7, t8, t9, t0, t1, t2, t3, t4, t5)
                     KESH_ROW_PAIR8(7, t7, t8, t9, t0, t1, t2, t3, t4, t5, t6)
                     : KESH_ACCUMULATORS8, [t8] "+&r"(t8), [t9] "+&r"(t9)
                     : [p] "r"(&operands)
                     : "rdx", "cc", "memory");
    // clang-format on
    const umint t[8] = {t8, t9, t0, t1, t2, t3, t4, t5};
    reduce_once<8>(r, t, t6, m);
}

/** One limb of a row in memory, 23 bytes of code wherever it is: (next, w[at]) = w[at] + a[at] rdx + previous. */
#define KESH_MEMORY_STEP(at, previous, next) \
    "mulx " #at "(%%rsi), %%rax, %%" #next   \
    "\n\t"                                   \
    "adcx %%" #previous                      \
    ", %%rax\n\t"                            \
    "adox " #at                              \
    "(%%rdi), %%rax\n\t"                     \
    "movq %%rax, " #at "(%%rdi)\n\t"

/**
 * w += a b, of n limbs; returns the limb above. Precondition: 1 <= n <= 16. It enters the code for a row of 16 limbs at
 * the place where n limbs are left.
 */
inline umint add_product_row_adx(umint* w, const umint* a, umint b, std::size_t n) noexcept {
    umint carry = 0, scratch;
    const umint* const w_end = w + n;
    const umint* const a_end = a + n;
    __asm__ volatile(
        "leaq 0f(%%rip), %%rax\n\t"
        "subq %[code], %%rax\n\t"
        "xorl %%r8d, %%r8d\n\t"
        "jmp *%%rax\n\t"
        KESH_MEMORY_STEP(-128, rcx, r8) KESH_MEMORY_STEP(-120, r8, rcx)
        KESH_MEMORY_STEP(-112, rcx, r8) KESH_MEMORY_STEP(-104, r8, rcx)
        KESH_MEMORY_STEP(-96, rcx, r8) KESH_MEMORY_STEP(-88, r8, rcx)
        KESH_MEMORY_STEP(-80, rcx, r8) KESH_MEMORY_STEP(-72, r8, rcx)
        KESH_MEMORY_STEP(-64, rcx, r8) KESH_MEMORY_STEP(-56, r8, rcx)
        KESH_MEMORY_STEP(-48, rcx, r8) KESH_MEMORY_STEP(-40, r8, rcx)
        KESH_MEMORY_STEP(-32, rcx, r8) KESH_MEMORY_STEP(-24, r8, rcx)
        KESH_MEMORY_STEP(-16, rcx, r8) KESH_MEMORY_STEP(-8, r8, rcx)
        "0:\n\t"
        "movl $0, %%eax\n\t"
        "adcx %%rax, %%rcx\n\t"
        "adox %%rax, %%rcx"
        : "+c"(carry), "=&a"(scratch)
        : "d"(b), "S"(a_end), "D"(w_end), [code] "r"(23 * n)
        : "r8", "cc", "memory");
    return carry;
}

#undef KESH_MUL_STEP
#undef KESH_LAST_MUL_STEP
#undef KESH_ROW4
#undef KESH_ROW8
#undef KESH_PRODUCT_ROW8
#undef KESH_REDUCTION_ROW8
#undef KESH_EIGHT_ROWS
#undef KESH_FULL_ROW4
#undef KESH_ROW_PAIR4
#undef KESH_FULL_ROW8
#undef KESH_ROW_PAIR8
#undef KESH_ACCUMULATORS8
#undef KESH_MEMORY_STEP
#undef KESH_FIRST_MIXED_STEP
#undef KESH_MIXED_FACTOR
#undef KESH_STORE_MIXED
#undef KESH_DIAGONAL_STEP

/**
 * r = a b + below, of four limbs; returns the limb above. r may be a. The sums take one chain of carries, and mulx
 * leaves it alone; the results are registers, because the caller's next step often is a copy by wide loads.
 */
inline umint product_by_limb4(umint* r, const umint* a, umint b, umint below) noexcept {
    umint r0, r1, r2, r3, high, top;
    __asm__(
        "mulx %[a0], %[r0], %[high]\n\t"
        "mulx %[a1], %[r1], %[top]\n\t"
        "addq %[below], %[r0]\n\t"
        "adcq %[high], %[r1]\n\t"
        "mulx %[a2], %[r2], %[high]\n\t"
        "adcq %[top], %[r2]\n\t"
        "mulx %[a3], %[r3], %[top]\n\t"
        "adcq %[high], %[r3]\n\t"
        "adcq $0, %[top]"
        : [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [high] "=&r"(high), [top] "=&r"(top)
        : [a0] "m"(a[0]), [a1] "m"(a[1]), [a2] "m"(a[2]), [a3] "m"(a[3]), "d"(b), [below] "r"(below)
        : "cc");
    r[0] = r0, r[1] = r1, r[2] = r2, r[3] = r3;
    return top;
}

/** hi:lo = a b, of eight limbs each. lo and hi must not overlap a or b. */
[[gnu::noinline]] inline void multiply8(umint* lo, umint* hi, const umint* a, const umint* b) noexcept {
    static constexpr umint zero[8] = {};
    multiply_add8(lo, hi, zero, a, b);
}

/**
 * hi:lo = a b, of sixteen limbs each, by four products of eight limbs, each of which adds the limbs that are already at
 * its place. lo and hi must not overlap a or b.
 */
[[gnu::noinline]] inline void multiply16(umint* lo, umint* hi, const umint* a, const umint* b) noexcept {
    umint cross[16], top[8];
    multiply8(lo, lo + 8, a, b);
    multiply_add8(cross, cross + 8, lo + 8, a, b + 8);
    multiply_add8(lo + 8, top, cross, a + 8, b);
    const std::uint8_t carry = add_limbs<8>(cross, cross + 8, top);
    multiply_add8(hi, hi + 8, cross, a + 8, b + 8);
    add_carry<8>(hi + 8, carry);
}

/** r = t / 2^1024 mod m, by two blocks of eight rows. Precondition: t < m 2^1024. Destroys t. */
inline void reduce16(umint* r, umint* t, const umint* m, umint k0) noexcept {
    umint q[8], w[16];
    reduce8(w, q, t, m, k0);
    multiply_add8(w, w + 8, w, q, m + 8);
    const std::uint8_t carry = add_limbs<16>(t + 8, t + 8, w);

    reduce8(w, q, t + 8, m, k0);
    multiply_add8(w, w + 8, w, q, m + 8);
    // The carry belongs to limb 24, in the middle of the next sum.
    std::uint8_t top = add_carry<8>(t + 24, carry);
    top = static_cast<std::uint8_t>(top + add_limbs<16>(t + 16, t + 16, w));
    reduce_once<16>(r, t + 16, top, m);
}

/** r = a b R^(-1) mod m with R = 2^1024. Precondition: a b < m R. r may be a or b. */
[[gnu::noinline]] inline void montgomery_product16(umint* r, const umint* a, const umint* b, const umint* m,
                                                   umint k0) noexcept {
    umint t[32];
    multiply16(t, t + 16, a, b);
    reduce16(r, t, m, k0);
}

}  // namespace kesh::detail

#endif
