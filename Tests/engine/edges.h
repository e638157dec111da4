/**
 * @file   edges.h
 * @brief  Values at the ends of the range and the type lists of the tests by hand.
 */
#pragma once

#include <gtest/gtest.h>

#include "support/operands.h"
#include "support/typed_tests.h"
#include "support/widths.h"

namespace kesh::test {

template <class T>
class Edges : public ::testing::Test {
  protected:
    const T zero = T(0), one = T(1), ones = minus(T(0), T(1));
    const T top_bit = power_of_two<T>(width_v<T> - 1), middle_bit = power_of_two<T>(width_v<T> / 2);
};

template <class T>
class WordEdges : public Edges<T> {};
KESH_TYPED_SUITE(WordEdges, AllWords, WidthNames);

template <class T>
class WideEdges : public Edges<T> {};
KESH_TYPED_SUITE(WideEdges, WideWords, WidthNames);

template <engine_word T>
::testing::AssertionResult equal(const T& a, const T& b) {
    if (math_compare(a, b) == 0) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << to_string(a, 16) << " is not " << to_string(b, 16);
}

}  // namespace kesh::test
