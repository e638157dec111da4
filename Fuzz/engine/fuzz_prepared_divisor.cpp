/**
 * @file   fuzz_prepared_divisor.cpp
 * @brief  Division by a fixed one-limb divisor against GMP.
 */

#include "engine/differential/division.h"
#include "fuzz_check.h"

KESH_FUZZ_TARGET(check_fastdiv(s))
