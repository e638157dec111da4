/**
 * @file   shifts_test.cpp
 * @brief  Shifts and bit counts against GMP.
 */

#include "support/differential/shifts.h"
#include "support/differential/run.h"

namespace kesh::test {
namespace {

KESH_DIFFERENTIAL_TESTS(Shifts, AllWords, check_shifts)

}  // namespace
}  // namespace kesh::test
