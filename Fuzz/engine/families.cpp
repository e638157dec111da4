/**
 * @file   families.cpp
 * @brief  One fuzz target per family of the engine's operations, each with the differential check of the tests against
 *         GMP. They are one compilation, because they instantiate the same operations; target.cpp makes one a program.
 */
#include "fuzz_check.h"
#include "support/differential/conversions.h"
#include "support/differential/division.h"
#include "support/differential/inverses.h"
#include "support/differential/montgomery.h"
#include "support/differential/products.h"
#include "support/differential/roots.h"
#include "support/differential/shifts.h"
#include "support/differential/sums.h"

namespace {

using namespace kesh::test;

/** Division, and the shape of its reciprocal series. */
template <class Operands>
Verdict check_quotients(const Operands& s) {
    kesh::reference::DivisionSteps steps;
    return check_division(s, steps);
}

/** Inverses modulo 2^N and modulo arbitrary moduli. */
template <class Operands>
Verdict check_inverses(const Operands& s) {
    const Verdict v = check_inverse_mod_2(s);
    return v.empty() ? check_invmod(s) : v;
}

}  // namespace

KESH_FUZZ_FAMILY(sums, check_sums)
KESH_FUZZ_FAMILY(shifts, check_shifts)
KESH_FUZZ_FAMILY(products, check_products)
KESH_FUZZ_FAMILY(division, check_quotients)
KESH_FUZZ_FAMILY(prepared_divisor, check_fastdiv)
KESH_FUZZ_FAMILY(roots, check_roots)
KESH_FUZZ_FAMILY(inverses, check_inverses)
KESH_FUZZ_FAMILY(montgomery, check_montgomery)
KESH_FUZZ_FAMILY(signed, check_signed)
KESH_FUZZ_FAMILY(text, check_text)
