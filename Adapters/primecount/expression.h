/**
 * @file   expression.h
 * @brief  Reads the text that PrimeCount_ExprPrimePi takes: an integer, or an arithmetic expression of integers.
 *
 * The grammar is that of primecount 7, whose own reader wraps modulo 2^128 and overflows the stack on deep nesting.
 * Here every step is exact, or the reading fails.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kesh::counting {

__extension__ typedef __int128 int128_t;

/** Every literal and every intermediate value is below 2^4096 in absolute value: up to 1,233 digits always fit. */
constexpr size_t expression_bits = 4096;

/** The number of operators, signs and open parentheses that may be pending at the same time. */
constexpr size_t expression_depth = 10'000;

/**
 * The exact value of an expression.
 *
 * Integers are decimal or, after 0x, hexadecimal. From loosest to tightest the operators are `|`, `&`, `<<` and `>>`,
 * `+` and `-`, `*` `/` `%`, `^` or `**`, `e` (m e n is m * 10^n), and the signs `-` `+` `~`: -2^2 is 4. The powers and
 * `e` group from the right, the others from the left. Division truncates towards 0, the remainder has the sign of the
 * dividend, `>>` rounds down, and the bitwise operators take negative numbers in infinite two's complement. Blanks,
 * tabs and line ends are allowed between any of these.
 *
 * Negative values below -2^127 are returned as -2^127.
 *
 * @throws std::invalid_argument if the text is malformed, divides by zero, or has a negative exponent or shift.
 * @throws std::length_error beyond expression_depth.
 * @throws std::overflow_error if an intermediate value needs more than expression_bits, or the result is above 2^127 -
 * 1.
 */
int128_t evaluate(std::string_view text);

/** The decimal digits of x, with a sign if it is negative. */
std::string to_decimal(int128_t x);

}  // namespace kesh::counting
