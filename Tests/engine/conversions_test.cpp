/**
 * @file   conversions_test.cpp
 * @brief  Text, double and signed arithmetic against GMP.
 */

#include "engine/differential/conversions.h"
#include "engine/differential/run.h"

namespace kesh::testing {
namespace {

KESH_DIFFERENTIAL_TESTS(Text, wide_words, check_text)
KESH_DIFFERENTIAL_TESTS(Signed, wide_words, check_signed)

}  // namespace
}  // namespace kesh::testing
