/**
 * @file   digits.cpp
 * @brief  Separates the digits of a number into groups of three.
 */
#include "terminal/digits.h"

namespace kesh_host {

std::string group_digits(const std::string& digits, char separator) {
    const std::size_t sign = !digits.empty() && digits[0] == '-' ? 1 : 0;
    std::string result = digits.substr(0, sign);
    for (std::size_t i = sign; i < digits.size(); ++i) {
        if (i > sign && (digits.size() - i) % 3 == 0) result += separator;
        result += digits[i];
    }
    return result;
}

}  // namespace kesh_host
