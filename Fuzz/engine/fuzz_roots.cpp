/**
 * @file   fuzz_roots.cpp
 * @brief  Integer square roots against GMP.
 */

#include "fuzz_check.h"
#include "support/differential/roots.h"

KESH_FUZZ_TARGET(check_roots(s))
