/**
 * @file   expression.cpp
 * @brief  A recursive descent parser for the grammar in expression.h.
 */
#include "calls/expression.h"

#include <fmt/format.h>

#include <cctype>

#include "terminal/printable.h"

namespace kesh_host {

namespace {

constexpr unsigned max_bits = 16384;

class Parser {
  public:
    explicit Parser(std::string_view text) : text_(text) {}

    cpp_int run() {
        if (text_.find_first_not_of(" \t") == std::string_view::npos)
            throw ExpressionError("an empty text is not an integer; write for example 10^12");
        cpp_int value = sum();
        skip_blanks();
        if (position_ < text_.size()) fail(fmt::format("'{}' is not expected", next_character()));
        return value;
    }

  private:
    [[noreturn]] void fail(const std::string& what) const {
        throw ExpressionError(
            fmt::format("'{}': {} at column {}; an integer is written like 1_000_000 or 1,000,000, 1e9, 10^12, 2^61-1, "
                        "3*(10^6+1), -5 or 0xff",
                        shortened(text_, 40), what, position_ + 1));
    }

    std::string_view next_character() const {
        return first_character(text_.substr(position_));
    }

    void skip_blanks() {
        while (position_ < text_.size() && (text_[position_] == ' ' || text_[position_] == '\t')) ++position_;
    }

    char peek() {
        skip_blanks();
        return position_ < text_.size() ? text_[position_] : '\0';
    }

    bool accept(std::string_view token) {
        skip_blanks();
        if (!text_.substr(position_).starts_with(token)) return false;
        position_ += token.size();
        return true;
    }

    cpp_int bounded(cpp_int value) const {
        if (bit_length(value) > max_bits) fail(fmt::format("the value passes {} bits", max_bits));
        return value;
    }

    cpp_int sum() {
        cpp_int value = product();
        for (;;) {
            if (accept("+")) {
                value += product();
            } else if (accept("-")) {
                value -= product();
            } else {
                return bounded(std::move(value));
            }
        }
    }

    cpp_int product() {
        cpp_int value = signed_power();
        for (;;) {
            if (accept("*")) {
                value = bounded(value * signed_power());
            } else if (accept("/")) {
                const cpp_int divisor = signed_power();
                if (divisor.is_zero()) fail("the divisor is 0");
                value /= divisor;
            } else {
                return value;
            }
        }
    }

    cpp_int signed_power() {
        // Every sign and bracket costs a stack frame: without the limit a line could end the process.
        if (++depth_ > max_depth) fail("too many signs and brackets");
        cpp_int value;
        if (accept("-")) {
            value = -signed_power();
        } else if (accept("+")) {
            value = signed_power();
        } else {
            value = power();
        }
        --depth_;
        return value;
    }

    cpp_int power() {
        cpp_int base = primary();
        if (!accept("**") && !accept("^")) return base;
        const cpp_int exponent = signed_power();
        if (exponent < 0) fail("the exponent is negative");
        if (base.is_zero() || base == 1) return exponent == 0 ? cpp_int(1) : base;
        if (base == -1) return (exponent & 1) != 0 ? base : cpp_int(1);
        if (exponent > max_bits || (bit_length(base) - 1) * static_cast<unsigned>(exponent) > max_bits) {
            fail(fmt::format("the value passes {} bits", max_bits));
        }
        return bounded(boost::multiprecision::pow(base, static_cast<unsigned>(exponent)));
    }

    cpp_int primary() {
        if (accept("(")) {
            cpp_int value = sum();
            if (!accept(")")) fail("a closing bracket is missing");
            return value;
        }
        const char next = peek();
        if (std::isdigit(static_cast<unsigned char>(next)) != 0) return number();
        if (position_ == text_.size()) fail("the text ends where a number is expected");
        fail(fmt::format("'{}' is not a number, which is expected here", next_character()));
    }

    /** Digits of the given kind from the current position, separators left out. */
    std::string digits(int (*is_digit)(int)) {
        std::string result;
        while (position_ < text_.size()) {
            const auto c = static_cast<unsigned char>(text_[position_]);
            if (is_digit(c) != 0) {
                result += static_cast<char>(c);
            } else if (c != '_' || result.empty()) {
                break;
            }
            ++position_;
        }
        return result;
    }

    /** "1,000,000": groups of three digits after one to three. */
    void add_groups(std::string& decimal) {
        const std::size_t first = decimal.size();
        while (position_ < text_.size() && text_[position_] == ',') {
            ++position_;
            const std::string group = digits(std::isdigit);
            if (group.size() != 3 || first > 3) fail("commas must separate groups of three digits");
            decimal += group;
        }
    }

    cpp_int number() {
        if (accept("0x") || accept("0X")) {
            const std::string hex = digits(std::isxdigit);
            if (hex.empty()) fail("hexadecimal digits are missing");
            if (hex.size() > max_bits / 4) fail(fmt::format("the value passes {} bits", max_bits));
            return cpp_int("0x" + hex);
        }
        std::string decimal = digits(std::isdigit);
        add_groups(decimal);
        std::size_t scale = 0;
        if (position_ < text_.size() && text_[position_] == '.') {
            ++position_;
            const std::string fraction = digits(std::isdigit);
            if (fraction.empty()) fail("digits are missing after the point");
            decimal += fraction;
            scale = fraction.size();
        }
        if (position_ < text_.size() && (text_[position_] == 'e' || text_[position_] == 'E')) {
            ++position_;
            const std::string exponent = digits(std::isdigit);
            if (exponent.empty()) fail("the exponent after 'e' is missing");
            if (exponent.size() > 4) fail(fmt::format("the value passes {} bits", max_bits));
            decimal.append(std::stoul(exponent), '0');
        }
        if (decimal.find_first_not_of('0', decimal.size() - scale) != std::string::npos)
            fail("the number is not an integer");
        decimal.erase(decimal.size() - scale);
        // cpp_int reads a leading zero as octal.
        const std::size_t first = decimal.find_first_not_of('0');
        if (first == std::string::npos) return 0;
        decimal.erase(0, first);
        if (decimal.size() > max_bits / 3) fail(fmt::format("the value passes {} bits", max_bits));
        return bounded(cpp_int(decimal));
    }

    static constexpr int max_depth = 200;

    std::string_view text_;
    std::size_t position_ = 0;
    int depth_ = 0;
};

}  // namespace

cpp_int parse_integer(std::string_view text) {
    return Parser(text).run();
}

std::string to_decimal(const cpp_int& value) {
    return value.str();
}

unsigned bit_length(const cpp_int& value) {
    if (value == 0) return 0;
    return static_cast<unsigned>(boost::multiprecision::msb(value < 0 ? cpp_int(-value) : value)) + 1;
}

std::vector<std::uint64_t> to_limbs(const cpp_int& value) {
    std::vector<std::uint64_t> limbs;
    boost::multiprecision::export_bits(value, std::back_inserter(limbs), 64, false);
    if (limbs.empty()) limbs.push_back(0);
    return limbs;
}

}  // namespace kesh_host
