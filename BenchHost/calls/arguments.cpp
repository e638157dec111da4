/**
 * @file   arguments.cpp
 * @brief  Reads the words for each kind of argument, and checks their ranges and forms.
 */
#include "calls/arguments.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <limits>

#include "calls/expression.h"
#include "terminal/bad_input.h"

namespace kesh_host {

namespace {

const cpp_int smallest = std::numeric_limits<mint>::min();
const cpp_int largest = std::numeric_limits<mint>::max();
const cpp_int largest_pattern = std::numeric_limits<umint>::max();
constexpr unsigned limb_bits = 1024;

cpp_int read_integer(const Export& entry, std::string_view parameter, const std::string& word) {
    try {
        return parse_integer(word);
    } catch (const ExpressionError& error) {
        throw BadInput(fmt::format("{}: argument {}: {}", entry.name, parameter, error.what()));
    }
}

mint read_signed(const Export& entry, std::string_view parameter, const std::string& word) {
    const cpp_int value = read_integer(entry, parameter, word);
    if (value < smallest || value > largest) {
        const bool counts = entry.name == "PrimeCount_PrimePi" || entry.name == "PrimeCount_SubmitPrimePi";
        throw BadInput(fmt::format("{}: argument {} = {} does not fit into a machine integer, -2^63 to 2^63-1{}",
                                   entry.name, parameter, word,
                                   counts ? "; PrimeCount_ExprPrimePi takes larger numbers" : ""));
    }
    return static_cast<mint>(value);
}

mint read_pattern(const Export& entry, std::string_view parameter, const std::string& word) {
    const cpp_int value = read_integer(entry, parameter, word);
    if (value < smallest || value > largest_pattern) {
        throw BadInput(fmt::format("{}: argument {} = {} does not fit into 64 bits: it must be from -2^63 to 2^64-1",
                                   entry.name, parameter, word));
    }
    return value < 0 ? static_cast<mint>(value) : static_cast<mint>(static_cast<umint>(value));
}

std::vector<mint> read_tensor(const Export& entry, std::string_view parameter, const std::string& word) {
    std::vector<mint> values;
    if (word.starts_with('{') && word.ends_with('}')) {
        const std::string inside = word.substr(1, word.size() - 2);
        if (inside.find_first_not_of(" \t") == std::string::npos) return values;
        for (std::size_t start = 0; start <= inside.size();) {
            const std::size_t comma = std::min(inside.find(',', start), inside.size());
            values.push_back(read_pattern(entry, parameter, inside.substr(start, comma - start)));
            start = comma + 1;
        }
        return values;
    }
    const cpp_int value = read_integer(entry, parameter, word);
    if (value < 0 || bit_length(value) > limb_bits) {
        throw BadInput(
            fmt::format("{}: argument {} = {} is not from 0 to 2^1024-1; limbs may be given as {{low, ..., high}}",
                        entry.name, parameter, word));
    }
    for (const std::uint64_t limb : to_limbs(value)) values.push_back(static_cast<mint>(limb));
    return values;
}

ArgumentValue read_argument(const Export& entry, const Parameter& parameter, const std::string& word) {
    ArgumentValue argument{.kind = parameter.kind, .typed = word, .value = {}};
    switch (parameter.kind) {
        case Kind::text:
            argument.value = word;
            break;
        case Kind::tensor:
            argument.value = read_tensor(entry, parameter.name, word);
            break;
        case Kind::pattern: {
            const mint pattern = read_pattern(entry, parameter.name, word);
            argument.value = pattern;
            argument.above_signed = pattern < 0 && parse_integer(word) > 0;
            break;
        }
        case Kind::task:
            if (word == "new") {
                argument.value = NewTask{};
            } else {
                argument.value = read_signed(entry, parameter.name, word);
            }
            break;
        default:
            argument.value = read_signed(entry, parameter.name, word);
            break;
    }
    return argument;
}

}  // namespace

std::vector<ArgumentValue> bind_arguments(const Export& entry, std::span<const std::string> words, bool any_count) {
    const std::size_t wanted = entry.parameters.size();
    if (words.size() == 1 && wanted == 2 && !entry.default_begin.empty() && !any_count) {
        const std::string both[] = {std::string(entry.default_begin), words[0]};
        return bind_arguments(entry, both, any_count);
    }
    if (words.size() != wanted && !any_count) {
        std::string names;
        for (const Parameter& parameter : entry.parameters) names += fmt::format(" {}", parameter.name);
        std::string example;
        for (const std::string_view word : entry.example) example += fmt::format(" {}", word);
        throw BadInput(wanted == 0
                           ? fmt::format("{} takes no arguments, {} given", entry.name, words.size())
                           : fmt::format("{} takes {} argument{} ({}), {} given; for example: {}{}", entry.name, wanted,
                                         wanted == 1 ? "" : "s", names.substr(1), words.size(), entry.name, example));
    }
    static const Parameter extra{"extra", Kind::integer, ""};
    std::vector<ArgumentValue> arguments;
    arguments.reserve(words.size());
    for (std::size_t i = 0; i < words.size(); ++i) {
        arguments.push_back(read_argument(entry, i < wanted ? entry.parameters[i] : extra, words[i]));
    }
    return arguments;
}

mint read_task_id(const std::string& word) {
    cpp_int id;
    try {
        id = parse_integer(word);
    } catch (const ExpressionError& error) {
        throw BadInput(error.what());
    }
    if (id < 1 || id > largest) throw BadInput(fmt::format("'{}' is not a task id; 'tasks' lists the tasks", word));
    return static_cast<mint>(id);
}

std::string value_text(const ArgumentValue& argument) {
    if (const mint* number = std::get_if<mint>(&argument.value)) {
        return argument.above_signed ? fmt::format("{}", static_cast<umint>(*number)) : fmt::format("{}", *number);
    }
    if (const auto* text = std::get_if<std::string>(&argument.value)) return *text;
    if (const auto* values = std::get_if<std::vector<mint>>(&argument.value))
        return fmt::format("{{{}}}", fmt::join(*values, ", "));
    return "new";
}

}  // namespace kesh_host
