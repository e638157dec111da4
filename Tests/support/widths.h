/**
 * @file   widths.h
 * @brief  The type lists of the typed tests, and the names of their types: the width in bits.
 */
#pragma once

#include <string>
#include <tuple>

#include "Shared/intx/intx_operator.h"

namespace kesh::test {

struct WidthNames {
    template <class T>
    static std::string name() {
        return std::to_string(width_v<T>);
    }
};

/** For types with the number of limbs as their value. */
struct LimbCountNames {
    template <class N>
    static std::string name() {
        return std::to_string(64 * N::value);
    }
};

using WideWords = std::tuple<uintx_t<128>, uintx_t<256>, uintx_t<512>, uintx_t<1024>>;
using AllWords = std::tuple<unsigned long, uintx_t<128>, uintx_t<256>, uintx_t<512>, uintx_t<1024>>;

}  // namespace kesh::test
