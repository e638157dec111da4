/**
 * @file   fuzz_signed.cpp
 * @brief  Signed division and conversions against GMP.
 */

#include "engine/differential/conversions.h"
#include "fuzz_check.h"

KESH_FUZZ_TARGET(check_signed(s))
