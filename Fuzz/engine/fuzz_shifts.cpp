/**
 * @file   fuzz_shifts.cpp
 * @brief  Shifts and bit counts against GMP.
 */

#include "fuzz_check.h"
#include "support/differential/shifts.h"

KESH_FUZZ_TARGET(check_shifts(s))
