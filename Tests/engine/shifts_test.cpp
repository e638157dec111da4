/**
 * @file   shifts_test.cpp
 * @brief  Shifts and bit counts against GMP.
 */

#include "engine/differential/shifts.h"
#include "engine/differential/run.h"

namespace kesh::testing {
namespace {

KESH_DIFFERENTIAL_TESTS(Shifts, all_words, check_shifts)

}  // namespace
}  // namespace kesh::testing
