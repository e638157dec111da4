/**
 * @file   fuzz_division.cpp
 * @brief  Division against GMP, and the shape of its reciprocal series.
 */

#include "fuzz_check.h"
#include "support/differential/division.h"

namespace {

template <class Operands>
kesh::test::Verdict check(const Operands& s) {
    kesh::reference::DivisionSteps steps;
    return kesh::test::check_division(s, steps);
}

}  // namespace

KESH_FUZZ_TARGET(check(s))
