/**
 * @file   printable.cpp
 * @brief  Finds the characters of UTF-8 text, and replaces those that cannot be printed.
 */
#include "terminal/printable.h"

#include <fmt/format.h>

#include <cstdint>

namespace kesh_host {

namespace {

/** Length of the well-formed UTF-8 sequence at the beginning, 0 when there is none (Unicode, table 3-7). */
std::size_t sequence_length(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    if (lead < 0x80) return 1;
    const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
    if (lead < 0xc2 || lead > 0xf4 || text.size() < length) return 0;
    // The range of the second byte excludes overlong forms, surrogates and values above U+10FFFF.
    const unsigned low = lead == 0xe0 ? 0xa0 : lead == 0xf0 ? 0x90 : 0x80;
    const unsigned high = lead == 0xed ? 0x9f : lead == 0xf4 ? 0x8f : 0xbf;
    if (byte(1) < low || byte(1) > high) return 0;
    for (std::size_t i = 2; i < length; ++i) {
        if ((byte(i) & 0xc0U) != 0x80) return 0;
    }
    return length;
}

/** Control characters of ASCII, and those of Latin-1, which are two bytes in UTF-8. */
bool is_control(std::string_view character) {
    const auto lead = static_cast<unsigned char>(character[0]);
    return character.size() == 1 ? lead < 0x20 || lead == 0x7f
                                 : lead == 0xc2 && static_cast<unsigned char>(character[1]) < 0xa0;
}

}  // namespace

std::string_view first_character(std::string_view text) {
    if (text.empty()) return text;
    const std::size_t length = sequence_length(text);
    return text.substr(0, length == 0 ? 1 : length);
}

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::string_view character = first_character(text);
        text.remove_prefix(character.size());
        if (sequence_length(character) != 0 && !is_control(character)) {
            result += character;
        } else {
            for (const char byte : character) result += fmt::format("\\x{:02x}", static_cast<unsigned char>(byte));
        }
    }
    return result;
}

std::string shortened(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) return std::string(text);
    std::size_t end = 0;
    for (;;) {
        const std::size_t next = end + first_character(text.substr(end)).size();
        if (next > limit) return std::string(text.substr(0, end)) + "...";
        end = next;
    }
}

}  // namespace kesh_host
