/// @file   product.h
/// @brief  The products that the integer engine uses: by columns on any processor, by rows where the processor has BMI2
/// and ADX.
///
/// Both return the same bits. The wider products are functions of their own, not inlined: a call costs nothing beside
/// them.
#pragma once

#include "Shared/kernel/adx_rows.h"
#include "Shared/kernel/columns.h"

namespace kesh::kernel {

namespace detail {

template <std::size_t n>
[[gnu::noinline]] inline void full_product_outlined(umint* lo, umint* hi, const umint* a, const umint* b) noexcept {
    full_product_columns<n>(lo, hi, a, b);
}

template <std::size_t n>
[[gnu::noinline]] inline void low_product_outlined(umint* lo, const umint* a, const umint* b) noexcept {
    low_product_columns<n>(lo, a, b);
}

template <std::size_t n>
[[gnu::noinline]] inline void montgomery_product_outlined(umint* r, const umint* a, const umint* b, const umint* m,
                                                          umint k0) noexcept {
    montgomery_product_columns<n>(r, a, b, m, k0);
}

}  // namespace detail

/// hi:lo = a b, of n limbs each. lo and hi must not overlap a or b.
template <std::size_t n>
inline void full_product(umint* lo, umint* hi, const umint* a, const umint* b) noexcept {
    if constexpr (n == 2) {
        full_product_columns<n>(lo, hi, a, b);
    } else {
#if defined(__x86_64__)
        if (processor_has_adx()) {
            if constexpr (n == 4) multiply4(lo, hi, a, b);
            if constexpr (n == 8) multiply8(lo, hi, a, b);
            if constexpr (n == 16) multiply16(lo, hi, a, b);
            return;
        }
#endif
        detail::full_product_outlined<n>(lo, hi, a, b);
    }
}

/// lo = a b modulo 2^(64 n). lo must not overlap a or b.
template <std::size_t n>
inline void low_product(umint* lo, const umint* a, const umint* b) noexcept {
    if constexpr (n <= 4)
        low_product_columns<n>(lo, a, b);
    else
        detail::low_product_outlined<n>(lo, a, b);
}

/// r = a b R^(-1) mod m, R = 2^(64 n), k0 = -m^(-1) mod 2^64. Precondition: a b < m R. r may be a or b.
template <std::size_t n>
inline void montgomery_product(umint* r, const umint* a, const umint* b, const umint* m, umint k0) noexcept {
    if constexpr (n == 2) {
        montgomery_product_columns<n>(r, a, b, m, k0);
    } else {
#if defined(__x86_64__)
        if (processor_has_adx()) {
            if constexpr (n == 4) montgomery_product4(r, a, b, m, k0);
            if constexpr (n == 8) montgomery_product8(r, a, b, m, k0);
            if constexpr (n == 16) montgomery_product16(r, a, b, m, k0);
            return;
        }
#endif
        detail::montgomery_product_outlined<n>(r, a, b, m, k0);
    }
}

}  // namespace kesh::kernel
