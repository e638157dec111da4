/**
 * @file   division.h
 * @brief  Division in all its forms against GMP, and the shape of the reciprocal series.
 */
#pragma once

#include <bit>

#include "Shared/fastdiv.h"
#include "support/agreement.h"

namespace kesh::test {

template <engine_word T>
inline constexpr int log2_width = std::countr_zero(static_cast<umint>(width_v<T>));

/**
 * The numerator is b * 2^N + a, the divisor d. A zero divisor is called for its return only. `steps` receives what the
 * reference form did.
 */
template <engine_word T>
Verdict check_division(const Operands<T>& s, reference::DivisionSteps& steps) {
    T q, r;
    steps = reference::DivisionSteps();
    reference::math_divmod_imp(s.a, s.b, s.d, q, r, &steps);
    if (math_is_zero(s.d)) {
        math_divmod_imp(s.a, s.b, s.d, q, r);
        math_divmod(s.a, s.b, s.d, q, r);
        math_divmod(s.a, s.d, q, r);
        steps = reference::DivisionSteps();
        return {};
    }

    const mpz_class numerator = as_mpz(s.a, s.b), divisor = as_mpz(s.d);
    mpz_class quotient, remainder;
    mpz_tdiv_qr(quotient.get_mpz_t(), remainder.get_mpz_t(), numerator.get_mpz_t(), divisor.get_mpz_t());
    const T expected_q = as_word<T>(quotient), expected_r = as_word<T>(remainder);
    KESH_AGREE(same(q, expected_q) && same(r, expected_r), "reference::math_divmod_imp");

    using Path = reference::DivisionSteps::Path;
    const bool one_bit = mpz_popcount(divisor.get_mpz_t()) == 1;
    const bool small = math_is_zero(s.b) && math_compare(s.a, s.d) < 0;
    KESH_AGREE(steps.taken == (one_bit ? Path::power_of_two
                               : small ? Path::small_numerator
                                       : Path::series),
               "division path");
    if (steps.taken == Path::series) {
        KESH_AGREE(steps.high_word_reduced == (math_compare(s.b, s.d) >= 0), "reduction of the high word");
        KESH_AGREE(steps.iterations >= 1 && steps.iterations <= log2_width<T>, "length of the reciprocal series");
        KESH_AGREE(steps.corrections <= log2_width<T> + 4, "corrections of the estimate");
    }

    // The form beside the reference form, for wide values.
    math_divmod_imp(s.a, s.b, s.d, q, r);
    KESH_AGREE(same(q, expected_q) && same(r, expected_r), "math_divmod_imp");
    q = s.a;
    r = s.b;
    math_divmod_imp(q, r, s.d, q, r);
    KESH_AGREE(same(q, expected_q) && same(r, expected_r), "math_divmod_imp into its numerator");
    r = s.d;
    math_divmod_imp(s.a, s.b, r, q, r);
    KESH_AGREE(same(q, expected_q) && same(r, expected_r), "math_divmod_imp into its divisor");
    math_divmod(s.a, s.b, s.d, q, r);
    KESH_AGREE(same(q, expected_q) && same(r, expected_r), "math_divmod");

    const mpz_class low = as_mpz(s.a);
    const mpz_class low_quotient = low / divisor, low_remainder = low % divisor;
    math_divmod(s.a, s.d, q, r);
    KESH_AGREE(same(q, as_word<T>(low_quotient)) && same(r, as_word<T>(low_remainder)), "math_divmod (one word)");
    if constexpr (wide_word<T>) {
        KESH_AGREE(s.a / s.d == q && s.a % s.d == r, "/ %");
        T in_place = s.a;
        KESH_AGREE((in_place /= s.d) == q, "/=");
        in_place = s.a;
        KESH_AGREE((in_place %= s.d) == r, "%=");
        const int small_divisor = static_cast<int>(s.limb % 1000000) + 1;
        KESH_AGREE(s.a / small_divisor == s.a / T(small_divisor), "T / int");
    }
    return {};
}

/** Division of the values a and of a multiple of the divisor by the fixed one-limb divisor `limb`, made odd and > 1. */
template <wide_word T>
Verdict check_fastdiv(const Operands<T>& s) {
    const umint m = (s.limb | 1) == 1 ? 3 : s.limb | 1;
    const fastdiv_data<T, unsigned long> divisor(m);
    KESH_AGREE(divisor.getM() == m && divisor.s == math_num_bits(m) - 1, "fastdiv_data");
    const mpz_class excess =
        as_mpz(divisor.magic) * as_mpz(m) - (mpz_class(1) << static_cast<mp_bitcnt_t>(width_v<T> + divisor.s));
    KESH_AGREE(excess >= 0 && excess < as_mpz(m), "math_magic_shift");

    const T n = s.a >> 1;
    const mpz_class quotient = as_mpz(n) / as_mpz(m);
    KESH_AGREE(n / divisor == as_word<T>(quotient), "division by a prepared divisor");
    KESH_AGREE(n - (n / divisor) * divisor == n % T(m), "remainder by a prepared divisor");
    // The reference form defines the quotient of every value; a remainder of m - 1 is where the limbs alone would
    // differ.
    for (const T& value : {s.a, minus(s.a - s.a % T(m), T(1)), s.a - s.a % T(m), T(-1)}) {
        KESH_AGREE(value / divisor == reference::divide(value, divisor), "division by a prepared divisor, all values");
    }
    const mpz_class whole = as_mpz(s.a) / as_mpz(m);
    const T k = as_word<T>(whole);
    KESH_AGREE((k * divisor) / divisor == k, "division of a multiple of a prepared divisor");
    return {};
}

}  // namespace kesh::test
