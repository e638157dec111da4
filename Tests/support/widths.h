/**
 * @file   widths.h
 * @brief  The type lists of the typed tests.
 */
#pragma once

#include <gtest/gtest.h>

#include "Shared/intx/intx_operator.h"

namespace kesh::test {

struct WidthNames {
    template <class T>
    static std::string GetName(int) {
        return std::to_string(width_v<T>);
    }
};

using WideWords = ::testing::Types<uintx_t<128>, uintx_t<256>, uintx_t<512>, uintx_t<1024>>;
using AllWords = ::testing::Types<unsigned long, uintx_t<128>, uintx_t<256>, uintx_t<512>, uintx_t<1024>>;

}  // namespace kesh::test
