/**
 * @file   fuzz_division.cpp
 * @brief  Division against GMP, and the shape of its reciprocal series.
 */

#include "engine/differential/division.h"
#include "fuzz_check.h"

namespace {

template <class Operands>
kesh::testing::verdict check(const Operands& s) {
    kesh::division_steps steps;
    return kesh::testing::check_division(s, steps);
}

}  // namespace

KESH_FUZZ_TARGET(check(s))
