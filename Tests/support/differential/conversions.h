/**
 * @file   conversions.h
 * @brief  Text, double and signed arithmetic against GMP.
 */
#pragma once

#include <cmath>

#include "support/agreement.h"

namespace kesh::test {

/** The double nearest to z, ties to even, from the bits of z alone. */
inline double nearest_double(const mpz_class& z) {
    const mpz_class size = abs(z);
    const std::size_t length = mpz_sizeinbase(size.get_mpz_t(), 2);
    if (length <= 53) return z.get_d();
    const auto dropped = static_cast<mp_bitcnt_t>(length - 53);
    mpz_class top = size >> dropped;
    const mpz_class rest = size - (top << dropped), half = mpz_class(1) << (dropped - 1);
    if (rest > half || (rest == half && mpz_odd_p(top.get_mpz_t()) != 0)) top += 1;
    const double rounded = std::ldexp(top.get_d(), static_cast<int>(dropped));
    return z < 0 ? -rounded : rounded;
}

template <wide_word T>
Verdict check_text(const Operands<T>& s) {
    const mpz_class a = as_mpz(s.a);
    T back;
    const std::string decimal = to_string(s.a), hexadecimal = to_string(s.a, 16);
    KESH_AGREE(decimal == a.get_str(), "to_string");
    KESH_AGREE(hexadecimal == "0x" + a.get_str(16), "to_string (base 16)");
    KESH_AGREE(from_string(decimal, back) && back == s.a, "from_string");
    KESH_AGREE(from_string(hexadecimal, back) && back == s.a, "from_string (base 16)");
    KESH_AGREE(T(decimal) == s.a && T(hexadecimal.c_str()) == s.a, "construction from text");
    const std::string beyond = mpz_class(a + (mpz_class(1) << static_cast<mp_bitcnt_t>(T::bits))).get_str();
    KESH_AGREE(!from_string(beyond, back) && back == s.a, "from_string of too large a value");
    KESH_AGREE(static_cast<double>(s.a) == nearest_double(a), "operator double");
    return {};
}

template <wide_word T>
Verdict check_signed(const Operands<T>& s) {
    using S = intx_t<T::bits>;
    const mpz_class R = mpz_class(1) << static_cast<mp_bitcnt_t>(T::bits);
    const auto value = [&R](const T& a) -> mpz_class {
        const mpz_class z = as_mpz(a);
        return 2 * z >= R ? mpz_class(z - R) : z;
    };
    const S a(s.a), d(s.d);
    const mpz_class za = value(s.a), zd = value(s.d);
    KESH_AGREE(a.sign() == (za < 0) && T(a) == s.a, "sign");
    KESH_AGREE(static_cast<double>(a) == nearest_double(za), "operator double (signed)");
    KESH_AGREE(to_string(a) == za.get_str(), "to_string (signed)");
    S back;
    KESH_AGREE(from_string(za.get_str(), back) && back == a, "from_string (signed)");

    S q, r;
    S::divmod(a, d, q, r);
    if (zd == 0) return {};
    mpz_class zq, zr;
    mpz_tdiv_qr(zq.get_mpz_t(), zr.get_mpz_t(), za.get_mpz_t(), zd.get_mpz_t());
    KESH_AGREE(T(q) == as_word<T>(zq) && T(r) == as_word<T>(zr), "divmod (signed)");
    S in_place = a;
    KESH_AGREE((in_place /= d) == q, "/= (signed)");
    in_place = a;
    KESH_AGREE((in_place %= d) == r, "%= (signed)");
    return {};
}

}  // namespace kesh::test
