/**
 * @file   digits.h
 * @brief  Digits made readable.
 */
#pragma once

#include <string>

namespace bench_host {

/** "123456789" as "123 456 789" with the given separator between groups of three digits. */
std::string group_digits(const std::string& digits, char separator);

}  // namespace bench_host
