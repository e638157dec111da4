/**
 * @file   sums.h
 * @brief  Sums, differences and comparison against GMP's limb-vector functions.
 */
#pragma once

#include "support/agreement.h"

namespace kesh::test {

template <engine_word T>
Verdict check_sums(const Operands<T>& s) {
    constexpr auto n = static_cast<mp_size_t>(limbs_v<T>);
    T expected, got;

    mp_limb_t expected_carry = mpn_add_n(limbs_of(expected), limbs_of(s.a), limbs_of(s.b), n);
    expected_carry += mpn_add_1(limbs_of(expected), limbs_of(expected), n, s.carry);
    std::uint8_t carry = math_addcarry(s.carry, s.a, s.b, got);
    KESH_AGREE(same(got, expected) && carry == expected_carry, "math_addcarry");
    got = s.a;
    carry = math_addcarry(s.carry, got, s.b, got);
    KESH_AGREE(same(got, expected) && carry == expected_carry, "math_addcarry into its first operand");
    got = s.b;
    carry = math_addcarry(s.carry, s.a, got, got);
    KESH_AGREE(same(got, expected) && carry == expected_carry, "math_addcarry into its second operand");
    got = s.a;
    carry = math_add_equal_carry(s.carry, got, s.b);
    KESH_AGREE(same(got, expected) && carry == expected_carry, "math_add_equal_carry");

    mp_limb_t expected_borrow = mpn_sub_n(limbs_of(expected), limbs_of(s.a), limbs_of(s.b), n);
    expected_borrow += mpn_sub_1(limbs_of(expected), limbs_of(expected), n, s.carry);
    std::uint8_t borrow = math_subborrow(s.carry, s.a, s.b, got);
    KESH_AGREE(same(got, expected) && borrow == expected_borrow, "math_subborrow");
    got = s.a;
    borrow = math_subborrow(s.carry, got, s.b, got);
    KESH_AGREE(same(got, expected) && borrow == expected_borrow, "math_subborrow into its first operand");
    got = s.b;
    borrow = math_subborrow(s.carry, s.a, got, got);
    KESH_AGREE(same(got, expected) && borrow == expected_borrow, "math_subborrow into its second operand");
    got = s.a;
    borrow = math_sub_equal_borrow(s.carry, got, s.b);
    KESH_AGREE(same(got, expected) && borrow == expected_borrow, "math_sub_equal_borrow");

    const int order = mpn_cmp(limbs_of(s.a), limbs_of(s.b), n);
    KESH_AGREE((math_compare(s.a, s.b) < 0) == (order < 0) && (math_compare(s.a, s.b) > 0) == (order > 0),
               "math_compare");
    if constexpr (wide_word<T>) {
        KESH_AGREE((s.a == s.b) == (order == 0) && (s.a != s.b) == (order != 0), "==");
        KESH_AGREE((s.a < s.b) == (order < 0) && (s.a <= s.b) == (order <= 0), "<");
        KESH_AGREE((s.a > s.b) == (order > 0) && (s.a >= s.b) == (order >= 0), ">");
        T doubled = s.a;
        doubled += doubled;
        KESH_AGREE(doubled == s.a + s.a && s.a - s.a == 0 && doubled - s.a == s.a, "+ - +=");
        T stepped = s.a;
        KESH_AGREE(stepped++ == s.a && stepped == s.a + 1 && --stepped == s.a && stepped-- == s.a && ++stepped == s.a,
                   "++ --");
        KESH_AGREE((s.a | s.b) + (s.a & s.b) == s.a + s.b, "& |");
        KESH_AGREE(!s.a == (s.a == 0) && static_cast<bool>(s.a) == (s.a != 0), "! and bool");
    }
    return {};
}

}  // namespace kesh::test
