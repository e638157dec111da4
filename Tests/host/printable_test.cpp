/**
 * @file   printable_test.cpp
 * @brief  Text of any bytes, made fit for one line.
 */

#include <gtest/gtest.h>

#include "terminal/printable.h"

namespace {

using namespace kesh_host;

TEST(Printable, WellFormedTextStays) {
    for (const char* text : {"", "plain", "é", "π(x) ≤ 10", "\xf0\x9f\x98\x80", "\xed\x9f\xbf", "\xef\xbf\xbf"})
        EXPECT_EQ(printable(text), text);
}

TEST(Printable, BytesThatAreNoUtf8AreWrittenOut) {
    EXPECT_EQ(printable("\xff"), "\\xff");
    EXPECT_EQ(printable("1\xc3"), "1\\xc3") << "cut off";
    EXPECT_EQ(printable("\xc3("), "\\xc3(") << "no continuation";
    EXPECT_EQ(printable("\xe2\x82("), "\\xe2\\x82(") << "no second continuation";
    EXPECT_EQ(printable("\xf0\x9f\x98("), "\\xf0\\x9f\\x98(") << "no third continuation";
    EXPECT_EQ(printable("\xc0\xaf"), "\\xc0\\xaf") << "overlong";
    EXPECT_EQ(printable("\xe0\x80\xaf"), "\\xe0\\x80\\xaf") << "overlong";
    EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80") << "a surrogate";
    EXPECT_EQ(printable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80") << "beyond U+10FFFF";
}

TEST(Printable, ControlCharactersAreWrittenOut) {
    EXPECT_EQ(printable("a\r\nb\t\x1b[1m\x7f"), "a\\x0d\\x0ab\\x09\\x1b[1m\\x7f");
    EXPECT_EQ(printable("\xc2\x9b"), "\\xc2\\x9b") << "a control character of Latin-1";
    EXPECT_EQ(printable("\xc2\xa0"), "\xc2\xa0");
}

TEST(Printable, ShorteningCutsBetweenCharacters) {
    EXPECT_EQ(shortened("12345", 5), "12345");
    EXPECT_EQ(shortened("123456", 5), "12345...");
    EXPECT_EQ(shortened("1234é6", 5), "1234...");
    EXPECT_EQ(first_character("é1"), "é");
    EXPECT_EQ(first_character("\xff"
                              "1"),
              "\xff");
    EXPECT_EQ(first_character(""), "");
}

}  // namespace
