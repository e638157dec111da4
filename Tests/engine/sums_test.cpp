/**
 * @file   sums_test.cpp
 * @brief  Sums, differences and comparison against GMP.
 */

#include "support/differential/sums.h"
#include "support/differential/run.h"

namespace kesh::test {
namespace {

KESH_DIFFERENTIAL_TESTS(Sums, AllWords, check_sums)

}  // namespace
}  // namespace kesh::test
