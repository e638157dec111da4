/**
 * @file   fuzz_sums.cpp
 * @brief  Sums, differences and comparison against GMP.
 */

#include "engine/differential/sums.h"
#include "fuzz_check.h"

KESH_FUZZ_TARGET(check_sums(s))
