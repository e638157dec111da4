/**
 * @file   fuzz_inverses.cpp
 * @brief  Inverses modulo 2^N and modulo arbitrary moduli against GMP.
 */

#include "fuzz_check.h"
#include "support/differential/inverses.h"

namespace {

template <class Operands>
kesh::test::Verdict check(const Operands& s) {
    using namespace kesh::test;
    const Verdict v = check_inverse_mod_2(s);
    return v.empty() ? check_invmod(s) : v;
}

}  // namespace

KESH_FUZZ_TARGET(check(s))
