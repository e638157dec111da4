/**
 * @file   fuzz_text.cpp
 * @brief  Text and double against GMP.
 */

#include "fuzz_check.h"
#include "support/differential/conversions.h"

KESH_FUZZ_TARGET(check_text(s))
