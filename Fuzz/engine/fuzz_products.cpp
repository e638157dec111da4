/**
 * @file   fuzz_products.cpp
 * @brief  Products against GMP, and the fast forms against the reference forms.
 */

#include "fuzz_check.h"
#include "support/differential/products.h"

KESH_FUZZ_TARGET(check_products(s))
