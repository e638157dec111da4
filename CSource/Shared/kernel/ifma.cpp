/**
 * @file   ifma.cpp
 * @brief  The power and the ladder with 52-bit multiply-adds on eight lanes (AVX-512 IFMA). README.md derives the form.
 */

#include "Shared/kernel/avx512.h"
#include "Shared/kernel/portable.h"
#include "Shared/kernel/routines.h"

namespace kesh::kernel {

namespace {

constexpr int digit_bits = 52;
constexpr umint digit_mask = (umint{1} << digit_bits) - 1;

/**
 * Digits of a number below 2^(64 n + 52) and a few bits more; also the number of reduction rows, so that the internal
 * R is 2^(52 digits).
 */
template <int n>
constexpr int digits = (64 * n + digit_bits) / digit_bits + 1;

/** R' / (2^52 R) = 2^doublings, for R' = 2^(52 digits): 4 at 4 limbs, more at all other sizes. */
template <int n>
constexpr int doublings = digit_bits * (digits<n> - 1) - 64 * n;

/** 512-bit registers that hold those digits. */
template <int n>
constexpr int registers = (digits<n> + 7) / 8;

/** A number as 52-bit digits in memory, least significant first, with zeros up to a whole register. */
template <int n>
struct alignas(64) Digits {
    umint digit[8 * registers<n>];
};

template <int n>
struct Vector {
    __m512i part[registers<n>];
};

/** r = value 2^(52 up), for a value of `count` limbs. */
template <int n>
void to_digits(Digits<n>& r, const umint* value, int count, int up) noexcept {
    for (umint& digit : r.digit) digit = 0;
    for (int i = 0; i * digit_bits < 64 * count; ++i) {
        const int limb = i * digit_bits / 64, offset = i * digit_bits % 64;
        umint digit = value[limb] >> offset;
        if (offset > 64 - digit_bits && limb + 1 < count) digit |= value[limb + 1] << (64 - offset);
        r.digit[i + up] = digit & digit_mask;
    }
}

/** The n + 1 limbs of a number of normalised digits. */
template <int n>
void from_digits(umint* r, const Digits<n>& value) noexcept {
    for (int i = 0; i <= n; ++i) r[i] = 0;
    for (int i = 0; i < digits<n>; ++i) {
        const int limb = i * digit_bits / 64, offset = i * digit_bits % 64;
        r[limb] |= value.digit[i] << offset;
        if (offset > 64 - digit_bits && limb < n) r[limb + 1] |= value.digit[i] >> (64 - offset);
    }
}

template <int n>
KESH_IFMA_INLINE Vector<n> load(const Digits<n>& a) noexcept {
    Vector<n> r;
    for (int z = 0; z < registers<n>; ++z) r.part[z] = _mm512_load_si512(a.digit + 8 * z);
    return r;
}

template <int n>
KESH_IFMA_INLINE void store(Digits<n>& r, const Vector<n>& a) noexcept {
    for (int z = 0; z < registers<n>; ++z) _mm512_store_si512(r.digit + 8 * z, a.part[z]);
}

template <int n>
KESH_IFMA_INLINE Vector<n> add(const Vector<n>& a, const Vector<n>& b) noexcept {
    Vector<n> r;
    for (int z = 0; z < registers<n>; ++z) r.part[z] = _mm512_add_epi64(a.part[z], b.part[z]);
    return r;
}

/** r = mask ? a : b, for a mask of all ones or zero. */
template <int n>
KESH_IFMA_INLINE Vector<n> select(__mmask8 mask, const Vector<n>& a, const Vector<n>& b) noexcept {
    Vector<n> r;
    for (int z = 0; z < registers<n>; ++z) r.part[z] = _mm512_mask_blend_epi64(mask, b.part[z], a.part[z]);
    return r;
}

/** acc + the low, or the high, 52 bits of the products of a's digits with the digit in all lanes of b. */
template <int n>
KESH_IFMA_INLINE Vector<n> add_low(Vector<n> acc, const Vector<n>& a, __m512i b) noexcept {
    for (int z = 0; z < registers<n>; ++z) acc.part[z] = _mm512_madd52lo_epu64(acc.part[z], a.part[z], b);
    return acc;
}
template <int n>
KESH_IFMA_INLINE Vector<n> add_high(Vector<n> acc, const Vector<n>& a, __m512i b) noexcept {
    for (int z = 0; z < registers<n>; ++z) acc.part[z] = _mm512_madd52hi_epu64(acc.part[z], a.part[z], b);
    return acc;
}

/** Every lane moved to the next lower, or the next higher, place. */
template <int n>
KESH_IFMA_INLINE Vector<n> lanes_down(const Vector<n>& a) noexcept {
    Vector<n> r;
    for (int z = 0; z < registers<n>; ++z)
        r.part[z] = _mm512_alignr_epi64(z + 1 < registers<n> ? a.part[z + 1] : _mm512_setzero_si512(), a.part[z], 1);
    return r;
}
template <int n>
KESH_IFMA_INLINE Vector<n> lanes_up(const Vector<n>& a) noexcept {
    Vector<n> r;
    for (int z = 0; z < registers<n>; ++z)
        r.part[z] = _mm512_alignr_epi64(a.part[z], z > 0 ? a.part[z - 1] : _mm512_setzero_si512(), 7);
    return r;
}

/**
 * Carries the bits above 52 of each lane into the lane above. After one step a lane exceeds its digit by at most a
 * small carry; after two steps only if such a carry met a digit of all ones.
 */
template <int n>
KESH_IFMA_INLINE Vector<n> carry_step(const Vector<n>& a) noexcept {
    const __m512i mask = _mm512_set1_epi64(static_cast<long long>(digit_mask));
    Vector<n> low, high;
    for (int z = 0; z < registers<n>; ++z) {
        high.part[z] = _mm512_srli_epi64(a.part[z], digit_bits);
        low.part[z] = _mm512_and_si512(a.part[z], mask);
    }
    return add<n>(low, lanes_up<n>(high));
}

/**
 * The digits of a number in lanes of any size. Two steps suffice unless a carry meets a digit of all ones, and then
 * each further step moves that carry one lane up. Random numbers never need a third step. Moduli close to a power of 2
 * do, since the residues of powers of 2 and of small quotients have rows of equal digits: README.md has figures.
 */
template <int n>
KESH_IFMA_INLINE Vector<n> normalise(Vector<n> a) noexcept {
    a = carry_step<n>(carry_step<n>(a));
    __m512i all = a.part[0];
    for (int z = 1; z < registers<n>; ++z) all = _mm512_or_si512(all, a.part[z]);
    while (_mm512_cmpgt_epu64_mask(all, _mm512_set1_epi64(static_cast<long long>(digit_mask))) != 0) [[unlikely]] {
        a = carry_step<n>(a);
        all = a.part[0];
        for (int z = 1; z < registers<n>; ++z) all = _mm512_or_si512(all, a.part[z]);
    }
    return a;
}

/**
 * a b / 2^(52 digits) modulo m, with lanes that are not normalised. `digit` holds b's digits; `mu` is the modulus's
 * mu. Row i adds a b[i] and takes the lowest lane q; since m k = -1 + 2^52 mu, adding q m k makes that lane vanish,
 * and all that remains to be done is to add its carry and q mu one lane lower.
 *
 * Latency: the next q waits for broadcast (2 cycles), multiply-add (4) and addition (1) of this one; the move to the
 * lower lanes (5) runs in parallel with the first two. High halves of q mu belong one lane higher and wait for the next
 * row's move.
 */
template <int n, int count>
KESH_IFMA_INLINE void products(Vector<n> (&r)[count], const Vector<n> (&a)[count], const Vector<n> (&first)[count],
                               const umint* const (&digit)[count], const Vector<n>& mu) noexcept {
    Vector<n> acc[count], next[count];
    for (int c = 0; c < count; ++c) {
        const __m512i b = _mm512_broadcastq_epi64(_mm512_castsi512_si128(first[c].part[0]));
        acc[c] = add_low<n>(Vector<n>{}, a[c], b);
        next[c] = add_high<n>(Vector<n>{}, a[c], b);
    }
#pragma GCC unroll 32
    for (int i = 1; i <= digits<n>; ++i) {
        for (int c = 0; c < count; ++c) {
            const __m512i q = low_52_bits(_mm512_broadcastq_epi64(_mm512_castsi512_si128(acc[c].part[0])));
            const __m512i carry = _mm512_maskz_srli_epi64(1, acc[c].part[0], digit_bits);
            Vector<n> moved = lanes_down<n>(acc[c]);
            moved.part[0] = _mm512_add_epi64(moved.part[0], carry);
            if (i < digits<n>) {
                const __m512i b = _mm512_set1_epi64(static_cast<long long>(digit[c][i]));
                acc[c] = add<n>(add_low<n>(add_low<n>(next[c], a[c], b), mu, q), moved);
                next[c] = add_high<n>(add_high<n>(Vector<n>{}, a[c], b), mu, q);
            } else {
                acc[c] = add<n>(add_low<n>(next[c], mu, q), moved);
                r[c] = add<n>(acc[c], lanes_up<n>(add_high<n>({}, mu, q)));
            }
        }
    }
}

/** The parts of a modulus that the rows need: mu = (m k + 1) / 2^52 with k = -1/m mod 2^52. */
template <int n>
Digits<n> make_mu(const Modulus<n>& modulus) noexcept {
    const umint k = modulus.k & digit_mask;
    umint product[n + 1];
    product[n] = add_product_row<n>(product, modulus.zero, modulus.m, k, 1);
    shift_right<n + 1>(product, product, digit_bits);
    Digits<n> mu;
    to_digits<n>(mu, product, n, 0);
    return mu;
}

/** The internal form of a residue a R: doublings and a move by one digit. */
template <int n>
Digits<n> to_internal(const umint* a, const Modulus<n>& modulus) noexcept {
    umint x[n];
    for (int i = 0; i < n; ++i) x[i] = a[i];
    for (int i = 0; i < doublings<n>; ++i) double_if<n>(x, 1, modulus.m);
    Digits<n> r;
    to_digits<n>(r, x, n, 1);
    return r;
}

/**
 * The residue a R of an internal form. The product with 2^52 R mod m is congruent to a 2^52 R. It is below
 * (2^52 + 2^50) m: M = m k is below 2^52 m, and the operands below 4 * 2^(64 n + 52) and 2^52 m add at most 2^50 m
 * (see the bounds in README.md). One row of 64 bits divides it by 2^64 and adds less than m, so that one subtraction
 * makes it a residue, also of a small m. The last product with 2^12 R mod m restores the factors.
 */
template <int n>
KESH_IFMA void from_internal(umint* r, const Vector<n>& a, const Vector<n>& mu, const Modulus<n>& modulus) noexcept {
    Digits<n> factor, product;
    to_digits<n>(factor, modulus.r1, n, 1);
    Vector<n> wide[1];
    products<n, 1>(wide, {a}, {load<n>(factor)}, {factor.digit}, mu);
    store<n>(product, normalise<n>(wide[0]));
    umint t[n + 1];
    from_digits<n>(t, product);
    const umint high = add_product_row<n>(t, t, modulus.m, t[0] * modulus.k);
    const umint top = math_addcarry(0, t[n], high, t[n]);
    umint x[n], scale[n];
    reduce_once<n>(x, t + 1, top, modulus.m);
    for (int i = 0; i < n; ++i) scale[i] = modulus.r1[i];
    for (int i = 0; i < 64 - digit_bits; ++i) double_if<n>(scale, 1, modulus.m);
    reduced_mul<n, Portable>(r, scale, x, modulus);
}

template <int n>
KESH_IFMA void ifma_pow2(umint* x, const umint* e, const Modulus<n>& modulus) noexcept {
    const Vector<n> mu = load<n>(make_mu<n>(modulus));
    Digits<n> memory = to_internal<n>(modulus.r1, modulus);
    Vector<n> y[1] = {load<n>(memory)};
    for (int i = bit_length<n>(e) - 1; i >= 0; --i) {
        products<n, 1>(y, {y[0]}, {y[0]}, {memory.digit}, mu);
        const __m128i doubling = _mm_cvtsi64_si128(static_cast<long long>(bit_at(e, i)));
        for (__m512i& part : y[0].part) part = _mm512_sll_epi64(part, doubling);
        y[0] = normalise<n>(y[0]);
        store<n>(memory, y[0]);
    }
    from_internal<n>(x, y[0], mu, modulus);
}

/** The internal form of -a for a residue a R. */
template <int n>
Digits<n> to_internal_negated(const umint* a, const Modulus<n>& modulus) noexcept {
    const umint zero[n] = {};
    umint negated[n];
    subtract_mod<n>(negated, zero, a, modulus.m);
    return to_internal<n>(negated, modulus);
}

template <int n>
KESH_IFMA void ifma_lucas_ladder(umint* l, umint* h, const umint* a, const umint* e,
                                 const Modulus<n>& modulus) noexcept {
    const Vector<n> mu = load<n>(make_mu<n>(modulus));
    umint two[n];
    for (int i = 0; i < n; ++i) two[i] = modulus.r1[i];
    double_if<n>(two, 1, modulus.m);
    const Vector<n> minus_two = load<n>(to_internal_negated<n>(two, modulus));
    const Vector<n> minus_a = load<n>(to_internal_negated<n>(a, modulus));
    Digits<n> low_digits = to_internal<n>(two, modulus), high_digits = to_internal<n>(a, modulus);
    Vector<n> low = load<n>(low_digits), high = load<n>(high_digits);
    for (int i = bit_length<n>(e) - 1; i >= 0; --i) {
        const bool bit = bit_at(e, i) != 0;
        const auto mask = static_cast<__mmask8>(bit ? 0xFF : 0);
        Vector<n> r[2];
        const Vector<n> squared = select<n>(mask, high, low);
        products<n, 2>(r, {low, squared}, {high, squared},
                       {high_digits.digit, bit ? high_digits.digit : low_digits.digit}, mu);
        const Vector<n> product = normalise<n>(add<n>(r[0], minus_a));
        const Vector<n> square = normalise<n>(add<n>(r[1], minus_two));
        low = select<n>(mask, product, square);
        high = select<n>(mask, square, product);
        store<n>(low_digits, low);
        store<n>(high_digits, high);
    }
    from_internal<n>(l, low, mu, modulus);
    from_internal<n>(h, high, mu, modulus);
}

}  // namespace

/**
 * For a single number of few digits the latency of the reduction, about ten cycles per row and 35 at the end, is longer
 * than the time on two carry chains. Two numbers side by side hide each other's latency.
 */
constexpr int least_limbs_of_power = 9, least_limbs_of_ladder = 3;

template <int n>
const Routines<n>& ifma_routines() noexcept {
    if constexpr (n < least_limbs_of_ladder) {
        return adx_routines<n>();
    } else if constexpr (n < least_limbs_of_power) {
        static const Routines<n> table = {adx_routines<n>().mont_mul, adx_routines<n>().mont_sqr,
                                          adx_routines<n>().pow2, ifma_lucas_ladder<n>};
        return table;
    } else {
        static const Routines<n> table = {adx_routines<n>().mont_mul, adx_routines<n>().mont_sqr, ifma_pow2<n>,
                                          ifma_lucas_ladder<n>};
        return table;
    }
}

#define KESH_IFMA_ROUTINES(n) template const Routines<n>& ifma_routines<n>() noexcept;
KESH_FOR_EACH_WIDTH(KESH_IFMA_ROUTINES)
#undef KESH_IFMA_ROUTINES

}  // namespace kesh::kernel
