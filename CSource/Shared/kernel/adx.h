/**
 * @file   adx.h
 * @brief  Montgomery products for processors with BMI2 and ADX: the assembly from write_adx_products, as the
 *         `Arithmetic` of the loops in routines.h.
 */
#pragma once

#include <cstddef>

#include "Shared/kernel/routines.h"

#define KESH_DECLARE(n)                                                                                        \
    void kesh_adx_mul_##n(kesh::umint* r, const kesh::umint* a, const kesh::umint* b, const void* modulus,     \
                          const kesh::umint* not_c) noexcept;                                                  \
    void kesh_adx_sqr_##n(kesh::umint* r, const kesh::umint* a, const void* modulus, const kesh::umint* not_c, \
                          kesh::mint times) noexcept;
extern "C" {
KESH_FOR_EACH_WIDTH_ABOVE_2(KESH_DECLARE)
}
#undef KESH_DECLARE

namespace kesh::kernel {

/**
 * r = a b / R - c and r = a^2 / R - c modulo m, for any a and b below R and c below m. c is given by the limbs of
 * R - 1 - c, or by null for c = 0. r is below R and may be a or b.
 */
struct Adx {
    template <int n>
    static void mul(umint* r, const umint* a, const umint* b, const Modulus<n>& modulus,
                    const umint* not_c = nullptr) noexcept {
        assembly(r, a, b, modulus, in_assembly(modulus) ? not_c : nullptr);
        if (not_c != nullptr && !in_assembly(modulus)) subtract_residue<n>(r, not_c, modulus);
    }
    template <int n>
    static void sqr(umint* r, const umint* a, const Modulus<n>& modulus, const umint* not_c = nullptr) noexcept {
        assembly(r, a, modulus, in_assembly(modulus) ? not_c : nullptr, 1);
        if (not_c != nullptr && !in_assembly(modulus)) subtract_residue<n>(r, not_c, modulus);
    }
    /// r = r^2 / R modulo m, in place, `times` times one after another. Precondition: times > 0.
    template <int n>
    static void sqr_times(umint* r, mint times, const Modulus<n>& modulus) noexcept {
        assembly(r, r, modulus, nullptr, times);
    }

  private:
    /** Whether the assembly can subtract c: it cannot if the top limb of the modulus is all ones. */
    template <int n>
    static bool in_assembly(const Modulus<n>& modulus) noexcept {
        return modulus.complement[n - 1] != 0;
    }

#define KESH_DEFINE(n)                                                                            \
    static void assembly(umint* r, const umint* a, const umint* b, const Modulus<n>& modulus,     \
                         const umint* not_c) noexcept {                                           \
        kesh_adx_mul_##n(r, a, b, &modulus, not_c);                                               \
    }                                                                                             \
    static void assembly(umint* r, const umint* a, const Modulus<n>& modulus, const umint* not_c, \
                         mint times) noexcept {                                                   \
        kesh_adx_sqr_##n(r, a, &modulus, not_c, times);                                           \
    }
    KESH_FOR_EACH_WIDTH_ABOVE_2(KESH_DEFINE)
#undef KESH_DEFINE
};

/** Whether the members of a modulus are where the assembly reads them. */
template <int n>
constexpr bool modulus_as_assembled =
    offsetof(Modulus<n>, twice) == 0 && offsetof(Modulus<n>, m) == sizeof(umint) * n &&
    offsetof(Modulus<n>, zero) == sizeof(umint) * 2 * n && offsetof(Modulus<n>, complement) == sizeof(umint) * 3 * n &&
    offsetof(Modulus<n>, mu) == sizeof(umint) * 4 * n && offsetof(Modulus<n>, inverse) == sizeof(umint) * (6 * n + 1) &&
    offsetof(Modulus<n>, inverse_high) == sizeof(umint) * (6 * n + 2);

}  // namespace kesh::kernel
