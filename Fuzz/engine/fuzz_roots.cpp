/**
 * @file   fuzz_roots.cpp
 * @brief  Integer square roots against GMP.
 */

#include "engine/differential/roots.h"
#include "fuzz_check.h"

KESH_FUZZ_TARGET(check_roots(s))
