/**
 * @file   expression_test.cpp
 * @brief  The reader of texts for pi(x): values, the grammar and its limits; compared with GMP, and with
 *         libprimecount's own reader for values that do not wrap there.
 */
#include "expression.h"

#include <gmpxx.h>
#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>

using kesh::counting::evaluate;
using kesh::counting::expression_bits;
using kesh::counting::expression_depth;
using kesh::counting::int128_t;
using kesh::counting::to_decimal;

namespace {

std::string value(const std::string& text) {
    try {
        return to_decimal(evaluate(text));
    } catch (const std::invalid_argument&) {
        return "malformed";
    } catch (const std::overflow_error&) {
        return "too large";
    } catch (const std::length_error&) {
        return "too deep";
    }
}

std::string repeated(const std::string& part, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) text += part;
    return text;
}

TEST(Expression, Numbers) {
    EXPECT_EQ(value("0"), "0");
    EXPECT_EQ(value("100"), "100");
    EXPECT_EQ(value("010"), "10");
    EXPECT_EQ(value(" \t\n\v\f\r100 \t\n\v\f\r"), "100");
    EXPECT_EQ(value("0x64"), "100");
    EXPECT_EQ(value("0XfF"), "255");
    EXPECT_EQ(value("0x1e3"), "483");
    EXPECT_EQ(value("170141183460469231731687303715884105727"), "170141183460469231731687303715884105727");
    EXPECT_EQ(value(std::string(100'000, '0') + "5"), "5");
    EXPECT_EQ(value(std::string(100'000, ' ') + "5"), "5");
}

TEST(Expression, Operators) {
    EXPECT_EQ(value("10-3-2"), "5");
    EXPECT_EQ(value("1+2*3"), "7");
    EXPECT_EQ(value("(1+2)*3"), "9");
    EXPECT_EQ(value("100/7/2"), "7");
    EXPECT_EQ(value("-7/2"), "-3");
    EXPECT_EQ(value("7/-2"), "-3");
    EXPECT_EQ(value("-7%3"), "-1");
    EXPECT_EQ(value("7%-3"), "1");
    EXPECT_EQ(value("10%4*3"), "6");
    EXPECT_EQ(value("2^3^2"), "512");
    EXPECT_EQ(value("2**3^2"), "512");
    EXPECT_EQ(value("2 ** 3"), "8");
    EXPECT_EQ(value("0^0"), "1");
    EXPECT_EQ(value("2e3"), "2000");
    EXPECT_EQ(value("2E+3"), "2000");
    EXPECT_EQ(value("100 e 2"), "10000");
    EXPECT_EQ(value("1e1e1"), "10000000000");
    EXPECT_EQ(value("1e3^2"), "1000000");
    EXPECT_EQ(value("2^1e1"), "1024");
    EXPECT_EQ(value("2*3e2"), "600");
    EXPECT_EQ(value("1<<3*2"), "64");
    EXPECT_EQ(value("256>>1>>1"), "64");
    EXPECT_EQ(value("256>>200"), "0");
    EXPECT_EQ(value("-5>>1"), "-3");
    EXPECT_EQ(value("-5>>9999"), "-1");
    EXPECT_EQ(value("6&4<<1"), "0");
    EXPECT_EQ(value("1|2&3"), "3");
    EXPECT_EQ(value("-6&3"), "2");
    EXPECT_EQ(value("-6|3"), "-5");
    EXPECT_EQ(value("12&10"), "8");
}

TEST(Expression, Signs) {
    EXPECT_EQ(value("+100"), "100");
    EXPECT_EQ(value("- 100"), "-100");
    EXPECT_EQ(value("--100"), "100");
    EXPECT_EQ(value("+-+100"), "-100");
    EXPECT_EQ(value("~5"), "-6");
    EXPECT_EQ(value("-~5"), "6");
    EXPECT_EQ(value("~-5"), "4");
    EXPECT_EQ(value("-2^2"), "4");
    EXPECT_EQ(value("-(2)^3"), "-8");
    EXPECT_EQ(value("2*-3"), "-6");
    EXPECT_EQ(value("2--3"), "5");
}

TEST(Expression, MalformedTexts) {
    for (const char* text :
         {"",     " ",    "a",     "12a",    "1.5",    "1,000", "1_000", "5 5",      "()",   "(5",
          "5)",   "5(3)", "(5)3",  "(5)(3)", "*5",     "5*",    "5+",    "-",        "e3",   "1e",
          "1ee3", "2^^3", "2* *3", "2***3",  "100//3", "2<3",   "2> >3", "1||2",     "!5",   "5!",
          "0x",   "0xg",  "0x 5",  "x10",    "0b1",    "5;",    "5=5",   "\xC3\xA9", "\x7f", "5\xA0"}) {
        EXPECT_EQ(value(text), "malformed") << '"' << text << '"';
    }
    EXPECT_EQ(value(std::string("5\0", 2)), "malformed");
    EXPECT_EQ(value("1/0"), "malformed");
    EXPECT_EQ(value("1%(2-2)"), "malformed");
}

/** A negative power is not an integer; the reader of primecount 7 takes it for 1, and so "1000e-1" for 1000. */
TEST(Expression, NegativeExponentsAndShiftsFail) {
    for (const char* text : {"2^-1", "1000e-1", "0e-1", "1^(0-1)", "1<<-1", "0<<-1", "1>>-1"})
        EXPECT_EQ(value(text), "malformed") << text;
}

/** Each of these is below 10^32 modulo 2^128. */
TEST(Expression, NothingWraps) {
    for (const char* text :
         {"10^39", "1e100", "10^400", "2^128+100", " 340282366920938463463374607431768211556", "2^127", "1<<127",
          "1<<128", "1<<200", "2^64*2^64+100", "0xffffffffffffffffffffffffffffffffff",
          "+340282366920938463463374607431768211556", "2e3e2", "3^100", "(2^127-1)+1", "-(0-2^127)"})
        EXPECT_EQ(value(text), "too large") << text;
    for (const char* text : {"-10^39", "0-10^39", "0-2^128", "-2^127"}) {
        // -10^39 is (-10)^39: odd powers are negative.
        EXPECT_EQ(value(text), "-170141183460469231731687303715884105728") << text;
    }
    EXPECT_EQ(value("-10^400"), "too large");
}

TEST(Expression, LargeIntermediateValues) {
    EXPECT_EQ(value("10^400/10^395"), "100000");
    EXPECT_EQ(value("2^4000%1000"), "376");
    EXPECT_EQ(value("2^128+100-2^128"), "100");
    EXPECT_EQ(value("1<<4000>>3990"), "1024");
    EXPECT_EQ(value("2^4095-1+2^4095-2^4095>>4094"), "1");
    EXPECT_EQ(value("1^(10^1000)"), "1");
    EXPECT_EQ(value("(0-1)^(10^1000+1)"), "-1");
    EXPECT_EQ(value("0^(10^1000)"), "0");
    EXPECT_EQ(value("0e99999"), "0");
    EXPECT_EQ(value("0<<99999"), "0");
    EXPECT_EQ(value("5>>10^1000"), "0");
}

TEST(Expression, IntermediateValuesAreBelow2To4096) {
    const std::string largest = "0x" + std::string(expression_bits / 4, 'f');
    EXPECT_EQ(value(largest + "%1000"), "335");
    EXPECT_EQ(value(largest + "+1"), "too large");
    EXPECT_EQ(value("-" + largest + "-2"), "too large");
    EXPECT_EQ(value(largest + "0"), "too large");
    EXPECT_EQ(value("2^4095*2"), "too large");
    EXPECT_EQ(value("2^4095*-2-2^4095"), "too large");
    EXPECT_EQ(value("2^2048*2^2048"), "too large");
    EXPECT_EQ(value("2^4096"), "too large");
    EXPECT_EQ(value("1<<4096"), "too large");
    EXPECT_EQ(value("10^(10^1000)"), "too large");
    EXPECT_EQ(value(std::string(1233, '9') + "/10^1233"), "0");
    EXPECT_EQ(value(std::string(100'000, '9')), "too large");
}

TEST(Expression, NestingHasALimit) {
    for (const char* opening : {"(", "-", "1+(", "1e"}) {
        const bool parentheses = std::string(opening).find('(') != std::string::npos;
        const auto nested = [&](size_t depth) {
            return repeated(opening, depth) + "1" + repeated(parentheses ? ")" : "", depth);
        };
        EXPECT_NE(value(nested(1000)), "too deep") << opening;
        EXPECT_EQ(value(nested(expression_depth + 1)), "too deep") << opening;
        EXPECT_EQ(value(nested(100'000)), "too deep") << opening;
        EXPECT_EQ(value(repeated(opening, 1'000'000)), "too deep") << opening;
    }
    EXPECT_EQ(value(std::string(expression_depth, '(') + "1" + std::string(expression_depth, ')')), "1");
    EXPECT_EQ(value(std::string(expression_depth, '-') + "1"), "1");
    EXPECT_EQ(value("0" + repeated("+1", 50'000)), "50000") << "what does not wait has no limit";
}

TEST(Expression, Decimals) {
    EXPECT_EQ(to_decimal(0), "0");
    EXPECT_EQ(to_decimal(-120), "-120");
    EXPECT_EQ(to_decimal(evaluate("10^38")), "1" + std::string(38, '0'));
    EXPECT_EQ(to_decimal(evaluate("-2^127")), "-170141183460469231731687303715884105728");
}

// --- random expressions -----------------------------------------------------------------------------------------

/** An expression with the value that GMP computes; no value if a step is undefined or leaves the range. */
struct Sample {
    std::string text;
    std::optional<mpz_class> value;
    int precedence = 9;           // of the outermost operator; 9 for a number or parentheses
    bool within_128_bits = true;  // at every step, so that no reader of 128 bits wraps
};

const mpz_class range = mpz_class(1) << expression_bits;

class Generator {
  public:
    explicit Generator(unsigned seed) : random_(seed) {}

    Sample expression(int depth) {
        if (depth == 0 || below(8) == 0) return literal();
        if (below(5) == 0) return with_sign(depth);
        return binary(depth);
    }

  private:
    size_t below(size_t n) {
        return random_() % n;
    }

    std::string blanks() {
        return below(4) == 0 ? std::string(1 + below(2), " \t\n"[below(3)]) : "";
    }

    Sample literal() {
        // Short and long ones, also on both sides of each size at which something changes.
        static constexpr std::array<size_t, 10> sizes{1, 3, 7, 8, 31, 63, 64, 65, 127, 200};
        mpz_class n = 0;
        for (size_t i = sizes[below(below(3) == 0 ? sizes.size() : 4)]; i-- > 0;) n = 2 * n + (below(4) != 0 ? 1 : 0);
        Sample sample{below(5) == 0 ? "0x" + n.get_str(16) : n.get_str(), n};
        note(sample);
        return sample;
    }

    Sample with_sign(int depth) {
        static constexpr std::array<char, 3> signs{'+', '-', '~'};
        const char sign = signs[below(signs.size())];
        const Sample operand = expression(depth - 1);
        Sample sample{sign + blanks() + parenthesized(operand, 8), operand.value, 8, operand.within_128_bits};
        if (sample.value && sign == '-') sample.value = -*operand.value;
        if (sample.value && sign == '~') sample.value = ~*operand.value;
        note(sample);
        return sample;
    }

    Sample binary(int depth) {
        struct Kind {
            const char* name;
            int precedence;
        };
        // After a hexadecimal number an e would be another digit.
        static constexpr std::array<Kind, 13> kinds{{{"|", 1},
                                                     {"&", 2},
                                                     {"<<", 3},
                                                     {">>", 3},
                                                     {"+", 4},
                                                     {"-", 4},
                                                     {"*", 5},
                                                     {"/", 5},
                                                     {"%", 5},
                                                     {"^", 6},
                                                     {"**", 6},
                                                     {" e", 7},
                                                     {" E", 7}}};
        const Kind kind = kinds[below(kinds.size())];
        const bool from_the_right = kind.precedence >= 6;
        const Sample a = expression(depth - 1);
        const Sample b = expression(depth - 1);
        Sample sample{parenthesized(a, kind.precedence + from_the_right) + blanks() + kind.name + blanks() +
                          parenthesized(b, kind.precedence + !from_the_right),
                      std::nullopt, kind.precedence, a.within_128_bits && b.within_128_bits};
        if (a.value && b.value) sample.value = compute(kind.name, *a.value, *b.value, sample.within_128_bits);
        note(sample);
        return sample;
    }

    static std::optional<mpz_class> compute(const std::string& name, const mpz_class& a, const mpz_class& b,
                                            bool& narrow) {
        if (name == "|") return a | b;
        if (name == "&") return a & b;
        if (name == "+") return a + b;
        if (name == "-") return a - b;
        if (name == "*") return a * b;
        if (name == "/" || name == "%") {
            if (b == 0) return std::nullopt;
            return name == "/" ? mpz_class(a / b) : mpz_class(a % b);
        }
        if (b < 0) return std::nullopt;
        const bool huge = b >= expression_bits;
        const unsigned long count = huge ? expression_bits : b.get_ui();
        // A reader of 128 bits takes shift counts modulo 128, and its squares may wrap after the result is complete.
        if (name == "<<" || name == ">>") narrow = narrow && count < 127;
        if (name == "<<") return a << count;
        if (name == ">>") return a >> count;
        if (name == " e" || name == " E") {
            mpz_class scale;
            mpz_ui_pow_ui(scale.get_mpz_t(), 10, count);
            narrow = narrow && count < 38;
            return a * scale;
        }
        if (abs(a) <= 1) return b == 0 || (a == -1 && mpz_even_p(b.get_mpz_t())) ? mpz_class(1) : a;
        if ((mpz_sizeinbase(a.get_mpz_t(), 2) - 1) * count > expression_bits) return std::nullopt;
        mpz_class power;
        mpz_pow_ui(power.get_mpz_t(), a.get_mpz_t(), count);
        return power;
    }

    std::string parenthesized(const Sample& operand, int precedence) {
        if (operand.precedence >= precedence && below(4) != 0) return operand.text;
        std::string text = "(";
        text.append(blanks()).append(operand.text).append(blanks());
        return text + ")";
    }

    static void note(Sample& sample) {
        if (sample.value && abs(*sample.value) >= range) sample.value.reset();
        if (!sample.value || abs(*sample.value) >= mpz_class(1) << 127) sample.within_128_bits = false;
    }

    std::mt19937_64 random_;
};

/** What the reader must return for a value: below the range of 128 bits its lower end; above the range it fails. */
std::string expected(const Sample& sample) {
    const mpz_class limit = mpz_class(1) << 127;
    if (!sample.value || *sample.value >= limit) return "fails";
    return (*sample.value < -limit ? mpz_class(-limit) : *sample.value).get_str();
}

}  // namespace

namespace primecount {
// Null from version 8 on, which has no reader.
[[gnu::weak]] int128_t to_maxint(const std::string& text);
}  // namespace primecount

namespace {

TEST(Expression, RandomOnesAgainstGmp) {
    size_t failures = 0, beyond_128_bits_between = 0, within_128_bits = 0;
    constexpr unsigned samples = 60'000;
    for (unsigned seed = 0; seed < samples; ++seed) {
        const Sample sample = Generator(seed).expression(1 + static_cast<int>(seed % 6));
        const std::string wanted = expected(sample);
        std::string got = value(sample.text);
        if (got == "too large" || got == "malformed") got = "fails";
        ASSERT_EQ(got, wanted) << sample.text;
        if (wanted == "fails") {
            ++failures;
        } else if (!sample.within_128_bits) {
            ++beyond_128_bits_between;
        } else {
            ++within_128_bits;
            if (&primecount::to_maxint != nullptr) {
                ASSERT_EQ(to_decimal(primecount::to_maxint(sample.text)), wanted) << sample.text;
            }
        }
    }
    EXPECT_GT(within_128_bits, samples / 3);
    EXPECT_GT(beyond_128_bits_between, samples / 100);
    EXPECT_GT(failures, samples / 100);
}

}  // namespace
