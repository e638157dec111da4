/**
 * @file   montgomery_test.cpp
 * @brief  The Montgomery context against GMP.
 */

#include "engine/differential/montgomery.h"
#include "engine/differential/run.h"

namespace kesh::testing {
namespace {

KESH_DIFFERENTIAL_TESTS(Montgomery, all_words, check_montgomery)

}  // namespace
}  // namespace kesh::testing
