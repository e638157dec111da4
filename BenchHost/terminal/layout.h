/**
 * @file   layout.h
 * @brief  Breaks long text into lines that fit.
 */
#pragma once

#include <string>

namespace kesh_host {

/**
 * Breaks text at blanks so that no line is longer than `width`; lines after the first are indented. Escape sequences
 * take no room.
 */
std::string wrapped(const std::string& text, unsigned width, unsigned indent);

/** The text with its lines longer than `width` wrapped; their continuations have the indentation of their beginning. */
std::string fitted_to_width(const std::string& text, unsigned width);

/** If `fd` is a terminal, the text with its long lines wrapped; otherwise the unchanged text. */
std::string fitted(const std::string& text, int fd);

}  // namespace kesh_host
