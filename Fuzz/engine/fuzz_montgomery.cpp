/**
 * @file   fuzz_montgomery.cpp
 * @brief  The Montgomery context against GMP.
 */

#include "fuzz_check.h"
#include "support/differential/montgomery.h"

KESH_FUZZ_TARGET(check_montgomery(s))
