/**
 * @file   split_line.h
 * @brief  Splits a line at the prompt into words.
 */
#pragma once

#include <string>
#include <vector>

namespace kesh_host {

/** Splits a line of the prompt into words: quotes, and the forms Name(a, b) and Name[a, b]. @throws BadInput */
std::vector<std::string> split_line(const std::string& line);

}  // namespace kesh_host
