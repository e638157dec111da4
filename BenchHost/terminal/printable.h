/**
 * @file   printable.h
 * @brief  Makes text from outside printable on one line of a terminal, so that a message can show what was typed,
 *         whatever its bytes are.
 */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kesh_host {

/**
 * The first character of a text: the bytes of one UTF-8 sequence, or a single byte that begins none. Empty for an empty
 * text.
 */
std::string_view first_character(std::string_view text);

/** The text with each control character and each byte that is not UTF-8 written as \xNN. */
std::string printable(std::string_view text);

/** The text, or its first characters, at most `limit` bytes, and "...". */
std::string shortened(std::string_view text, std::size_t limit);

}  // namespace kesh_host
