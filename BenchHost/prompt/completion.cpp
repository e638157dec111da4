/**
 * @file   completion.cpp
 * @brief  Which names complete a word: exports and commands at the line's head, options after it.
 */
#include "prompt/completion.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "HostKit/export_table.h"
#include "HostKit/fault_plan.h"
#include "commands/options.h"

namespace kesh_host {

namespace {

std::string lower(std::string_view text) {
    std::string result(text);
    for (char& c : result) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

/**
 * The names that the word completes: those that begin with it, or else those that do so in letters of either case, or
 * else those that contain it.
 */
std::vector<std::string> matching(const std::vector<std::string>& names, std::string_view word) {
    const std::string small = lower(word);
    const auto keep = [&](auto&& fits) {
        std::vector<std::string> kept;
        std::copy_if(names.begin(), names.end(), std::back_inserter(kept), fits);
        std::sort(kept.begin(), kept.end());
        return kept;
    };
    auto kept = keep([&](const std::string& name) { return name.starts_with(word); });
    if (kept.empty()) kept = keep([&](const std::string& name) { return lower(name).starts_with(small); });
    if (kept.empty())
        kept = keep([&](const std::string& name) { return lower(name).find(small) != std::string::npos; });
    return kept;
}

/** Exports, and the commands too, those of the prompt only where they are wanted. */
std::vector<std::string> names_of_calls(bool commands, bool prompt_commands) {
    std::vector<std::string> names;
    for (const Export& entry : export_table()) names.emplace_back(entry.name);
    for (const CommandWord& command : command_words()) {
        if (commands && (prompt_commands || !command.prompt_only)) names.emplace_back(command.name);
    }
    return names;
}

}  // namespace

std::vector<std::string> completions(std::string_view before_cursor, std::size_t& word_begin) {
    word_begin = before_cursor.find_last_of(" \t") + 1;  // npos + 1 = 0
    const std::size_t first = before_cursor.find_first_not_of(" \t");
    const bool at_head = first == std::string_view::npos || word_begin <= first;
    std::string_view word = before_cursor.substr(word_begin);
    const std::string_view head = first == std::string_view::npos
                                      ? ""
                                      : before_cursor.substr(first, before_cursor.find_first_of(" \t", first) - first);
    if (word.starts_with("-")) return matching(option_names(), word);
    if (at_head || head == "help" || head == "?") {
        if (word.starts_with('?')) {
            word.remove_prefix(1);
            ++word_begin;
        }
        return matching(names_of_calls(at_head, true), word);
    }
    if (head == "plot") return matching({"pi", "gaps", "twins", "events"}, word);
    if (head == "set") return matching({"json", "quiet", "all", "every-event"}, word);
    return {};
}

std::string shell_completion_words(std::string_view what, std::string_view word) {
    std::vector<std::string> names;
    if (what == "names") {
        names = names_of_calls(true, false);
    } else if (what == "options") {
        names = option_names();
    } else if (what == "fail") {
        for (const FaultSlot& slot : fault_slots()) names.push_back(std::string(slot.name) + "=");
    }
    std::string words;
    for (const std::string& name : matching(names, word)) words.append(name).append("\n");
    return words;
}

}  // namespace kesh_host
