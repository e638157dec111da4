/**
 * @file   expression.h
 * @brief  The integers of the command line: decimal with `_` or `,`, hexadecimal, `1e9`, `10^12`, sums and products.
 *
 *     sum     = product { ("+" | "-") product }
 *     product = signed { ("*" | "/") signed }            ("/" drops the fraction)
 *     signed  = { "+" | "-" } power
 *     power   = primary [ ("^" | "**") signed ]          (to the right: 2^3^2 = 2^9)
 *     primary = number | "(" sum ")"
 *     number  = digits [ "." digits ] [ "e" digits ] | "0x" hex digits      ("_" between digits is skipped)
 *     digits may also be in groups of three with "," between them: 1,000,000
 */
#pragma once

#include <boost/multiprecision/cpp_int.hpp>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kesh_host {

/** Without expression templates: an operation returns its value, and nothing refers to its operands afterwards. */
using cpp_int = boost::multiprecision::number<boost::multiprecision::cpp_int_backend<>, boost::multiprecision::et_off>;

/** Text that is not an integer expression. what() is one line: what is wrong and what would be right. */
class ExpressionError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/**
 * The integer that `text` denotes.
 * @throws ExpressionError on malformed text and when an intermediate value would need more than 16384 bits; this bounds
 *         the time and memory that a typing mistake such as 10^10^10 can cost.
 */
cpp_int parse_integer(std::string_view text);

/** The value in decimal digits. */
std::string to_decimal(const cpp_int& value);

/** Bits of |value|: 0 for 0. */
unsigned bit_length(const cpp_int& value);

/** The value as 64-bit limbs, least significant first; at least one limb. Precondition: value >= 0. */
std::vector<std::uint64_t> to_limbs(const cpp_int& value);

}  // namespace kesh_host
