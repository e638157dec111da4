/**
 * @file   layout.cpp
 * @brief  Breaks text into lines that fit a terminal.
 */
#include "terminal/layout.h"

#include <algorithm>
#include <sstream>
#include <string_view>

#include "terminal/terminal.h"

namespace kesh_host {

namespace {

/** The columns of the text: one per character, none for the bytes of "ESC [ ... m". */
std::size_t columns_of(std::string_view text) {
    std::size_t columns = 0;
    bool escape = false;
    for (const char c : text) {
        if (c == '\033') escape = true;
        const bool continues_character = (static_cast<unsigned char>(c) & 0xc0) == 0x80;
        if (!escape && !continues_character) ++columns;
        if (escape && c == 'm') escape = false;
    }
    return columns;
}

}  // namespace

std::string wrapped(const std::string& text, unsigned width, unsigned indent) {
    std::istringstream words(text);
    std::string result;
    std::string word;
    std::size_t column = indent;
    while (words >> word) {
        const std::size_t room = columns_of(word);
        if (column > indent && column + 1 + room > width) {
            result += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (column > indent) {
            result += ' ';
            ++column;
        }
        result += word;
        column += room;
    }
    return result;
}

std::string fitted_to_width(const std::string& text, unsigned width) {
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t indent = std::min(line.find_first_not_of(' '), line.size());
        result += columns_of(line) <= width
                      ? line
                      : line.substr(0, indent) + wrapped(line, width, static_cast<unsigned>(indent));
        result += '\n';
    }
    return result;
}

std::string fitted(const std::string& text, int fd) {
    return is_terminal(fd) ? fitted_to_width(text, terminal_width(fd)) : text;
}

}  // namespace kesh_host
