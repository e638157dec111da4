/**
 * @file   split_line.cpp
 * @brief  Splits lines into words, and the forms Name(a, b) and Name[a, b] into name and arguments.
 */
#include "prompt/split_line.h"

#include <fmt/format.h>

#include <cctype>

#include "terminal/bad_input.h"

namespace kesh_host {

namespace {

bool blank(char c) {
    return c == ' ' || c == '\t';
}

std::string trimmed(std::string_view text) {
    while (!text.empty() && blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && blank(text.back())) text.remove_suffix(1);
    return std::string(text);
}

bool name_character(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

/**
 * Whether text[start..] is the rest of a number such as 1,000: three digits, the first one 0, after a digit and a
 * comma.
 */
bool digits_after_a_comma(std::string_view text, std::size_t start) {
    const std::string_view group = text.substr(start);
    return group.size() == 3 && group[0] == '0' && group.find_first_not_of("0123456789") == std::string_view::npos &&
           start >= 2 && std::isdigit(static_cast<unsigned char>(text[start - 2])) != 0;
}

/** The arguments between the brackets of Name(...), split at the commas outside inner brackets. */
std::vector<std::string> bracketed_arguments(std::string_view inside) {
    std::vector<std::string> arguments;
    if (trimmed(inside).empty()) return arguments;
    int depth = 0;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= inside.size(); ++i) {
        if (i == inside.size() || (inside[i] == ',' && depth == 0)) {
            if (start > 0 && digits_after_a_comma(inside.substr(0, i), start))
                throw BadInput("between brackets a comma separates arguments: write 1_000_000 for 1,000,000 there");
            arguments.push_back(trimmed(inside.substr(start, i - start)));
            start = i + 1;
        } else if (inside[i] == '(' || inside[i] == '{' || inside[i] == '[') {
            ++depth;
        } else if (inside[i] == ')' || inside[i] == '}' || inside[i] == ']') {
            --depth;
        }
    }
    for (std::string& argument : arguments) {
        if (argument.size() >= 2 && argument.front() == '"' && argument.back() == '"')
            argument = argument.substr(1, argument.size() - 2);
    }
    return arguments;
}

/** Words divided by blanks; quotes and braces keep a word together. */
std::vector<std::string> plain_words(std::string_view line) {
    std::vector<std::string> words;
    std::string word;
    bool begun = false;
    char quote = '\0';
    int braces = 0;
    for (const char c : line) {
        if (quote != '\0') {
            if (c == quote) {
                quote = '\0';
            } else {
                word += c;
            }
        } else if (c == '"' || c == '\'') {
            quote = c;
            begun = true;
        } else if (blank(c) && braces == 0) {
            if (begun) words.push_back(word);
            word.clear();
            begun = false;
        } else {
            if (c == '{') ++braces;
            if (c == '}' && braces > 0) --braces;
            word += c;
            begun = true;
        }
    }
    if (quote != '\0') throw BadInput(fmt::format("a closing {} is missing", quote));
    if (begun) words.push_back(word);
    return words;
}

}  // namespace

std::vector<std::string> split_line(const std::string& line) {
    const std::string text = trimmed(line);
    std::size_t end = 0;
    while (end < text.size() && name_character(text[end])) ++end;
    const std::size_t open = end;
    if (end == 0 || open >= text.size() || (text[open] != '(' && text[open] != '[')) return plain_words(text);

    const char closing = text[open] == '(' ? ')' : ']';
    // Options may follow the closing bracket.
    const std::size_t close = text.rfind(closing);
    if (close == std::string::npos) throw BadInput(fmt::format("a closing {} is missing", closing));
    std::vector<std::string> words = {text.substr(0, end)};
    for (std::string& argument : bracketed_arguments(std::string_view(text).substr(open + 1, close - open - 1)))
        words.push_back(std::move(argument));
    for (std::string& word : plain_words(std::string_view(text).substr(close + 1))) words.push_back(std::move(word));
    return words;
}

}  // namespace kesh_host
