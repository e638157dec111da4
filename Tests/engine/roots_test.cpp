/**
 * @file   roots_test.cpp
 * @brief  Integer square roots against GMP.
 */

#include "engine/differential/roots.h"
#include "engine/differential/run.h"

namespace kesh::testing {
namespace {

KESH_DIFFERENTIAL_TESTS(Roots, all_words, check_roots)

}  // namespace
}  // namespace kesh::testing
