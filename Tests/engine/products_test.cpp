/**
 * @file   products_test.cpp
 * @brief  Products against GMP and the fast forms against the reference forms.
 */

#include "support/differential/products.h"
#include "support/differential/run.h"

namespace kesh::test {
namespace {

KESH_DIFFERENTIAL_TESTS(Products, AllWords, check_products)

}  // namespace
}  // namespace kesh::test
