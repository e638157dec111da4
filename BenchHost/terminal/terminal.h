/**
 * @file   terminal.h
 * @brief  The properties of the streams: width, colour, character set.
 */
#pragma once

#include <string>
#include <string_view>

namespace kesh_host {

enum class ColourChoice { automatic, always, never };

/** The colours and marks of one output stream; plain text if the stream is not a terminal or NO_COLOR is set. */
class Style {
  public:
    Style() = default;
    /** For the stream of file descriptor `fd`. */
    Style(int fd, ColourChoice choice);

    std::string bold(std::string_view text) const {
        return wrap("1", text);
    }
    std::string dim(std::string_view text) const {
        return wrap("2", text);
    }
    std::string red(std::string_view text) const {
        return wrap("1;31", text);
    }
    std::string green(std::string_view text) const {
        return wrap("32", text);
    }
    std::string yellow(std::string_view text) const {
        return wrap("33", text);
    }
    std::string blue(std::string_view text) const {
        return wrap("34", text);
    }
    bool coloured() const {
        return coloured_;
    }

  private:
    std::string wrap(std::string_view code, std::string_view text) const;

    bool coloured_ = false;
};

bool is_terminal(int fd);

/** Columns of the terminal of `fd`; if there is none, COLUMNS, or else 80. */
unsigned terminal_width(int fd);

/** Whether the locale writes UTF-8, so that block and braille characters may be used. */
bool utf8_locale();

}  // namespace kesh_host
