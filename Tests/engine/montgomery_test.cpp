/**
 * @file   montgomery_test.cpp
 * @brief  The Montgomery context against GMP.
 */

#include "support/differential/montgomery.h"
#include "support/differential/run.h"

namespace kesh::test {
namespace {

KESH_DIFFERENTIAL_TESTS(Montgomery, AllWords, check_montgomery)

}  // namespace
}  // namespace kesh::test
