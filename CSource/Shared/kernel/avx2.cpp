/**
 * @file   avx2.cpp
 * @brief  The power and the ladder for long numbers with 32-bit products on four lanes (AVX2). README.md derives the
 *         form.
 */

#include "Shared/kernel/avx2.h"

#include "Shared/kernel/digit_shape.h"
#include "Shared/kernel/routines.h"

namespace kesh::kernel {

namespace avx2_form {

namespace {

/** How a number of n limbs is cut into digits, and the digits into registers of four lanes: digit_shape.h. */
template <int limbs>
struct Shape {
    static constexpr int n = limbs;
    /** R' is at least 256 * 2^(64 n). */
    static constexpr int digits_needed(int size) noexcept {
        return (64 * n + 8 + size - 1) / size;
    }
    /** Columns with more than 28 digits of 30 bits would not fit into 64 bits. */
    static constexpr int bits = digits_needed(30) <= 28 ? 30 : 29;
    static constexpr int digits = digits_needed(bits);
    static constexpr int doublings = bits * digits - 64 * n;
    static constexpr int registers = (digits + 3) / 4;

    /** The next digit is in the same lane of the next register. */
    static constexpr int place(int i) noexcept {
        return i % registers * 4 + i / registers;
    }
    struct alignas(32) Digits {
        umint digit[4 * registers];
    };

    /** A number with columns of any size. */
    struct Columns {
        Vector of[registers];
    };

    /** What normalised digits stay below, and columns between two visits as the lowest one. */
    static constexpr umint2 digit_limit = (umint2{1} << bits) + 256;
    static constexpr umint2 column_limit = umint2{registers} * 2 * digit_limit * digit_limit + (umint2{1} << 36);
    static_assert(column_limit >> 64 == 0 && 2 * digit_limit >> 32 == 0);
};

template <class S>
using Columns = typename S::Columns;

template <class S>
KESH_AVX2_INLINE const Vector* vectors(const Digits<S>& a) noexcept {
    return reinterpret_cast<const Vector*>(a.digit);
}

/**
 * t += b a + q mu, moved up by `row` registers, in the registers z, z + 1, ... of a and mu. In a square, the register
 * with the digits of b's row is added once, those above it twice, and those below it are in rows of their own.
 */
template <class S, bool square, int row, int z = 0>
KESH_AVX2_INLINE void add_products(Columns<S>& t, Vector b, const Vector* a, Vector q, const Vector* mu) noexcept {
    if constexpr (z < S::registers) {
        constexpr int middle = row % S::registers;
        Vector& column = t.of[(row + z) % S::registers];
        if constexpr (!square || z >= middle) column = sum(column, product_with(b, a + z));
        if constexpr (square && z == middle) b = sum(b, b);
        column = sum(column, product_with(q, mu + z));
        sum_so_far(column);
        add_products<S, square, row, z + 1>(t, b, a, q, mu);
    }
}

/** Divides by 2^bits, when the digit of the lowest column, which is in register `row`, does not count any more. */
template <class S, int row>
KESH_AVX2_INLINE Vector next_digit(Columns<S>& t) noexcept {
    Vector &lowest = t.of[row], &next = t.of[(row + 1) % S::registers];
    next = sum(next, shifted_right<S::bits>(lowest));
    const Vector digit = bit_and(lowest, all_lanes(mask_of_digit<S>));
    lowest = lanes_down(digit);
    return lowest_lane(digit);
}

/** a b / R' modulo m, or a^2 / R' for b = a, while its rows are added. */
template <class S, bool square>
class Product {
  public:
    KESH_AVX2_INLINE Product(const Digits<S>& a, const Digits<S>& b) noexcept : a_(vectors<S>(a)), digit_(b.digit) {
        Vector first = all_lanes(*digit_);
#pragma GCC unroll 16
        for (int z = 0; z < S::registers; ++z) {
            t_.of[z] = product_with(first, a_ + z);
            if (square && z == 0) first = sum(first, first);
        }
    }

    /**
     * Row number `row` of a lane: with the digit q of the lowest column, adds q M with M = -1 + 2^bits mu, and divides
     * by 2^bits. The product with the next digit of the other factor is added here, too, since it does not wait for q.
     */
    template <int row>
    KESH_AVX2_INLINE void add_row(const Vector* mu) noexcept {
        constexpr std::size_t next = row + 1 < S::registers ? 4 * (row + 1) : 1;
        const Vector b = all_lanes(digit_[next]);
        const Vector q = next_digit<S, row>(t_);
        add_products<S, square, row + 1>(t_, b, a_, q, mu);
        if constexpr (row + 1 == S::registers) ++digit_;
    }

    /**
     * The columns after the last row, in the highest register digits. That row adds q m, because M has one digit more
     * than m.
     */
    KESH_AVX2_INLINE Columns<S> result(const Rows<S>& rows) noexcept {
        constexpr int last = (S::digits - 1) % S::registers;
        const Vector lowest = low_32_bits(lowest_lane(t_.of[last]));
        const Vector q = bit_and(product(lowest, all_lanes(rows.k)), all_lanes(mask_of_digit<S>));
        const Vector* m = vectors<S>(rows.m);
#pragma GCC unroll 16
        for (int z = 0; z < S::registers; ++z) {
            Vector& column = t_.of[(last + z) % S::registers];
            column = sum(column, product_with(q, m + z));
        }
        next_digit<S, last>(t_);
        Columns<S> r;
#pragma GCC unroll 16
        for (int z = 0; z < S::registers; ++z) r.of[z] = t_.of[(last + 1 + z) % S::registers];
        return r;
    }

  private:
    Columns<S> t_;
    const Vector* a_;
    const umint* digit_;
};

/** The rows `row` to end - 1 of a lane, of some products in turns. */
template <class S, int row, int end, class... Products>
KESH_AVX2_INLINE void add_rows(const Vector* mu, Products&... products) noexcept {
    if constexpr (row < end) {
        (products.template add_row<row>(mu), ...);
        add_rows<S, row + 1, end>(mu, products...);
    }
}

/** All rows of some products except the last. */
template <class S, class... Products>
KESH_AVX2_INLINE void add_all_rows(const Rows<S>& rows, Products&... products) noexcept {
    const Vector* mu = vectors<S>(rows.mu);
    constexpr int lanes = (S::digits - 1) / S::registers;
#pragma GCC unroll 1
    for (int lane = 0; lane < lanes; ++lane) add_rows<S, 0, S::registers>(mu, products...);
    add_rows<S, 0, (S::digits - 1) % S::registers>(mu, products...);
}

/** The digits of `low`, and in the next column each of the carries. */
template <class S>
KESH_AVX2_INLINE Columns<S> carried(const Columns<S>& low, const Columns<S>& carry) noexcept {
    const Vector mask = all_lanes(mask_of_digit<S>);
    Columns<S> r;
    r.of[0] = sum(bit_and(low.of[0], mask), lanes_up(carry.of[S::registers - 1]));
#pragma GCC unroll 16
    for (int z = 1; z < S::registers; ++z) r.of[z] = sum(bit_and(low.of[z], mask), carry.of[z - 1]);
    return r;
}

/** 2^shift t, in digits below digit_limit: two steps of carrying. Precondition: shift is 0 or 1. */
template <class S>
KESH_AVX2_INLINE Columns<S> doubled_if(const Columns<S>& t, int shift) noexcept {
    Columns<S> low, carry;
#pragma GCC unroll 16
    for (int z = 0; z < S::registers; ++z) {
        low.of[z] = shifted_left(t.of[z], shift);
        carry.of[z] = shifted_right(t.of[z], S::bits - shift);
    }
    const Columns<S> digits = carried<S>(low, carry);
#pragma GCC unroll 16
    for (int z = 0; z < S::registers; ++z) carry.of[z] = shifted_right<S::bits>(digits.of[z]);
    return carried<S>(digits, carry);
}

/**
 * t + c in digits below digit_limit, for the columns t of a result. Each lane carries from register to register. The
 * highest register of a result has digits, so that a few bits leave it, and they stay in the next lane of the lowest
 * one. This takes fewer instructions than two steps of carrying, and more time for one number alone.
 */
template <class S>
KESH_AVX2_INLINE Columns<S> sum_of_digits(Columns<S> t, const Digits<S>& c) noexcept {
    const Vector mask = all_lanes(mask_of_digit<S>);
    Vector carry = all_lanes(0);
#pragma GCC unroll 16
    for (int z = 0; z < S::registers; ++z) {
        t.of[z] = sum(t.of[z], vectors<S>(c)[z]);
        if (z > 0) t.of[z] = sum(t.of[z], carry);
        carry = shifted_right<S::bits>(t.of[z]);
        t.of[z] = bit_and(t.of[z], mask);
    }
    t.of[0] = sum(t.of[0], lanes_up(carry));
    return t;
}

template <class S>
KESH_AVX2_INLINE void store_digits(Digits<S>& r, const Columns<S>& t) noexcept {
#pragma GCC unroll 16
    for (int z = 0; z < S::registers; ++z) store(r.digit + 4 * z, t.of[z]);
}

/** The residue a R of an internal form. The product of a < R' and R mod m is below m R', and reduced below 3 m. */
template <class S>
KESH_AVX2 void from_internal(umint* r, const Digits<S>& a, const Rows<S>& rows, const Modulus<S::n>& modulus) noexcept {
    const Digits<S> one = to_digits<S>(modulus.r1);
    Product<S, false> product(a, one);
    add_all_rows<S>(rows, product);
    Digits<S> digits;
    store_digits<S>(digits, product.result(rows));
    residue_of_digits<S>(r, digits, modulus);
}

template <class S>
KESH_AVX2 void power(umint* x, const umint* e, const Modulus<S::n>& modulus) noexcept {
    const Rows<S> rows(modulus);
    umint one[S::n];
    to_internal<S>(one, modulus.r1, modulus);
    Digits<S> y = to_digits<S>(one);
    for (int i = bit_length<S::n>(e) - 1; i >= 0; --i) {
        Product<S, true> square(y, y);
        add_all_rows<S>(rows, square);
        store_digits<S>(y, doubled_if<S>(square.result(rows), static_cast<int>(bit_at(e, i))));
    }
    from_internal<S>(x, y, rows, modulus);
}

/** other = other x / R' + c and x = x^2 / R' + d, in turns. Inlined, it takes g++ 12 1 to 2 % more time. */
template <class S>
KESH_AVX2 __attribute__((noinline)) void ladder_step(Digits<S>& other, Digits<S>& x, const Digits<S>& c,
                                                     const Digits<S>& d, const Rows<S>& rows) noexcept {
    Product<S, true> square(x, x);
    Product<S, false> product(other, x);
    add_all_rows<S>(rows, square, product);
    store_digits<S>(other, sum_of_digits<S>(product.result(rows), c));
    store_digits<S>(x, sum_of_digits<S>(square.result(rows), d));
}

template <class S>
void ladder(umint* l, umint* h, const umint* a, const umint* e, const Modulus<S::n>& modulus) noexcept {
    const Rows<S> rows(modulus);
    const LadderStart<S> start(a, modulus);
    Digits<S> pair[2] = {start.two, start.a};
    for (int i = bit_length<S::n>(e) - 1; i >= 0; --i) {
        const umint bit = bit_at(e, i);
        ladder_step<S>(pair[1 - bit], pair[bit], start.minus_a, start.minus_two, rows);
    }
    from_internal<S>(l, pair[0], rows, modulus);
    from_internal<S>(h, pair[1], rows, modulus);
}

}  // namespace

}  // namespace avx2_form

template <int n>
void avx2_pow2(umint* x, const umint* e, const Modulus<n>& modulus) noexcept {
    avx2_form::power<avx2_form::Shape<n>>(x, e, modulus);
}

template <int n>
void avx2_lucas_ladder(umint* l, umint* h, const umint* a, const umint* e, const Modulus<n>& modulus) noexcept {
    avx2_form::ladder<avx2_form::Shape<n>>(l, h, a, e, modulus);
}

#define KESH_AVX2_POWER(n) template void avx2_pow2<n>(umint*, const umint*, const Modulus<n>&) noexcept;
KESH_FOR_EACH_WIDTH_ABOVE_10(KESH_AVX2_POWER)
#undef KESH_AVX2_POWER

#define KESH_AVX2_LADDER(n) \
    template void avx2_lucas_ladder<n>(umint*, umint*, const umint*, const umint*, const Modulus<n>&) noexcept;
KESH_FOR_EACH_WIDTH_ABOVE_4(KESH_AVX2_LADDER)
#undef KESH_AVX2_LADDER

}  // namespace kesh::kernel
