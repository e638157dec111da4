/**
 * @file   portable.h
 * @brief  Montgomery products column by column, for any processor. README.md derives the reduction.
 */
#pragma once

#include <cstddef>

#include "Shared/intx/columns.h"
#include "Shared/kernel/limbs.h"
#include "Shared/kernel/routines.h"

namespace kesh::kernel {

using detail::Column;

struct Portable {
    template <int n>
    static inline void mul(umint* r, const umint* a, const umint* b, const Modulus<n>& modulus,
                           const umint* not_c = nullptr) noexcept {
        reduce<n>(r, modulus, not_c, [a, b](Column& sum, int k) __attribute__((always_inline)) {
#pragma GCC unroll 16
            for (int i = k < n ? 0 : k - n + 1; i <= (k < n ? k : n - 1); ++i) sum.add_product(a[i], b[k - i]);
        });
    }

    /** Column k of the square is twice the products a[i] a[k - i], i < k - i, plus the square of the middle limb. */
    template <int n>
    static inline void sqr(umint* r, const umint* a, const Modulus<n>& modulus, const umint* not_c = nullptr) noexcept {
        reduce<n>(r, modulus, not_c, [a](Column& sum, int k) __attribute__((always_inline)) {
            Column mixed;
#pragma GCC unroll 16
            for (int i = k < n ? 0 : k - n + 1; i < k - i; ++i) mixed.add_product(a[i], a[k - i]);
            sum.add_twice(mixed);
            if (k % 2 == 0) sum.add_product(a[k / 2], a[k / 2]);
        });
    }

  private:
    /**
     * r = t / R - c modulo m for a t below R^2, where add_column(sum, k) adds column k of t to a sum. Columns 0 to n -
     * 2 give the quotients of n - 1 rows with mu, column n - 1 that of the last row with the complement.
     */
    template <int n, class AddColumn>
    static inline __attribute__((always_inline)) void reduce(umint* r, const Modulus<n>& modulus, const umint* not_c,
                                                             AddColumn add_column) noexcept {
        umint q[n], t[n];
        Column sum;
#pragma GCC unroll 32
        for (int k = 0; k < 2 * n - 1; ++k) {
            add_column(sum, k);
#pragma GCC unroll 16
            for (int i = k < n ? 0 : k - n; i < (k < n - 1 ? k : n - 1); ++i)
                sum.add_product(q[i], modulus.mu[k - 1 - i]);
            if (k < n - 1) {
                q[k] = sum.shift();
                continue;
            }
            if (k == n - 1) q[k] = sum.c0 * modulus.inverse;
            sum.add_product(q[n - 1], modulus.complement[k - n + 1]);
            const umint limb = sum.shift();
            if (k >= n) t[k - n] = limb;
        }
        const std::uint8_t borrow = math_subborrow(0, sum.c0, q[n - 1], t[n - 1]);
        // The carry is 1 if the sum exceeds R, and -1 if it is negative. m is before zero, and R - m after it: the
        // address is computed from the whole object, because an index must not leave its array.
        const auto* const zero =
            reinterpret_cast<const umint*>(reinterpret_cast<const char*>(&modulus) + offsetof(Modulus<n>, zero));
        const umint* correction = zero + n * (static_cast<mint>(sum.c1) - borrow);
        add_limbs<n>(r, t, correction);
        if (not_c != nullptr) subtract_residue<n>(r, not_c, modulus);
    }
};

}  // namespace kesh::kernel
