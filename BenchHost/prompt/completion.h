/**
 * @file   completion.h
 * @brief  Completes names, at the prompt and for the shell.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kesh_host {

/** The names that complete the text before the cursor; `word_begin` is set to where the completed word begins. */
std::vector<std::string> completions(std::string_view before_cursor, std::size_t& word_begin);

/**
 * The words for the shell's completion, one per line: "names" of exports and commands, "options", or the possible first
 * arguments of the command of this name; all of them, or those that complete `word`. For "value", the kind of value of
 * the option `word`: "none", "file", "other", or "words" and the words.
 */
std::string shell_completion_words(std::string_view what, std::string_view word);

}  // namespace kesh_host
