/**
 * @file   montgomery.h
 * @brief  The Montgomery context against GMP's modular arithmetic.
 */
#pragma once

#include "Shared/mont.h"
#include "support/agreement.h"

namespace kesh::test {

/** The modulus is a, made odd and > 1; the residues are b and c modulo it. */
template <engine_word T>
Verdict check_montgomery(const Operands<T>& s) {
    T m = s.a;
    math_or_equal(m, T(1));
    if (same(m, T(1))) m = T(3);
    const mp_mont_data<T> M(m);
    const mpz_class zm = as_mpz(m), R = mpz_class(1) << static_cast<mp_bitcnt_t>(width_v<T>);
    const mpz_class r1 = R % zm, r2 = R * R % zm;
    KESH_AGREE(same(M.one(), as_word<T>(r1)) && same(M.getr2(), as_word<T>(r2)) && same(M.getM(), m), "init");

    T x, product;
    math_mul(M.mprime, m, product);
    KESH_AGREE(same(product, minus(T(0), T(1))), "mprime");

    const mpz_class zb = as_mpz(s.b) % zm, zc = as_mpz(s.c) % zm;
    const T b = as_word<T>(zb), c = as_word<T>(zc);
    const mpz_class b_form = zb * R % zm, c_form = zc * R % zm;
    const T bbar = M.toMontMod(s.b), cbar = M.toMontMod(c);
    KESH_AGREE(same(bbar, as_word<T>(b_form)) && same(cbar, as_word<T>(c_form)), "toMontMod");
    KESH_AGREE(same(M.fromMontMod(bbar), b), "fromMontMod");

    const mpz_class bc = zb * zc % zm, bb = zb * zb % zm, sum = (zb + zc) % zm, difference = (zb + zm - zc) % zm;
    const mpz_class bc_form = bc * R % zm, bb_form = bb * R % zm;
    KESH_AGREE(same(M.mul(bbar, cbar), as_word<T>(bc_form)), "mul");
    KESH_AGREE(same(M.mul(bbar, bbar), as_word<T>(bb_form)), "mul (square)");
    x = bbar;
    M.mul(x, cbar, x);
    KESH_AGREE(same(x, as_word<T>(bc_form)), "mul into its operand");
    reference::math_mont_mul(bbar, cbar, m, M.mprime, x);
    KESH_AGREE(same(x, as_word<T>(bc_form)), "reference::math_mont_mul");
    // Any input below m R, here c R + b with c < m and an arbitrary low word.
    math_mont_reduce(s.b, c, m, M.mprime, x);
    mpz_class back = as_mpz(x) * R - as_mpz(s.b, c);
    KESH_AGREE(math_compare(x, m) < 0 && back % zm == 0, "math_mont_reduce");

    KESH_AGREE(same(M.add(b, c), as_word<T>(sum)), "add");
    KESH_AGREE(same(M.sub(b, c), as_word<T>(difference)), "sub");
    const T half = M.div2(b);
    KESH_AGREE(math_compare(half, m) < 0 && same(M.add(half, half), b), "div2");

    const mpz_class zd = as_mpz(s.d);
    mpz_class expected;
    M.div(bbar, s.d, x);
    if (mpz_invert(expected.get_mpz_t(), zd.get_mpz_t(), zm.get_mpz_t()) == 0) expected = 0;
    expected = expected * b_form % zm;
    KESH_AGREE(same(x, as_word<T>(expected)), "div");

    const umint exponent = s.limb >> 48;
    mpz_powm_ui(expected.get_mpz_t(), zb.get_mpz_t(), exponent, zm.get_mpz_t());
    KESH_AGREE(same(M.fromMontMod(M.pow(bbar, T(exponent))), as_word<T>(expected)), "pow");
    KESH_AGREE(same(M.fromMontMod(reference::pow(M, bbar, T(exponent))), as_word<T>(expected)), "reference::pow");
    // Exponents of all lengths, for one set in 32, because they take long.
    if (s.count % 32 == 0) {
        KESH_AGREE(same(M.pow(bbar, s.d), reference::pow(M, bbar, s.d)), "pow, long exponents");
    }
    return {};
}

}  // namespace kesh::test
