/**
 * @file   output.h
 * @brief  Prints text for the user.
 */
#pragma once

#include <string>

namespace kesh_host {

/** Writes the text to standard output at once, so that its order with progress lines is right. */
void print(const std::string& text);
/** Writes the text to standard error, after everything that was printed before. */
void print_error(const std::string& text);

}  // namespace kesh_host
