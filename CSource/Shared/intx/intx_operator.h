/// @file   intx_operator.h
/// @brief  Operators, conversions and text of the fixed-width integers: the header to include to use them.
#pragma once

#include <cstdio>

#include "Shared/intx/intx_common.h"

namespace kesh {

/// `value` as text: base 10, or base 16 with the prefix 0x. Allocates the returned string.
inline std::string to_string(const umint& value, int base = 10) {
    if (base == 10) return std::to_string(value);
    char text[2 + 16 + 1];
    std::snprintf(text, sizeof text, "0x%lx", value);
    return text;
}

}  // namespace kesh
