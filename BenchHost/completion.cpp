/**
 * @file   completion.cpp
 * @brief  Which names complete a word: exports and commands at the line's head, options after it.
 */
#include <algorithm>

#include "faults.h"
#include "options.h"
#include "prompt.h"

namespace bench_host {

namespace {

void keep_matching(std::vector<std::string>& result, std::string_view name, std::string_view word) {
    if (name.starts_with(word)) result.emplace_back(name);
}

}  // namespace

std::vector<std::string> completions(std::string_view before_cursor, std::size_t& word_begin) {
    word_begin = before_cursor.find_last_of(" \t") + 1;  // npos + 1 = 0
    const std::size_t first = before_cursor.find_first_not_of(" \t");
    const bool at_head = first == std::string_view::npos || word_begin <= first;
    std::string_view word = before_cursor.substr(word_begin);
    std::vector<std::string> result;
    const std::string_view head = first == std::string_view::npos
                                      ? ""
                                      : before_cursor.substr(first, before_cursor.find_first_of(" \t", first) - first);
    if (word.starts_with("-")) {
        for (const std::string& name : option_names()) keep_matching(result, name, word);
    } else if (at_head || head == "help" || head == "?") {
        if (word.starts_with('?')) {
            word.remove_prefix(1);
            ++word_begin;
        }
        for (const Export& entry : export_table()) keep_matching(result, entry.name, word);
        if (at_head) {
            for (const CommandWord& command : command_words()) keep_matching(result, command.name, word);
        }
    } else if (head == "plot") {
        for (const std::string_view name : {"pi", "gaps", "twins", "events"}) keep_matching(result, name, word);
    } else if (head == "set") {
        for (const std::string_view name : {"json", "quiet", "all", "every-event"}) keep_matching(result, name, word);
    }
    std::sort(result.begin(), result.end());
    return result;
}

std::string shell_completion_words(std::string_view what) {
    std::string words;
    if (what == "names") {
        for (const Export& entry : export_table()) words.append(entry.name).append("\n");
        for (const CommandWord& command : command_words()) {
            if (!command.prompt_only) words.append(command.name).append("\n");
        }
    } else if (what == "options") {
        for (const std::string& name : option_names()) words.append(name).append("\n");
    } else if (what == "fail") {
        for (const FaultSlot& slot : fault_slots()) words.append(slot.name).append("=\n");
    }
    return words;
}

}  // namespace bench_host
