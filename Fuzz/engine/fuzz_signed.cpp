/**
 * @file   fuzz_signed.cpp
 * @brief  Signed division and conversions against GMP.
 */

#include "fuzz_check.h"
#include "support/differential/conversions.h"

KESH_FUZZ_TARGET(check_signed(s))
