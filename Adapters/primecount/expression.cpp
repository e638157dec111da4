/**
 * @file   expression.cpp
 * @brief  Operator precedence parsing with explicit stacks, with exact integers in two's complement.
 */
#include "expression.h"

#include <algorithm>
#include <array>
#include <bit>
#include <stdexcept>
#include <utility>
#include <vector>

namespace kesh::counting {

namespace {

__extension__ typedef unsigned __int128 uint128_t;

/**
 * An integer below 2^4096 in absolute value, in two's complement. The topmost limb repeats the sign: a sum or a
 * difference of two such integers cannot wrap, and shows in that limb whether it is too large.
 */
class Integer {
  public:
    Integer(uint64_t value = 0) : limbs_{value} {}

    static Integer power_of_two(const Integer& exponent) {
        if (exponent.bit_length() > 64 || exponent.limbs_[0] >= expression_bits) overflow();
        Integer result;
        result.set_bit(exponent.limbs_[0]);
        return result;
    }

    bool is_negative() const {
        return limbs_[top] != 0;
    }

    bool is_zero() const {
        return !is_negative() && bit_length() == 0;
    }

    bool bit(size_t i) const {
        return (limbs_[i / 64] >> i % 64 & 1) != 0;
    }

    /** The number of bits of an integer that is not negative. */
    size_t bit_length() const {
        size_t i = top;
        while (i > 0 && limbs_[i] == 0) --i;
        return 64 * i + static_cast<size_t>(std::bit_width(limbs_[i]));
    }

    Integer operator~() const {
        return each_limb(*this, [](uint64_t a, uint64_t) { return ~a; });
    }

    Integer operator&(const Integer& b) const {
        return each_limb(b, [](uint64_t a, uint64_t other) { return a & other; });
    }

    Integer operator|(const Integer& b) const {
        return each_limb(b, [](uint64_t a, uint64_t other) { return a | other; });
    }

    Integer operator+(const Integer& b) const {
        Integer sum;
        uint128_t carry = 0;
        for (size_t i = 0; i <= top; ++i) {
            carry += uint128_t{limbs_[i]} + b.limbs_[i];
            sum.limbs_[i] = static_cast<uint64_t>(carry);
            carry >>= 64;
        }
        return sum.checked();
    }

    Integer operator-(const Integer& b) const {
        return ~(~*this + b);
    }

    Integer operator-() const {
        return ~*this + 1;
    }

    Integer operator*(const Integer& b) const {
        if (is_negative()) return -(-*this * b);
        if (b.is_negative()) return -(*this * -b);
        const size_t length = limbs_in_use();
        const size_t b_length = b.limbs_in_use();
        if (length + b_length > top + 1) overflow();
        Integer product;
        for (size_t i = 0; i < length; ++i) {
            uint128_t carry = 0;
            for (size_t j = 0; j < b_length; ++j) {
                carry += uint128_t{limbs_[i]} * b.limbs_[j] + product.limbs_[i + j];
                product.limbs_[i + j] = static_cast<uint64_t>(carry);
                carry >>= 64;
            }
            product.limbs_[i + b_length] = static_cast<uint64_t>(carry);
        }
        // Two positive factors: only a topmost limb of 0 is a sign.
        if (product.limbs_[top] != 0) overflow();
        return product;
    }

    /** The quotient, truncated towards 0, and the remainder that belongs to it, bit by bit. */
    std::pair<Integer, Integer> divided_by(const Integer& b) const {
        if (b.is_zero()) throw std::invalid_argument("division by zero");
        if (is_negative()) {
            const auto [quotient, remainder] = (-*this).divided_by(b);
            return {-quotient, -remainder};
        }
        if (b.is_negative()) {
            const auto [quotient, remainder] = divided_by(-b);
            return {-quotient, remainder};
        }
        Integer quotient;
        Integer remainder;
        const size_t length = b.limbs_in_use() + 1;  // twice a remainder fits
        for (size_t i = bit_length(); i-- > 0;) {
            remainder.append_bit(bit(i), length);
            if (remainder.subtract_if_not_less(b, length)) quotient.set_bit(i);
        }
        return {quotient, remainder};
    }

    /** Rounds down. */
    Integer shifted_right(const Integer& count) const {
        if (is_negative()) return ~(~*this).shifted_right(count);
        if (count.bit_length() > 64 || count.limbs_[0] >= expression_bits) return {};
        return divided_by(power_of_two(count)).first;
    }

    /** Throws above 2^127 - 1; integers below -2^127 become -2^127. */
    int128_t to_int128() const {
        constexpr auto largest = static_cast<int128_t>(~uint128_t{0} >> 1);
        const Integer& magnitude_less_sign = is_negative() ? ~*this : *this;
        if (magnitude_less_sign.bit_length() < 128)
            return static_cast<int128_t>(uint128_t{limbs_[1]} << 64 | limbs_[0]);
        if (is_negative()) return -largest - 1;
        overflow();
    }

  private:
    static constexpr size_t top = expression_bits / 64;

    [[noreturn]] static void overflow() {
        throw std::overflow_error("the value is too large");
    }

    const Integer& checked() const {
        if (limbs_[top] != 0 && limbs_[top] != ~uint64_t{0}) overflow();
        return *this;
    }

    size_t limbs_in_use() const {
        return (bit_length() + 63) / 64;
    }

    void set_bit(size_t i) {
        limbs_[i / 64] |= uint64_t{1} << i % 64;
    }

    template <typename Operation>
    Integer each_limb(const Integer& b, Operation operation) const {
        Integer result;
        std::transform(limbs_.begin(), limbs_.end(), b.limbs_.begin(), result.limbs_.begin(), operation);
        return result;
    }

    void append_bit(bool low, size_t length) {
        for (size_t i = length; i-- > 1;) limbs_[i] = limbs_[i] << 1 | limbs_[i - 1] >> 63;
        limbs_[0] = limbs_[0] << 1 | uint64_t{low};
    }

    bool subtract_if_not_less(const Integer& b, size_t length) {
        size_t i = length - 1;
        while (i > 0 && limbs_[i] == b.limbs_[i]) --i;
        if (limbs_[i] < b.limbs_[i]) return false;
        uint64_t borrow = 0;
        for (i = 0; i < length; ++i) {
            const uint128_t difference = uint128_t{limbs_[i]} - b.limbs_[i] - borrow;
            limbs_[i] = static_cast<uint64_t>(difference);
            borrow = static_cast<uint64_t>(difference >> 64) & 1;
        }
        return true;
    }

    std::array<uint64_t, top + 1> limbs_;
};

using Operation = Integer (*)(const Integer& a, const Integer& b);

Integer power(const Integer& base, const Integer& exponent) {
    if (exponent.is_negative()) throw std::invalid_argument("negative exponent");
    Integer result = 1;
    // From the top bit down, no intermediate power is larger than the result.
    for (size_t i = exponent.bit_length(); i-- > 0;) {
        result = result * result;
        if (exponent.bit(i)) result = result * base;
    }
    return result;
}

Integer scaled(const Integer& a, const Integer& exponent) {
    if (a.is_zero() && !exponent.is_negative()) return a;
    return a * power(10, exponent);
}

Integer shifted_left(const Integer& a, const Integer& count) {
    if (count.is_negative()) throw std::invalid_argument("negative shift");
    return a.is_zero() ? a : a * Integer::power_of_two(count);
}

Integer shifted_right(const Integer& a, const Integer& count) {
    if (count.is_negative()) throw std::invalid_argument("negative shift");
    return a.shifted_right(count);
}

constexpr int right_grouping_from = 6;

struct Operator {
    std::string_view name;
    int precedence;
    Operation apply;
};

// A name comes before the names that are its beginnings.
constexpr Operator binary_operators[] = {
    {"|", 1, [](const Integer& a, const Integer& b) { return a | b; }},
    {"&", 2, [](const Integer& a, const Integer& b) { return a & b; }},
    {"<<", 3, shifted_left},
    {">>", 3, shifted_right},
    {"+", 4, [](const Integer& a, const Integer& b) { return a + b; }},
    {"-", 4, [](const Integer& a, const Integer& b) { return a - b; }},
    {"**", right_grouping_from, power},
    {"^", right_grouping_from, power},
    {"*", 5, [](const Integer& a, const Integer& b) { return a * b; }},
    {"/", 5, [](const Integer& a, const Integer& b) { return a.divided_by(b).first; }},
    {"%", 5, [](const Integer& a, const Integer& b) { return a.divided_by(b).second; }},
    {"e", 7, scaled},
    {"E", 7, scaled},
};

constexpr Operator parenthesis = {"(", 0, nullptr};

// Signs are applied to 0 and their operand.
constexpr Operator signs[] = {
    {"+", 8, [](const Integer& a, const Integer& b) { return a + b; }},
    {"-", 8, [](const Integer& a, const Integer& b) { return a - b; }},
    {"~", 8, [](const Integer&, const Integer& b) { return ~b; }},
};

class Reader {
  public:
    explicit Reader(std::string_view text) : rest_(text) {}

    int128_t run() {
        do {
            read_value();
        } while (read_operator());
        return values_.back().to_int128();
    }

  private:
    /** Opening parentheses and signs, then a number. */
    void read_value() {
        for (;;) {
            skip_blanks();
            if (accept(parenthesis)) {
                push(parenthesis);
            } else if (const Operator* sign = accept_one_of(signs)) {
                values_.emplace_back();
                push(*sign);
            } else {
                values_.push_back(read_number());
                return;
            }
        }
    }

    /** Closing parentheses, then an operator. False at the end of the text, when everything is computed. */
    bool read_operator() {
        for (;;) {
            skip_blanks();
            if (rest_.empty()) {
                apply_down_to(1);
                if (!operators_.empty()) throw std::invalid_argument("a closing parenthesis is missing");
                return false;
            }
            if (rest_.front() != ')') break;
            rest_.remove_prefix(1);
            apply_down_to(1);
            if (operators_.empty()) throw std::invalid_argument("an opening parenthesis is missing");
            operators_.pop_back();
        }
        const Operator* found = accept_one_of(binary_operators);
        if (found == nullptr) throw std::invalid_argument("an operator is expected");
        apply_down_to(found->precedence + (found->precedence >= right_grouping_from ? 1 : 0));
        push(*found);
        return true;
    }

    Integer read_number() {
        unsigned base = 10;
        if (rest_.size() > 2 && rest_[0] == '0' && (rest_[1] == 'x' || rest_[1] == 'X')) {
            base = 16;
            rest_.remove_prefix(2);
        }
        if (rest_.empty() || digit(rest_.front()) >= base) throw std::invalid_argument("a number is expected");
        Integer value;
        for (; !rest_.empty() && digit(rest_.front()) < base; rest_.remove_prefix(1))
            value = value * base + digit(rest_.front());
        return value;
    }

    /** The value of a hexadecimal digit; 16 for any other character. */
    static unsigned digit(char c) {
        if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
        if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
        if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
        return 16;
    }

    void skip_blanks() {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\n\v\f\r"), rest_.size()));
    }

    bool accept(const Operator& expected) {
        if (!rest_.starts_with(expected.name)) return false;
        rest_.remove_prefix(expected.name.size());
        return true;
    }

    template <size_t Count>
    const Operator* accept_one_of(const Operator (&operators)[Count]) {
        const Operator* found =
            std::find_if(operators, operators + Count, [this](const Operator& next) { return accept(next); });
        return found == operators + Count ? nullptr : found;
    }

    void push(const Operator& waiting) {
        if (operators_.size() == expression_depth) throw std::length_error("the expression is nested too deeply");
        operators_.push_back(&waiting);
    }

    /** Applies the waiting operators of at least this precedence, back to the last open parenthesis. */
    void apply_down_to(int precedence) {
        for (; !operators_.empty() && operators_.back()->precedence >= precedence; operators_.pop_back()) {
            const Integer b = values_.back();
            values_.pop_back();
            values_.back() = operators_.back()->apply(values_.back(), b);
        }
    }

    std::string_view rest_;
    std::vector<Integer> values_;
    std::vector<const Operator*> operators_;
};

}  // namespace

int128_t evaluate(std::string_view text) {
    return Reader(text).run();
}

std::string to_decimal(int128_t x) {
    std::string digits;
    // Digit by digit with the sign of x: -2^127 has no positive counterpart.
    for (int128_t rest = x; rest != 0 || digits.empty(); rest /= 10)
        digits += static_cast<char>('0' + (rest < 0 ? -1 : 1) * static_cast<int>(rest % 10));
    if (x < 0) digits += '-';
    std::reverse(digits.begin(), digits.end());
    return digits;
}

}  // namespace kesh::counting
