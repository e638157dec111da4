/**
 * @file   remarks.cpp
 * @brief  The sentences that describe results.
 */
#include "answers/remarks.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <regex>

#include "HostKit/export_table.h"
#include "calls/arguments.h"
#include "calls/expression.h"
#include "calls/sum_check.h"
#include "terminal/digits.h"
#include "terminal/printable.h"

namespace kesh_host {

namespace {

/** Longer results are printed without separators, because nobody reads so many groups. */
constexpr std::size_t longest_grouped = 60;

std::string grouped(const std::string& digits) {
    return digits.size() > 4 && digits.size() < longest_grouped ? group_digits(digits, ',') : digits;
}

const mint* integer(const Outcome& outcome, std::size_t i) {
    return i < outcome.arguments.size() ? std::get_if<mint>(&outcome.arguments[i].value) : nullptr;
}

std::optional<std::string> taken_as(const Outcome& outcome, std::size_t i) {
    const mint* value = integer(outcome, i);
    if (value == nullptr) return std::nullopt;
    const ArgumentValue& argument = outcome.arguments[i];
    if (argument.kind == Kind::pattern && *value < 0 && !argument.above_signed)
        return fmt::format("{}", static_cast<umint>(*value));
    // primesieve treats the index 0 as 1; primecount treats a negative number of primes as 0.
    if (outcome.entry->name == "PrimeSieve_NthPrime" && *value == 0) return "1";
    if (outcome.entry->name == "PrimeCount_Coprime" && i == 1 && *value < 0) return "0";
    const auto low = static_cast<std::int32_t>(*value);
    if (outcome.entry->name == "PrimeCount_SetThreads" && low != *value) return fmt::format("{}", low);
    return std::nullopt;
}

bool is_narrowed(const Outcome& outcome) {
    const auto* list = std::get_if<TensorResult>(&outcome.result);
    if (list == nullptr) return false;
    const auto elements = (*list)->data();
    // The first prime above 2^31 - 1 is 2^31 + 11 and arrives negative, unless the list begins above it.
    const mint* first = outcome.arguments.size() == 2 ? integer(outcome, 0) : nullptr;
    const bool begins_beyond = first != nullptr && static_cast<umint>(*first) > std::numeric_limits<int>::max();
    return !elements.empty() && (begins_beyond || *std::min_element(elements.begin(), elements.end()) < 0);
}

/**
 * Whether a text has a minus sign before the base of a power. The library's reader of text applies the sign first; most
 * people expect the power first.
 */
bool signs_a_power(const Outcome& outcome) {
    if (outcome.arguments.empty()) return false;
    const auto* text = std::get_if<std::string>(&outcome.arguments.back().value);
    static const std::regex signed_base(R"((^|[-+*/%^(&|<>~])\s*-\s*(\w+|\([^()]*\))\s*(\^|\*\*))");
    return text != nullptr && text->size() < 1000 && std::regex_search(*text, signed_base);
}

/** The argument in the sentence: as it was typed, or the number for which the library takes it. */
std::string shown(const Outcome& outcome, const Remarks& remarks, std::size_t i) {
    if (i >= outcome.arguments.size()) return "?";  // --unchecked allows missing arguments
    return remarks.taken_as[i] ? grouped(*remarks.taken_as[i]) : printable(outcome.arguments[i].typed);
}

std::optional<std::string> stand_in(const Outcome& outcome, const Remarks& remarks) {
    const std::string_view name = outcome.entry->name;
    const mint* result = std::get_if<mint>(&outcome.result);
    if (result == nullptr || outcome.arguments.size() != outcome.entry->parameters.size()) return std::nullopt;
    const auto argument = [&](std::size_t i) { return shown(outcome, remarks, i); };
    if (name == "PrimeCount_CreateTask" && *result < 1) return "No task was created: the host refused it.";
    if (name == "PrimeSieve_NextKthPrime" || name == "PrimeSieve_PreviousKthPrime") {
        const mint steps = *integer(outcome, 1);
        if (steps < 1)
            return fmt::format("For k = {} the library looks for no prime: the result has no meaning.", argument(1));
        if (*result == 0 && steps > 1)
            return fmt::format("There are fewer than {} primes before {}; the result is then 0.", argument(1),
                               argument(0));
    }
    if (name.starts_with("PrimeSieve_Previous") && *result == 0)
        return fmt::format("There is no prime before {}; the result is then 0.", argument(0));
    if (name == "PrimeSieve_PrimeSumInterval" && *integer(outcome, 1) == -1)
        return "No prime was added: the library adds the primes below b + 1, and b + 1 wraps to 0.";
    return std::nullopt;
}

/** The sum in words, and what is known about the part that does not fit into 64 bits. */
std::string sum_text(const SumCheck& sum, const std::string& residue) {
    if (sum.wrapped == Wrapped::no) return residue;
    if (sum.exact) return fmt::format("{}, which is {} modulo 2^64", grouped(to_decimal(*sum.exact)), residue);
    return fmt::format("{} modulo 2^64; the sum itself {} larger", residue,
                       sum.wrapped == Wrapped::yes ? "is" : "may be");
}

std::string result_text(const Outcome& outcome) {
    if (const auto* text = std::get_if<std::string>(&outcome.result)) return grouped(*text);
    if (const auto* list = std::get_if<TensorResult>(&outcome.result)) return grouped(std::to_string((*list)->length));
    const mint* number = std::get_if<mint>(&outcome.result);
    if (number == nullptr) return "";
    const bool pattern = outcome.entry->result == Kind::pattern;
    const std::string digits = grouped(pattern ? std::to_string(static_cast<umint>(*number)) : std::to_string(*number));
    return outcome.sum ? sum_text(*outcome.sum, digits) : digits;
}

/**
 * The export's sentence with its places filled in: {0} and {1} are arguments, {r} is the result, and {0?one|many} is
 * the first word if {0} is 1, else the second.
 */
std::string filled_in(std::string_view sentence, const std::vector<std::string>& arguments, const std::string& result) {
    std::string text;
    while (!sentence.empty()) {
        const std::size_t open = std::min(sentence.find('{'), sentence.size());
        text += sentence.substr(0, open);
        if (open == sentence.size()) break;
        const std::size_t close = sentence.find('}', open);
        const std::string_view place = sentence.substr(open + 1, close - open - 1);
        const std::string& value = place[0] == 'r' ? result : arguments.at(static_cast<std::size_t>(place[0] - '0'));
        if (const std::size_t bar = place.find('|'); bar != std::string_view::npos) {
            text += value == "1" ? place.substr(2, bar - 2) : place.substr(bar + 1);
        } else {
            text += value;
        }
        sentence.remove_prefix(close + 1);
    }
    return text;
}

}  // namespace

Remarks remarks_on(const Outcome& outcome) {
    Remarks remarks;
    for (std::size_t i = 0; i < outcome.arguments.size(); ++i) remarks.taken_as.push_back(taken_as(outcome, i));
    remarks.stand_in = stand_in(outcome, remarks);
    remarks.narrowed = is_narrowed(outcome);
    return remarks;
}

std::string answer_sentence(const Outcome& outcome) {
    if (outcome.entry->sentence.empty()) return "";
    const Remarks remarks = remarks_on(outcome);
    std::vector<std::string> arguments;
    for (std::size_t i = 0; i < std::max(outcome.arguments.size(), outcome.entry->parameters.size()); ++i)
        arguments.push_back(shown(outcome, remarks, i));
    std::string text = remarks.stand_in.value_or(filled_in(outcome.entry->sentence, arguments, result_text(outcome)));
    for (std::size_t i = 0; i < outcome.arguments.size(); ++i) {
        if (!remarks.taken_as[i]) continue;
        const bool pattern = outcome.arguments[i].kind == Kind::pattern;
        text += fmt::format(" The library takes {} as {}{}.", printable(outcome.arguments[i].typed),
                            pattern ? "its 64-bit pattern, " : "", arguments[i]);
    }
    if (signs_a_power(outcome)) text += " In this text a sign binds tighter than a power: -2^2 is 4.";
    if (remarks.narrowed)
        text +=
            " The list has the low 32 bits of each prime, with sign: for primes above 2^31 - 1, the elements are not "
            "the primes themselves.";
    const mint* number = std::get_if<mint>(&outcome.result);
    if (number != nullptr && *number < 0 && outcome.entry->result == Kind::pattern)
        text += " The host's integers have a sign, so the result arrives as the negative number above.";
    return text;
}

}  // namespace kesh_host
