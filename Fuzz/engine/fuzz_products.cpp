/**
 * @file   fuzz_products.cpp
 * @brief  Products against GMP, and the fast forms against the reference forms.
 */

#include "engine/differential/products.h"
#include "fuzz_check.h"

KESH_FUZZ_TARGET(check_products(s))
