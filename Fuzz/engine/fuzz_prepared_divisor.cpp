/**
 * @file   fuzz_prepared_divisor.cpp
 * @brief  Division by a fixed one-limb divisor against GMP.
 */

#include "fuzz_check.h"
#include "support/differential/division.h"

KESH_FUZZ_TARGET(check_fastdiv(s))
