/**
 * @file   products_test.cpp
 * @brief  Products against GMP and the fast forms against the reference forms.
 */

#include "engine/differential/products.h"
#include "engine/differential/run.h"

namespace kesh::testing {
namespace {

KESH_DIFFERENTIAL_TESTS(Products, all_words, check_products)

}  // namespace
}  // namespace kesh::testing
