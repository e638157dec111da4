/**
 * @file   fuzz_text.cpp
 * @brief  Text and double against GMP.
 */

#include "engine/differential/conversions.h"
#include "fuzz_check.h"

KESH_FUZZ_TARGET(check_text(s))
