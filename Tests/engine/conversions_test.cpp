/**
 * @file   conversions_test.cpp
 * @brief  Text, double and signed arithmetic against GMP.
 */

#include "support/differential/conversions.h"
#include "support/differential/run.h"

namespace kesh::test {
namespace {

KESH_DIFFERENTIAL_TESTS(Text, WideWords, check_text)
KESH_DIFFERENTIAL_TESTS(Signed, WideWords, check_signed)

}  // namespace
}  // namespace kesh::test
