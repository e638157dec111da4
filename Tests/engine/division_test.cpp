/**
 * @file   division_test.cpp
 * @brief  Division against GMP, and the length of its reciprocal series and corrections.
 */

#include "support/differential/division.h"

#include <algorithm>
#include <iostream>

#include "support/differential/run.h"

namespace kesh::test {
namespace {

KESH_DIFFERENTIAL_TESTS(PreparedDivisor, WideWords, check_fastdiv)

/** check_division that keeps the longest series and the most corrections seen at a width. */
template <engine_word T>
struct division_record {
    int iterations = 0, corrections = 0;

    Verdict operator()(const Operands<T>& s) {
        reference::DivisionSteps steps;
        const Verdict v = check_division(s, steps);
        iterations = std::max(iterations, steps.iterations);
        corrections = std::max(corrections, steps.corrections);
        return v;
    }
    void report() const {
        std::cout << width_v<T> << " bits: at most " << iterations << " iterations and " << corrections
                  << " corrections seen\n";
    }
};

template <class T>
class Division : public ::testing::Test {};
KESH_TYPED_SUITE(Division, AllWords, WidthNames);

KESH_TYPED_TEST(Division, RandomOperands) {
    division_record<TypeParam> record;
    run_random<TypeParam>(usual_sets_of<TypeParam>(), std::ref(record));
    record.report();
}
KESH_TYPED_TEST(Division, HardCases) {
    division_record<TypeParam> record;
    run_hard_cases<TypeParam>(std::ref(record));
    record.report();
    // y next to 1/2 makes the series longest: 2^-1, 2^-2, 2^-4, ... takes all log2 N squarings to vanish.
    EXPECT_EQ(record.iterations, log2_width<TypeParam>);
}
KESH_TYPED_TEST(Division, Long_RandomOperands) {
    division_record<TypeParam> record;
    run_random<TypeParam>(long_sets, std::ref(record));
    record.report();
}

}  // namespace
}  // namespace kesh::test
