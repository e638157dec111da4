/**
 * @file   digits.h
 * @brief  Separates the digits of long numbers into groups.
 */
#pragma once

#include <string>

namespace kesh_host {

/** "123456789" as "123 456 789" with the given separator between groups of three digits. */
std::string group_digits(const std::string& digits, char separator);

}  // namespace kesh_host
