/**
 * @file   sums_test.cpp
 * @brief  Sums, differences and comparison against GMP.
 */

#include "engine/differential/sums.h"
#include "engine/differential/run.h"

namespace kesh::testing {
namespace {

KESH_DIFFERENTIAL_TESTS(Sums, all_words, check_sums)

}  // namespace
}  // namespace kesh::testing
