/**
 * @file   prompt.h
 * @brief  The prompt on a terminal (line editing, history, completion, events as they come), and commands from a pipe.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "session.h"

namespace bench_host {

/** Reads commands from the terminal until Ctrl-D or quit. Answers an exit code. */
int run_prompt(Session& session);

/** Carries out the lines of standard input, then waits for the tasks. Answers the largest exit code. */
int run_script(Session& session);

/** The names that complete the text before the cursor; `word_begin` is set to where the completed word begins. */
std::vector<std::string> completions(std::string_view before_cursor, std::size_t& word_begin);

/** The words, one a line, that the shell completes: "names" of exports and commands, "options", or the slots of "fail";
 * all of them, or those that complete `word`.
 */
std::string shell_completion_words(std::string_view what, std::string_view word);

}  // namespace bench_host
