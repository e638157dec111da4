/**
 * @file   ifma.cpp
 * @brief  The power and the ladder with 52-bit multiply-adds on eight and four lanes (AVX-512 IFMA). README.md derives
 *         the form.
 */

#include "Shared/kernel/avx512.h"
#include "Shared/kernel/digit_shape.h"
#include "Shared/kernel/digits.h"
#include "Shared/kernel/routines.h"

namespace kesh::kernel {

namespace {

/** Registers of eight lanes and of four. (As template arguments, their types would lose the vector attribute.) */
struct Wide {
    using Register = __m512i;
};
struct Narrow {
    using Register = __m256i;
};

/** `count` registers of one kind. */
template <class Kind, int count>
struct Registers {
    using Register = typename Kind::Register;
    Register of[count];

    KESH_IFMA_INLINE Register& operator[](int i) noexcept {
        return of[i];
    }
    KESH_IFMA_INLINE const Register& operator[](int i) const noexcept {
        return of[i];
    }
};
/** No registers: for loops over none of them. */
template <class Kind>
struct Registers<Kind, 0> {
    KESH_IFMA_INLINE typename Kind::Register& operator[](int) const noexcept {
        __builtin_unreachable();
    }
};

/**
 * How a number of n limbs is cut into digits, and the digits into registers: `wide` registers of eight digits and,
 * above them, `narrow` ones of four. A processor that splits wide registers into halves passes narrow ones on sooner.
 */
template <int limbs, bool only_narrow>
struct Shape {
    static constexpr int n = limbs;
    static constexpr int bits = digit_bits;
    /** Digits of a number, and rows of a reduction: R' = 2^(52 digits) is at least 16 * 2^(64 n). */
    static constexpr int digits = (64 * n + 4 + digit_bits - 1) / digit_bits;
    static constexpr int wide = only_narrow ? 0 : (digits + 3) / 8;
    static constexpr int narrow = digits > 8 * wide ? (digits - 8 * wide + 3) / 4 : 0;
    /** R' / R = 2^doublings. */
    static constexpr int doublings = digit_bits * digits - 64 * n;

    static constexpr int place(int i) noexcept {
        return i;
    }

    /** The register with digit i: wide registers first. */
    static constexpr int register_of(int i) noexcept {
        return i < 8 * wide ? i / 8 : wide + (i - 8 * wide) / 4;
    }

    /** A number as 52-bit digits in memory, least significant first, with zeros up to a whole register. */
    struct alignas(64) Digits {
        umint digit[8 * wide + 4 * narrow];
    };

    struct Vector {
        Registers<Wide, wide> wides;
        Registers<Narrow, narrow> narrows;
    };
};

template <class S>
using Vector = typename S::Vector;

template <class S>
KESH_IFMA_INLINE Vector<S> load(const Digits<S>& a) noexcept {
    Vector<S> r;
    for (int z = 0; z < S::wide; ++z) r.wides[z] = _mm512_load_si512(a.digit + 8 * z);
    for (int z = 0; z < S::narrow; ++z)
        r.narrows[z] = _mm256_load_si256(reinterpret_cast<const __m256i*>(a.digit + 8 * S::wide + 4 * z));
    return r;
}

template <class S>
KESH_IFMA_INLINE void store(Digits<S>& r, const Vector<S>& a) noexcept {
    for (int z = 0; z < S::wide; ++z) _mm512_store_si512(r.digit + 8 * z, a.wides[z]);
    for (int z = 0; z < S::narrow; ++z)
        _mm256_store_si256(reinterpret_cast<__m256i*>(r.digit + 8 * S::wide + 4 * z), a.narrows[z]);
}

template <class S>
KESH_IFMA_INLINE Vector<S> zero() noexcept {
    Vector<S> r;
    for (int z = 0; z < S::wide; ++z) r.wides[z] = _mm512_setzero_si512();
    for (int z = 0; z < S::narrow; ++z) r.narrows[z] = _mm256_setzero_si256();
    return r;
}

/** The lowest digit, in the lowest lane. */
template <class S>
KESH_IFMA_INLINE __m128i lowest(const Vector<S>& a) noexcept {
    if constexpr (S::wide > 0) {
        return _mm512_castsi512_si128(a.wides[0]);
    } else {
        return _mm256_castsi256_si128(a.narrows[0]);
    }
}

/** The lowest lane of a, or a number, in all lanes of the largest register that the shape has. */
template <class S>
KESH_IFMA_INLINE auto all_lanes(__m128i a) noexcept {
    if constexpr (S::wide > 0) {
        return _mm512_broadcastq_epi64(a);
    } else {
        return _mm256_broadcastq_epi64(a);
    }
}
template <class S>
KESH_IFMA_INLINE auto all_lanes(umint a) noexcept {
    if constexpr (S::wide > 0) {
        return _mm512_set1_epi64(static_cast<long long>(a));
    } else {
        return _mm256_set1_epi64x(static_cast<long long>(a));
    }
}

KESH_IFMA_INLINE __m256i lower_half(__m512i a) noexcept {
    return _mm512_castsi512_si256(a);
}
KESH_IFMA_INLINE __m256i lower_half(__m256i a) noexcept {
    return a;
}
KESH_IFMA_INLINE __m512i whole(__m512i a) noexcept {
    return a;
}
KESH_IFMA_INLINE __m512i whole(__m256i a) noexcept {
    return _mm512_zextsi256_si512(a);
}

template <class S>
KESH_IFMA_INLINE Vector<S> add(const Vector<S>& a, const Vector<S>& b) noexcept {
    Vector<S> r;
    for (int z = 0; z < S::wide; ++z) r.wides[z] = _mm512_add_epi64(a.wides[z], b.wides[z]);
    for (int z = 0; z < S::narrow; ++z) r.narrows[z] = _mm256_add_epi64(a.narrows[z], b.narrows[z]);
    return r;
}

/** The low 52 bits of each lane, and the bits above them. */
template <class S>
KESH_IFMA_INLINE Vector<S> low_bits(const Vector<S>& a) noexcept {
    const auto mask = all_lanes<S>(digit_mask);
    Vector<S> r;
    for (int z = 0; z < S::wide; ++z) r.wides[z] = _mm512_and_si512(a.wides[z], whole(mask));
    for (int z = 0; z < S::narrow; ++z) r.narrows[z] = _mm256_and_si256(a.narrows[z], lower_half(mask));
    return r;
}
template <class S>
KESH_IFMA_INLINE Vector<S> high_bits(const Vector<S>& a) noexcept {
    Vector<S> r;
    for (int z = 0; z < S::wide; ++z) r.wides[z] = _mm512_srli_epi64(a.wides[z], digit_bits);
    for (int z = 0; z < S::narrow; ++z) r.narrows[z] = _mm256_srli_epi64(a.narrows[z], digit_bits);
    return r;
}

/** Lanes times 2^bits. */
template <class S>
KESH_IFMA_INLINE Vector<S> shifted(const Vector<S>& a, umint bits) noexcept {
    const __m128i count = _mm_cvtsi64_si128(static_cast<long long>(bits));
    Vector<S> r;
    for (int z = 0; z < S::wide; ++z) r.wides[z] = _mm512_sll_epi64(a.wides[z], count);
    for (int z = 0; z < S::narrow; ++z) r.narrows[z] = _mm256_sll_epi64(a.narrows[z], count);
    return r;
}

/** r = mask ? a : b, for a mask of all ones or zero. */
template <class S>
KESH_IFMA_INLINE Vector<S> select(__mmask8 mask, const Vector<S>& a, const Vector<S>& b) noexcept {
    Vector<S> r;
    for (int z = 0; z < S::wide; ++z) r.wides[z] = _mm512_mask_blend_epi64(mask, b.wides[z], a.wides[z]);
    for (int z = 0; z < S::narrow; ++z) r.narrows[z] = _mm256_mask_blend_epi64(mask, b.narrows[z], a.narrows[z]);
    return r;
}

/**
 * acc + the low, or the high, 52 bits of the products of a's digits with the digit in all lanes of b, in the registers
 * from the given one on.
 */
template <class S, int from = 0, class Register>
KESH_IFMA_INLINE Vector<S> add_low(Vector<S> acc, const Vector<S>& a, Register b) noexcept {
    for (int z = from; z < S::wide; ++z) acc.wides[z] = _mm512_madd52lo_epu64(acc.wides[z], a.wides[z], whole(b));
    for (int z = from > S::wide ? from - S::wide : 0; z < S::narrow; ++z)
        acc.narrows[z] = _mm256_madd52lo_epu64(acc.narrows[z], a.narrows[z], lower_half(b));
    return acc;
}
template <class S, int from = 0, class Register>
KESH_IFMA_INLINE Vector<S> add_high(Vector<S> acc, const Vector<S>& a, Register b) noexcept {
    for (int z = from; z < S::wide; ++z) acc.wides[z] = _mm512_madd52hi_epu64(acc.wides[z], a.wides[z], whole(b));
    for (int z = from > S::wide ? from - S::wide : 0; z < S::narrow; ++z)
        acc.narrows[z] = _mm256_madd52hi_epu64(acc.narrows[z], a.narrows[z], lower_half(b));
    return acc;
}

/** Every lane moved to the next lower place, and the bits above 52 of the lowest lane added there. */
template <class S>
KESH_IFMA_INLINE Vector<S> next_row(const Vector<S>& a) noexcept {
    Vector<S> r;
    __m256i above = _mm256_setzero_si256();
    for (int z = S::narrow - 1; z >= 0; --z) {
        r.narrows[z] = _mm256_alignr_epi64(above, a.narrows[z], 1);
        above = a.narrows[z];
    }
    __m512i wide_above = _mm512_zextsi256_si512(above);
    for (int z = S::wide - 1; z >= 0; --z) {
        r.wides[z] = _mm512_alignr_epi64(wide_above, a.wides[z], 1);
        wide_above = a.wides[z];
    }
    if constexpr (S::wide > 0) {
        r.wides[0] = _mm512_add_epi64(r.wides[0], _mm512_maskz_srli_epi64(1, a.wides[0], digit_bits));
    } else {
        r.narrows[0] = _mm256_add_epi64(r.narrows[0], _mm256_maskz_srli_epi64(1, a.narrows[0], digit_bits));
    }
    return r;
}

/** Every lane moved to the next higher place. */
template <class S>
KESH_IFMA_INLINE Vector<S> lanes_up(const Vector<S>& a) noexcept {
    Vector<S> r;
    __m512i wide_below = _mm512_setzero_si512();
    for (int z = 0; z < S::wide; ++z) {
        r.wides[z] = _mm512_alignr_epi64(a.wides[z], wide_below, 7);
        wide_below = a.wides[z];
    }
    __m256i below = _mm256_setzero_si256();
    for (int z = 0; z < S::narrow; ++z) {
        r.narrows[z] = _mm256_alignr_epi64(a.narrows[z], below, 3);
        below = a.narrows[z];
    }
    if constexpr (S::wide > 0 && S::narrow > 0) {
        const __m512i lowest = _mm512_zextsi256_si512(a.narrows[0]);
        r.narrows[0] = _mm512_castsi512_si256(_mm512_alignr_epi64(lowest, wide_below, 7));
    }
    return r;
}

/**
 * Carries the bits above 52 of each lane into the lane above. After one step a lane exceeds its digit by at most a
 * small carry; after two steps only if such a carry met a digit of all ones.
 */
template <class S>
KESH_IFMA_INLINE Vector<S> carry_step(const Vector<S>& a) noexcept {
    return add<S>(low_bits<S>(a), lanes_up<S>(high_bits<S>(a)));
}

/** Whether a lane has more than 52 bits. */
template <class S>
KESH_IFMA_INLINE bool has_carry(const Vector<S>& a) noexcept {
    __m256i narrow = _mm256_setzero_si256();
    for (int z = 0; z < S::narrow; ++z) narrow = _mm256_or_si256(narrow, a.narrows[z]);
    if constexpr (S::wide == 0) return _mm256_cmpgt_epu64_mask(narrow, all_lanes<S>(digit_mask)) != 0;
    __m512i all = _mm512_zextsi256_si512(narrow);
    for (int z = 0; z < S::wide; ++z) all = _mm512_or_si512(all, a.wides[z]);
    return _mm512_cmpgt_epu64_mask(all, _mm512_set1_epi64(static_cast<long long>(digit_mask))) != 0;
}

/**
 * The digits of a number in lanes of any size. Two steps suffice unless a carry meets a digit of all ones, and then
 * each further step moves that carry one lane up. Random numbers never need a third step. Moduli close to a power of 2
 * do, since the residues of powers of 2 and of small quotients have rows of equal digits: README.md has figures.
 */
template <class S>
KESH_IFMA_INLINE Vector<S> normalise(Vector<S> a) noexcept {
    a = carry_step<S>(carry_step<S>(a));
    while (has_carry<S>(a)) [[unlikely]]
        a = carry_step<S>(a);
    return a;
}

/** The digits of a in register z and, in the registers above, those of twice the number that a has there. */
template <class S, int z>
KESH_IFMA_INLINE Vector<S> square_factor(const Vector<S>& a) noexcept {
    Vector<S> upper = a;
    // NOLINTNEXTLINE(misc-redundant-expression): in some shapes both bounds are the same.
    for (int y = 0; y <= z && y < S::wide; ++y) upper.wides[y] = _mm512_setzero_si512();
    for (int y = 0; y <= z - S::wide; ++y) upper.narrows[y] = _mm256_setzero_si256();
    Vector<S> r = carry_step<S>(shifted<S>(upper, 1));
    if constexpr (z < S::wide) {
        r.wides[z] = a.wides[z];
    } else {
        r.narrows[z - S::wide] = a.narrows[z - S::wide];
    }
    return r;
}

/**
 * A product of two numbers / 2^(52 digits) modulo m, or a square, while its rows are added.
 *
 * Row i adds a b[i] and takes the lowest lane q; since m k = -1 + 2^52 mu, adding q m k makes that lane vanish, and all
 * that remains to be done is to add its carry and q mu one lane lower. High halves of q mu belong one lane higher and
 * wait for the next row's move. The last row adds (q k mod 2^52) m instead, because m k has one digit more than m.
 *
 * In a square, the digits of different registers meet once, and one of them is doubled.
 *
 * Latency: the next q waits for broadcast (1 cycle), multiply-add (4) and addition (1) of this one; the move to the
 * lower lanes (4) runs in parallel with the first two.
 */
template <class S, bool square>
class Product {
  public:
    /**
     * The first row. `digit` has the digits of the second factor; `first` has the lowest one in its lowest lane, so
     * that this row need not wait for memory.
     */
    KESH_IFMA_INLINE Product(const Vector<S>& a, __m128i first, const umint* digit) noexcept : a_(a), digit_(digit) {
        if constexpr (square) {
            factor_ = square_factor<S, 0>(a);
        } else {
            factor_ = a;
        }
        const auto b = all_lanes<S>(first);
        sum_ = add_low<S>(zero<S>(), factor_, b);
        next_ = add_high<S>(zero<S>(), factor_, b);
    }

    /** Ends row i - 1 and adds the products of row i. */
    template <int i>
    KESH_IFMA_INLINE void add_row(const Vector<S>& mu) noexcept {
        constexpr int from = square ? S::register_of(i) : 0;
        if constexpr (square && from != S::register_of(i - 1)) factor_ = square_factor<S, from>(a_);
        add_row_from<from>(i, mu);
    }

    /** The same with the factor as it is, for its registers from the given one on. */
    template <int from>
    KESH_IFMA_INLINE void add_row_from(int i, const Vector<S>& mu) noexcept {
        const auto q = low_52_bits(all_lanes<S>(lowest<S>(sum_)));
        const auto b = all_lanes<S>(digit_[i]);
        const Vector<S> moved = next_row<S>(sum_);
        sum_ = add<S>(add_low<S>(add_low<S, from>(next_, factor_, b), mu, q), moved);
        next_ = add_high<S>(add_high<S, from>(zero<S>(), factor_, b), mu, q);
        if constexpr (S::wide > 0) {
            in_turns(sum_.wides[0]);
        } else {
            in_turns(sum_.narrows[0]);
        }
    }

    /** Ends the last row. The lanes are not normalised. */
    KESH_IFMA_INLINE Vector<S> result(const Rows<S>& rows, const Vector<S>& m) const noexcept {
        const __m256i t = low_52_bits(_mm256_broadcastq_epi64(lowest<S>(sum_)));
        const __m256i k = _mm256_set1_epi64x(static_cast<long long>(rows.k));
        const __m256i product = _mm256_madd52lo_epu64(_mm256_setzero_si256(), t, k);
        const auto q = all_lanes<S>(_mm256_castsi256_si128(product));
        return add<S>(add_high<S>(next_, m, q), next_row<S>(add_low<S>(sum_, m, q)));
    }

  private:
    Vector<S> a_, factor_, sum_, next_;
    const umint* digit_;
};

/** Rows i, i + 1, ... of some products in turns. */
template <int i, class S, class... Products>
KESH_IFMA_INLINE void add_rows(const Vector<S>& mu, Products&... products) noexcept {
    if constexpr (i < S::digits) {
        (products.template add_row<i>(mu), ...);
        add_rows<i + 1, S>(mu, products...);
    }
}

/**
 * The residue a R of an internal form: its product with R mod m. The product of the numbers is below m R', since a is
 * below R' and R mod m below m, so that the reduced product is below 3 m.
 */
template <class S>
KESH_IFMA void from_internal(umint* r, const Vector<S>& a, const Rows<S>& rows, const Modulus<S::n>& modulus) noexcept {
    const Digits<S> one = to_digits<S>(modulus.r1);
    Product<S, false> product(a, lowest<S>(load<S>(one)), one.digit);
    const Vector<S> mu = load<S>(rows.mu);
    for (int i = 1; i < S::digits; ++i) product.template add_row_from<0>(i, mu);
    Digits<S> digits;
    store<S>(digits, normalise<S>(product.result(rows, load<S>(rows.m))));
    residue_of_digits<S>(r, digits, modulus);
}

template <class S>
KESH_IFMA void ifma_pow2(umint* x, const umint* e, const Modulus<S::n>& modulus) noexcept {
    static_assert(S::doublings >= 8, "README.md bounds the numbers of the power by this");
    const Rows<S> rows(modulus);
    umint one[S::n];
    to_internal<S>(one, modulus.r1, modulus);
    Digits<S> digits = to_digits<S>(one);
    const Vector<S> mu = load<S>(rows.mu), m = load<S>(rows.m);
    Vector<S> y = load<S>(digits);
    for (int i = bit_length<S::n>(e) - 1; i >= 0; --i) {
        Product<S, true> square(y, lowest<S>(y), digits.digit);
        add_rows<1, S>(mu, square);
        y = normalise<S>(shifted<S>(square.result(rows, m), bit_at(e, i)));
        store<S>(digits, y);
    }
    from_internal<S>(x, y, rows, modulus);
}

template <class S>
KESH_IFMA void ifma_lucas_ladder(umint* l, umint* h, const umint* a, const umint* e,
                                 const Modulus<S::n>& modulus) noexcept {
    const Rows<S> rows(modulus);
    const LadderStart<S> start(a, modulus);
    const Vector<S> minus_two = load<S>(start.minus_two), minus_a = load<S>(start.minus_a);
    const Vector<S> mu = load<S>(rows.mu), m = load<S>(rows.m);
    Digits<S> low_digits = start.two, high_digits = start.a;
    Vector<S> low = load<S>(low_digits), high = load<S>(high_digits);
    for (int i = bit_length<S::n>(e) - 1; i >= 0; --i) {
        const bool bit = bit_at(e, i) != 0;
        const auto mask = static_cast<__mmask8>(bit ? 0xFF : 0);
        const Vector<S> x = select<S>(mask, high, low);
        // Without this, clang++ takes each digit out of its register and selects it there.
        const umint* x_digits = bit ? high_digits.digit : low_digits.digit;
        __asm__("" : "+r"(x_digits));
        Product<S, false> product(low, lowest<S>(high), high_digits.digit);
        Product<S, true> square(x, lowest<S>(x), x_digits);
        add_rows<1, S>(mu, product, square);
        const Vector<S> mixed = normalise<S>(add<S>(product.result(rows, m), minus_a));
        const Vector<S> squared = normalise<S>(add<S>(square.result(rows, m), minus_two));
        low = select<S>(mask, mixed, squared);
        high = select<S>(mask, squared, mixed);
        store<S>(low_digits, low);
        store<S>(high_digits, high);
    }
    from_internal<S>(l, low, rows, modulus);
    from_internal<S>(h, high, rows, modulus);
}

}  // namespace

/** For a number of few digits the latency of the rows is longer than the time on two carry chains. */
constexpr int least_limbs_of_power = 6, least_limbs_of_ladder = 3;

/**
 * Two numbers in turns of more than 12 digits wait for the multiplier and not for each other's rows, and they need more
 * than the 32 registers if these are narrow.
 */
constexpr int most_limbs_of_narrow_ladder = 9;

template <int n>
using PowerShape = Shape<n, true>;
template <int n>
using LadderShape = Shape<n, n <= most_limbs_of_narrow_ladder>;

template <int n>
const Routines<n>& ifma_routines() noexcept {
    if constexpr (n < least_limbs_of_ladder) {
        return adx_routines<n>();
    } else if constexpr (n < least_limbs_of_power) {
        static const Routines<n> table = {adx_routines<n>().mont_mul, adx_routines<n>().mont_sqr,
                                          adx_routines<n>().pow2, ifma_lucas_ladder<LadderShape<n>>};
        return table;
    } else {
        static const Routines<n> table = {adx_routines<n>().mont_mul, adx_routines<n>().mont_sqr,
                                          ifma_pow2<PowerShape<n>>, ifma_lucas_ladder<LadderShape<n>>};
        return table;
    }
}

#define KESH_IFMA_ROUTINES(n) template const Routines<n>& ifma_routines<n>() noexcept;
KESH_FOR_EACH_WIDTH(KESH_IFMA_ROUTINES)
#undef KESH_IFMA_ROUTINES

}  // namespace kesh::kernel
