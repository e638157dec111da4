/**
 * @file   fuzz_shifts.cpp
 * @brief  Shifts and bit counts against GMP.
 */

#include "engine/differential/shifts.h"
#include "fuzz_check.h"

KESH_FUZZ_TARGET(check_shifts(s))
