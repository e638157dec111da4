/**
 * @file   cofactor_conditions.cpp
 * @brief  The residue classes of cofactors that the conditions leave.
 */
#include "cofactor_conditions.h"

namespace prime_tables {

CofactorClasses cofactor_classes(const PrimeOrder& p) {
    const int v = p.valuation();
    // A modulus with enough factors 2 for the condition on n; the odd part comes from the order.
    const u64 two_part = v < 2 ? 8 : v == 2 ? 4 : u64{2} << v;
    CofactorClasses classes{(p.order >> v) * two_part, {}, 0};
    for (u64 m = 1; m < classes.modulus && classes.count < 2; m += p.order) {
        if ((m & 1) == 1 && !excludedByJacobi(p.prime * m, v)) classes.start[classes.count++] = m;
    }
    return classes;
}

}  // namespace prime_tables
