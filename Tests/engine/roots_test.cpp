/**
 * @file   roots_test.cpp
 * @brief  Integer square roots against GMP.
 */

#include "support/differential/roots.h"
#include "support/differential/run.h"

namespace kesh::test {
namespace {

KESH_DIFFERENTIAL_TESTS(Roots, AllWords, check_roots)

}  // namespace
}  // namespace kesh::test
