/// @file   adx.cpp
/// @brief  The kernels for processors with BMI2 and ADX.
///
/// Adding the row a b[i] to an accumulator takes two chains of carries, one through the low and one through the high
/// halves of the products. mulx leaves the flags alone, adcx carries in CF only and adox in OF only, so that both
/// chains run through one pass over the row, one multiplication a cycle. Compilers do not produce this from C++: they
/// keep one carry flag and save it between chains.

#include <cstddef>

#include "Shared/kernel/limbs.h"
#include "Shared/kernel/routines.h"

namespace kesh::kernel {

namespace {

// clang-format off

/// low += lo(source[offset] rdx), high += hi(...), each with the carry of its own chain.
#define KESH_STEP(source, offset, low, high)              \
    "mulx " #offset "(%[" #source "]), %[lo], %[hi]\n\t" \
    "adcx %[lo], %[" #low "]\n\t"                         \
    "adox %[hi], %[" #high "]\n\t"

/// The end of a row: the last product's high half starts the new top limb, which takes up both carries and cannot
/// overflow.
#define KESH_LAST_STEP(source, offset, low, top)             \
    "mulx " #offset "(%[" #source "]), %[lo], %[" #top "]\n\t" \
    "adcx %[lo], %[" #low "]\n\t"                            \
    "mov $0, %k[lo]\n\t"                                     \
    "adcx %[lo], %[" #top "]\n\t"                            \
    "adox %[lo], %[" #top "]\n\t"

/// (t1, ..., t7, t0) = (t0, ..., t7) + source rdx without its low limb, which `finished` may save before its register
/// becomes the top.
#define KESH_ROW8(source, finished, t0, t1, t2, t3, t4, t5, t6, t7)                                         \
    "xor %k[lo], %k[lo]\n\t" KESH_STEP(source, 0, t0, t1) finished KESH_STEP(source, 8, t1, t2)             \
        KESH_STEP(source, 16, t2, t3) KESH_STEP(source, 24, t3, t4) KESH_STEP(source, 32, t4, t5)           \
            KESH_STEP(source, 40, t5, t6) KESH_STEP(source, 48, t6, t7) KESH_LAST_STEP(source, 56, t7, t0)

#define KESH_PRODUCT_ROW8(i, t0, t1, t2, t3, t4, t5, t6, t7) \
    "mov " #i "*8(%[z]), %%rdx\n\t" KESH_ROW8(a, "mov %[" #t0 "], " #i "*8(%[z])\n\t", t0, t1, t2, t3, t4, t5, t6, t7)

#define KESH_REDUCTION_ROW8(i, t0, t1, t2, t3, t4, t5, t6, t7)              \
    "mov %[" #t0 "], %%rdx\n\t"                                             \
    "imul 64(%[q]), %%rdx\n\t"                                              \
    "mov %%rdx, " #i "*8(%[q])\n\t" KESH_ROW8(m, "", t0, t1, t2, t3, t4, t5, t6, t7)

/// Eight rows: the registers trade places, so that every row works on t0 as its lowest limb.
#define KESH_EIGHT_ROWS(ROW)                                                                                  \
    ROW(0, t0, t1, t2, t3, t4, t5, t6, t7) ROW(1, t1, t2, t3, t4, t5, t6, t7, t0)                             \
    ROW(2, t2, t3, t4, t5, t6, t7, t0, t1) ROW(3, t3, t4, t5, t6, t7, t0, t1, t2)                             \
    ROW(4, t4, t5, t6, t7, t0, t1, t2, t3) ROW(5, t5, t6, t7, t0, t1, t2, t3, t4)                             \
    ROW(6, t6, t7, t0, t1, t2, t3, t4, t5) ROW(7, t7, t0, t1, t2, t3, t4, t5, t6)

// clang-format on

/// The accumulators and the two scratch registers. With rdx and two pointers they fill all registers that a build with
/// frame pointers and sanitizers leaves, which is why rows read and write through one pointer.
#define KESH_ACCUMULATORS8                                                                                          \
    [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4), [t5] "+&r"(t5), [t6] "+&r"(t6), \
        [t7] "+&r"(t7), [lo] "=&r"(lo), [hi] "=&r"(hi)

/// z[0 .. 15] = a b + addend, of eight limbs each. addend may be z + 8; z may be neither a nor b.
inline void multiply_add8(umint* z, const umint* addend, const umint* a, const umint* b) noexcept {
    umint t0 = addend[0], t1 = addend[1], t2 = addend[2], t3 = addend[3];
    umint t4 = addend[4], t5 = addend[5], t6 = addend[6], t7 = addend[7];
    umint lo, hi;
    for (int i = 0; i < 8; ++i) z[i] = b[i];
    asm(KESH_EIGHT_ROWS(KESH_PRODUCT_ROW8) : KESH_ACCUMULATORS8 : [z] "r"(z), [a] "r"(a) : "rdx", "cc", "memory");
    z[8] = t0, z[9] = t1, z[10] = t2, z[11] = t3, z[12] = t4, z[13] = t5, z[14] = t6, z[15] = t7;
}

/// With the q[0 .. 7] that make t + q m a multiple of 2^512: c = (t + q m) / 2^512, of eight limbs each. c may be t.
/// On entry q[8] is k.
inline void reduce8(umint* c, umint* q, const umint* t, const umint* m) noexcept {
    umint t0 = t[0], t1 = t[1], t2 = t[2], t3 = t[3], t4 = t[4], t5 = t[5], t6 = t[6], t7 = t[7];
    umint lo, hi;
    asm(KESH_EIGHT_ROWS(KESH_REDUCTION_ROW8) : KESH_ACCUMULATORS8 : [q] "r"(q), [m] "r"(m) : "rdx", "cc", "memory");
    c[0] = t0, c[1] = t1, c[2] = t2, c[3] = t3, c[4] = t4, c[5] = t5, c[6] = t6, c[7] = t7;
}

// clang-format off

/// (t0, ..., t4) += source rdx.
#define KESH_ROW4(source, t0, t1, t2, t3, t4)                                                              \
    "xor %k[lo], %k[lo]\n\t" KESH_STEP(source, 0, t0, t1) KESH_STEP(source, 8, t1, t2)                      \
        KESH_STEP(source, 16, t2, t3) KESH_STEP(source, 24, t3, t4)                                         \
    "mov $0, %k[lo]\n\t"                                                                                    \
    "adcx %[lo], %[" #t4 "]\n\t"

/// A row of the product and a row of the reduction, after which t0 is zero and free to be the top limb of the next row.
#define KESH_ROW_PAIR4(i, t0, t1, t2, t3, t4, t5)                                \
    "xor %k[" #t5 "], %k[" #t5 "]\n\t"                                           \
    "mov " #i "*8(%[b]), %%rdx\n\t" KESH_ROW4(a, t0, t1, t2, t3, t4)             \
    "adox %[lo], %[" #t5 "]\n\t adcx %[lo], %[" #t5 "]\n\t"                      \
    "mov %[" #t0 "], %%rdx\n\t imul %c[k](%[m]), %%rdx\n\t" KESH_ROW4(m, t0, t1, t2, t3, t4) \
    "adox %[lo], %[" #t5 "]\n\t adcx %[lo], %[" #t5 "]\n\t"

/// The limbs t4, t5, t0, t1 below the top limb t2 less m, unless that is negative.
#define KESH_REDUCE_ONCE4                                                       \
    "mov %[t4], %[lo]\n\t sub (%[m]), %[lo]\n\t"                               \
    "mov %[t5], %[hi]\n\t sbb 8(%[m]), %[hi]\n\t"                              \
    "mov %[t0], %%rdx\n\t sbb 16(%[m]), %%rdx\n\t"                             \
    "mov %[t1], %[t3]\n\t sbb 24(%[m]), %[t3]\n\t"                             \
    "sbb $0, %[t2]\n\t"                                                        \
    "cmovnc %[lo], %[t4]\n\t cmovnc %[hi], %[t5]\n\t"                          \
    "cmovnc %%rdx, %[t0]\n\t cmovnc %[t3], %[t1]\n\t"

// clang-format on

inline void multiply4(umint* r, const umint* a, const umint* b, const Modulus<4>& modulus) noexcept {
    umint t0 = 0, t1 = 0, t2 = 0, t3 = 0, t4 = 0, t5 = 0;
    umint lo, hi;
    static_assert(offsetof(Modulus<4>, m) == 0);
    asm(KESH_ROW_PAIR4(0, t0, t1, t2, t3, t4, t5) KESH_ROW_PAIR4(1, t1, t2, t3, t4, t5, t0)
            KESH_ROW_PAIR4(2, t2, t3, t4, t5, t0, t1) KESH_ROW_PAIR4(3, t3, t4, t5, t0, t1, t2) KESH_REDUCE_ONCE4
        : [t0] "+&r"(t0), [t1] "+&r"(t1), [t2] "+&r"(t2), [t3] "+&r"(t3), [t4] "+&r"(t4), [t5] "+&r"(t5),
          [lo] "=&r"(lo), [hi] "=&r"(hi)
        : [a] "r"(a), [b] "r"(b), [m] "r"(&modulus), [k] "i"(offsetof(Modulus<4>, k))
        : "rdx", "cc", "memory");
    r[0] = t4, r[1] = t5, r[2] = t0, r[3] = t1;
}

/// What the rows of multiply8 read, behind one pointer: registers for three there are not.
struct Operands8 {
    umint a[8], b[8], m[8], k;
};

// clang-format off

// NOLINTBEGIN(bugprone-macro-parentheses): the offsets are text for the assembler

/// (t0, ..., t9) += the eight limbs at `offset` rdx.
#define KESH_FULL_ROW8(offset, t0, t1, t2, t3, t4, t5, t6, t7, t8, t9)                      \
    "xor %k[lo], %k[lo]\n\t"                                                                \
    KESH_STEP(p, offset, t0, t1) KESH_STEP(p, offset + 8, t1, t2)                           \
    KESH_STEP(p, offset + 16, t2, t3) KESH_STEP(p, offset + 24, t3, t4)                     \
    KESH_STEP(p, offset + 32, t4, t5) KESH_STEP(p, offset + 40, t5, t6)                     \
    KESH_STEP(p, offset + 48, t6, t7) KESH_STEP(p, offset + 56, t7, t8)                     \
    "mov $0, %k[lo]\n\t"                                                                    \
    "adcx %[lo], %[" #t8 "]\n\t"                                                            \
    "adox %[lo], %[" #t9 "]\n\t"                                                            \
    "adcx %[lo], %[" #t9 "]\n\t"

/// A row of the product and a row of the reduction. t9 is zero before; t0 is zero afterwards and takes its place.
#define KESH_ROW_PAIR8(i, t0, t1, t2, t3, t4, t5, t6, t7, t8, t9)                           \
    "mov 64+8*" #i "(%[p]), %%rdx\n\t"                                                      \
    KESH_FULL_ROW8(0, t0, t1, t2, t3, t4, t5, t6, t7, t8, t9)                               \
    "mov 192(%[p]), %%rdx\n\t"                                                              \
    "imul %[" #t0 "], %%rdx\n\t"                                                            \
    KESH_FULL_ROW8(128, t0, t1, t2, t3, t4, t5, t6, t7, t8, t9)

// NOLINTEND(bugprone-macro-parentheses)
// clang-format on

/// Product and reduction in turns: the products are done while the reduction waits for its next q.
inline void multiply8(umint* r, const umint* a, const umint* b, const Modulus<8>& modulus) noexcept {
    static_assert(offsetof(Operands8, b) == 64 && offsetof(Operands8, m) == 128 && offsetof(Operands8, k) == 192);
    Operands8 operands;
    for (int i = 0; i < 8; ++i) {
        operands.a[i] = a[i];
        operands.b[i] = b[i];
        operands.m[i] = modulus.m[i];
    }
    operands.k = modulus.k;
    umint t0 = 0, t1 = 0, t2 = 0, t3 = 0, t4 = 0, t5 = 0, t6 = 0, t7 = 0, t8 = 0, t9 = 0;
    umint lo, hi;
    asm(KESH_ROW_PAIR8(0, t0, t1, t2, t3, t4, t5, t6, t7, t8, t9) KESH_ROW_PAIR8(
            1, t1, t2, t3, t4, t5, t6, t7, t8, t9, t0) KESH_ROW_PAIR8(2, t2, t3, t4, t5, t6, t7, t8, t9, t0, t1)
            KESH_ROW_PAIR8(3, t3, t4, t5, t6, t7, t8, t9, t0, t1, t2) KESH_ROW_PAIR8(
                4, t4, t5, t6, t7, t8, t9, t0, t1, t2, t3) KESH_ROW_PAIR8(5, t5, t6, t7, t8, t9, t0, t1, t2, t3, t4)
                KESH_ROW_PAIR8(6, t6, t7, t8, t9, t0, t1, t2, t3, t4, t5)
                    KESH_ROW_PAIR8(7, t7, t8, t9, t0, t1, t2, t3, t4, t5, t6)
        : KESH_ACCUMULATORS8, [t8] "+&r"(t8), [t9] "+&r"(t9)
        : [p] "r"(&operands)
        : "rdx", "cc", "memory");
    const umint t[8] = {t8, t9, t0, t1, t2, t3, t4, t5};
    reduce_once<8>(r, t, t6, modulus.m);
}

/// r[0 .. 7] += a; returns the carry.
inline umint add8(umint* r, const umint* a, umint carry_in = 0) noexcept {
    auto carry = static_cast<std::uint8_t>(carry_in);
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) carry = math_addcarry(carry, r[i], a[i], r[i]);
    return carry;
}

constexpr umint zero8[8] = {};

/// r = t / 2^1024 mod m, eight rows at a time. Precondition: t < m 2^1024. Destroys t.
inline void reduce(umint* r, umint* t, const Modulus<16>& modulus) noexcept {
    umint q[9], c[8], w[16];
    q[8] = modulus.k;
    reduce8(c, q, t, modulus.m);
    multiply_add8(w, c, modulus.m + 8, q);
    umint carry = add8(t + 8, w);
    umint top = add8(t + 16, w + 8, carry);

    reduce8(c, q, t + 8, modulus.m);
    multiply_add8(w, c, modulus.m + 8, q);
    carry = add8(t + 16, w);
    const umint ripple[8] = {top};
    top = add8(t + 24, ripple);
    top += add8(t + 24, w + 8, carry);
    reduce_once<16>(r, t + 16, top, modulus.m);
}

struct Adx {
    static inline void mul(umint* r, const umint* a, const umint* b, const Modulus<4>& modulus) noexcept {
        multiply4(r, a, b, modulus);
    }
    static inline void sqr(umint* r, const umint* a, const Modulus<4>& modulus) noexcept {
        multiply4(r, a, a, modulus);
    }

    static inline void mul(umint* r, const umint* a, const umint* b, const Modulus<8>& modulus) noexcept {
        multiply8(r, a, b, modulus);
    }
    static inline void sqr(umint* r, const umint* a, const Modulus<8>& modulus) noexcept {
        multiply8(r, a, a, modulus);
    }

    static inline void mul(umint* r, const umint* a, const umint* b, const Modulus<16>& modulus) noexcept {
        umint t[32], cross[16];
        multiply_add8(t, zero8, a, b);
        multiply_add8(t + 16, zero8, a + 8, b + 8);
        multiply_add8(cross, t + 8, a, b + 8);
        // The low half of a1 b0 + cross lands in t[8 .. 15], and both high halves are to be added from t[16] on.
        umint high[16];
        multiply_add8(high, cross, a + 8, b);
        for (int i = 0; i < 8; ++i) t[8 + i] = high[i];
        const umint carry = add8(high + 8, cross + 8);
        const umint ripple[8] = {carry + add8(t + 16, high + 8)};
        add8(t + 24, ripple);
        reduce(r, t, modulus);
    }
    /// a0^2 + 2 a0 a1 2^512 + a1^2 2^1024.
    static inline void sqr(umint* r, const umint* a, const Modulus<16>& modulus) noexcept {
        umint t[32], cross[16];
        multiply_add8(t, zero8, a, a);
        multiply_add8(t + 16, zero8, a + 8, a + 8);
        multiply_add8(cross, zero8, a, a + 8);
        umint twice[16];
#pragma GCC unroll 16
        for (int i = 0; i < 16; ++i) twice[i] = (cross[i] << 1) | (i > 0 ? cross[i - 1] >> 63 : 0);
        const umint carry = add8(t + 8, twice);
        const umint ripple[8] = {(cross[15] >> 63) + add8(t + 16, twice + 8, carry)};
        add8(t + 24, ripple);
        reduce(r, t, modulus);
    }
};

template <int n>
void mul(umint* r, const umint* a, const umint* b, const Modulus<n>& modulus) noexcept {
    Adx::mul(r, a, b, modulus);
}

template <int n>
void sqr(umint* r, const umint* a, const Modulus<n>& modulus) noexcept {
    Adx::sqr(r, a, modulus);
}

}  // namespace

template <int n>
const Routines<n>& adx_routines() noexcept {
    if constexpr (n == 2) {
        return portable_routines<n>();
    } else {
        static constexpr Routines<n> table = {mul<n>, sqr<n>, generic_pow2<n, Adx>, generic_lucas_ladder<n, Adx>};
        return table;
    }
}

template const Routines<2>& adx_routines<2>() noexcept;
template const Routines<4>& adx_routines<4>() noexcept;
template const Routines<8>& adx_routines<8>() noexcept;
template const Routines<16>& adx_routines<16>() noexcept;

}  // namespace kesh::kernel
