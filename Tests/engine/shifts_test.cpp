/**
 * @file   shifts_test.cpp
 * @brief  Shifts and bit counts against GMP.
 */

#include "support/differential/shifts.h"
#include "support/differential/run.h"

namespace kesh::test {
namespace {

KESH_DIFFERENTIAL_TESTS(Shifts, AllWords, check_shifts)

template <class T>
class ShiftsOnEveryLevel : public ::testing::Test {};
KESH_TYPED_SUITE(ShiftsOnEveryLevel, WideWords, WidthNames);

KESH_TYPED_TEST(ShiftsOnEveryLevel, HaveTheBitsOfTheReferenceFormForEveryCount) {
    using T = TypeParam;
    OperandSource source(17);
    for (const Level wanted : engine_levels) {
        at_level(wanted);
        for (mint count = 0; count < T::bits; ++count) {
            const T a = count % 2 == 0 ? source.value<T>() : ~source.value<T>();
            T left(0), right(0), got = a;
            reference::math_left_shift(a, count, left);
            reference::math_right_shift(a, count, right);
            ASSERT_TRUE(a << count == left && a >> count == right) << name(level()) << " " << count;
            math_left_shift(got, count, got);
            ASSERT_TRUE(got == left) << name(level()) << " " << count;
            got = a;
            math_right_shift(got, count, got);
            ASSERT_TRUE(got == right) << name(level()) << " " << count;
        }
        EXPECT_TRUE(T(7) >> T::bits == T(7) && T(7) >> -1 == T(7)) << "a count out of range writes nothing";
    }
    at_level(supported_level());
}

}  // namespace
}  // namespace kesh::test
