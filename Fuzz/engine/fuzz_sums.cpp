/**
 * @file   fuzz_sums.cpp
 * @brief  Sums, differences and comparison against GMP.
 */

#include "fuzz_check.h"
#include "support/differential/sums.h"

KESH_FUZZ_TARGET(check_sums(s))
