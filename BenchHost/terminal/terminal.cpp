/**
 * @file   terminal.cpp
 * @brief  Finds out the width, the colours and the character set of a stream.
 */
#include "terminal/terminal.h"

#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace kesh_host {

Style::Style(int fd, ColourChoice choice) {
    if (choice != ColourChoice::automatic) {
        coloured_ = choice == ColourChoice::always;
        return;
    }
    // https://no-color.org: present and not empty switches colour off, whatever its value.
    const char* no_colour = std::getenv("NO_COLOR");
    const char* term = std::getenv("TERM");
    coloured_ = is_terminal(fd) && (no_colour == nullptr || *no_colour == '\0') && term != nullptr &&
                std::strcmp(term, "dumb") != 0;
}

std::string Style::wrap(std::string_view code, std::string_view text) const {
    if (!coloured_) return std::string(text);
    return std::string("\033[").append(code).append("m").append(text).append("\033[0m");
}

bool is_terminal(int fd) {
    return isatty(fd) != 0;
}

unsigned terminal_width(int fd) {
    winsize size{};
    if (ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    if (const char* columns = std::getenv("COLUMNS")) {
        const long value = std::strtol(columns, nullptr, 10);
        if (value >= 20 && value <= 1000) return static_cast<unsigned>(value);
    }
    return 80;
}

bool utf8_locale() {
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

}  // namespace kesh_host
