/**
 * @file   fuzz_montgomery.cpp
 * @brief  The Montgomery context against GMP.
 */

#include "engine/differential/montgomery.h"
#include "fuzz_check.h"

KESH_FUZZ_TARGET(check_montgomery(s))
