/**
 * @file   expression_test.cpp
 * @brief  Integers of the command line: their values, and the one line that says why a text is not an integer.
 */

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "calls/expression.h"
#include "terminal/digits.h"

namespace {

using kesh_host::cpp_int;
using kesh_host::ExpressionError;
using kesh_host::parse_integer;

struct Case {
    const char* text;
    const char* value;
};

void PrintTo(const Case& one, std::ostream* out) {
    *out << '"' << one.text << '"';
}

class GoodExpression : public testing::TestWithParam<Case> {};

TEST_P(GoodExpression, HasItsValue) {
    EXPECT_EQ(parse_integer(GetParam().text), cpp_int(GetParam().value)) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
    Forms, GoodExpression,
    testing::Values(Case{"0", "0"}, Case{"007", "7"}, Case{"1_000_000", "1000000"}, Case{"10^12", "1000000000000"},
                    Case{"10**3", "1000"}, Case{"2^61-1", "2305843009213693951"}, Case{"1e9", "1000000000"},
                    Case{"1.5e3", "1500"}, Case{"2.0", "2"}, Case{"1.25e2", "125"}, Case{"0e5", "0"}, Case{"-5", "-5"},
                    Case{"--5", "5"}, Case{"+5", "5"}, Case{"-2^2", "-4"}, Case{"(-2)^2", "4"}, Case{"2^3^2", "512"},
                    Case{"2*-3", "-6"}, Case{"3*(10^6+1)", "3000003"}, Case{"1-2-3", "-4"}, Case{"2+3*4", "14"},
                    Case{" 2 + 3 ", "5"}, Case{"0xff", "255"}, Case{"0XFF_FF", "65535"}, Case{"0^0", "1"},
                    Case{"1^99999999999", "1"}, Case{"(-1)^99999999999", "-1"}, Case{"0^99999999999", "0"},
                    Case{"2^64", "18446744073709551616"}, Case{"0x10000000000000000", "18446744073709551616"},
                    Case{"7/2", "3"}, Case{"-7/2", "-3"}, Case{"2*7/3*3", "12"}, Case{"10^10/10^9", "10"},
                    Case{"(2^64-1)/3", "6148914691236517205"}, Case{"1,000,000", "1000000"}, Case{"1,234", "1234"},
                    Case{"12,345*2", "24690"}, Case{"1,000.5e1", "10005"}));

class BadExpression : public testing::TestWithParam<Case> {};

TEST_P(BadExpression, IsRefusedInOneLine) {
    try {
        parse_integer(GetParam().text);
        FAIL() << GetParam().text << " was read";
    } catch (const ExpressionError& error) {
        const std::string message = error.what();
        EXPECT_THAT(message, testing::HasSubstr(GetParam().value));
        EXPECT_EQ(message.find('\n'), std::string::npos);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Forms, BadExpression,
    testing::Values(Case{"", "empty"}, Case{"  ", "empty"}, Case{"12a", "'a' is not expected at column 3"},
                    Case{"1.5", "not an integer"}, Case{"1.", "digits are missing"}, Case{"1e", "exponent"},
                    Case{"1e99999", "bits"}, Case{"2^-1", "negative"}, Case{"2^", "ends where a number"},
                    Case{"3*", "ends where a number"}, Case{"(1", "closing bracket"}, Case{"1)", "')' is not expected"},
                    Case{"0x", "hexadecimal"}, Case{"_1", "'_' is not a number"}, Case{"10^10^10", "bits"},
                    Case{"2^99999", "bits"}, Case{"x", "'x' is not a number"}, Case{"1 2", "not expected"},
                    Case{"1/0", "the divisor is 0"}, Case{"1/(2-2)", "divisor"}, Case{"1,00", "groups of three"},
                    Case{"1,0000", "groups of three"}, Case{"1234,567", "groups of three"},
                    Case{"1,", "groups of three"}, Case{"1,000,", "groups of three"}, Case{"1, 000", "groups of three"},
                    Case{"5é", "'é' is not expected"}, Case{"5\xff", "is not expected"}));

TEST(Expression, AHostileLineEndsInAMessage) {
    EXPECT_THROW(parse_integer(std::string(100000, '-')), ExpressionError);
    EXPECT_THROW(parse_integer(std::string(100000, '(')), ExpressionError);
    EXPECT_THROW(parse_integer(std::string(100000, '9')), ExpressionError);
    EXPECT_THROW(parse_integer("0x" + std::string(100000, 'f')), ExpressionError);
}

TEST(Expression, TheMessageNamesThePlaceAndTheForms) {
    try {
        parse_integer("12?");
        FAIL();
    } catch (const ExpressionError& error) {
        EXPECT_STREQ(
            error.what(),
            "'12?': '?' is not expected at column 3; an integer is written like 1_000_000 or 1,000,000, 1e9, 10^12, "
            "2^61-1, 3*(10^6+1), -5 or 0xff");
    }
}

TEST(Expression, ValuesMayHaveAllTheirBits) {
    EXPECT_EQ(kesh_host::bit_length(parse_integer(std::string(4932, '9'))), 16384U);
    EXPECT_EQ(kesh_host::bit_length(parse_integer("0x" + std::string(4096, 'f'))), 16384U);
    EXPECT_THROW(parse_integer("0x1" + std::string(4096, '0')), ExpressionError);
}

TEST(Expression, ALongTextIsNotRepeatedWhole) {
    try {
        parse_integer(std::string(5000, '9') + "x");
        FAIL();
    } catch (const ExpressionError& error) {
        EXPECT_LT(std::string(error.what()).size(), 300U);
    }
}

TEST(Expression, BitLengths) {
    EXPECT_EQ(kesh_host::bit_length(0), 0U);
    EXPECT_EQ(kesh_host::bit_length(1), 1U);
    EXPECT_EQ(kesh_host::bit_length(-8), 4U);
    EXPECT_EQ(kesh_host::bit_length(parse_integer("2^1024-1")), 1024U);
}

TEST(Expression, LimbsLowFirst) {
    EXPECT_EQ(kesh_host::to_limbs(0), (std::vector<std::uint64_t>{0}));
    EXPECT_EQ(kesh_host::to_limbs(parse_integer("2^64+5")), (std::vector<std::uint64_t>{5, 1}));
    EXPECT_EQ(kesh_host::to_limbs(parse_integer("2^128")), (std::vector<std::uint64_t>{0, 0, 1}));
}

TEST(Expression, DigitGroups) {
    EXPECT_EQ(kesh_host::group_digits("1", ','), "1");
    EXPECT_EQ(kesh_host::group_digits("123", ','), "123");
    EXPECT_EQ(kesh_host::group_digits("-1234", ','), "-1,234");
    EXPECT_EQ(kesh_host::group_digits("123456789", ' '), "123 456 789");
}

}  // namespace
