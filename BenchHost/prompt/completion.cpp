/**
 * @file   completion.cpp
 * @brief  Finds the names that complete a word: exports and commands for the first word of a line, options after it.
 */
#include "prompt/completion.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "HostKit/export_table.h"
#include "commands/command.h"
#include "commands/command_table.h"
#include "commands/names.h"
#include "commands/options.h"

namespace kesh_host {

namespace {

std::string lower(std::string_view text) {
    std::string result(text);
    for (char& c : result) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

/**
 * The names that complete the word: those that begin with it; if there are none, those that begin with it in letters of
 * either case; if there are none, those that contain it.
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

/** The names of exports, of the commands if `commands`, and of those for the prompt if `prompt_commands`. */
std::vector<std::string> names_of_calls(bool commands, bool prompt_commands) {
    std::vector<std::string> names;
    for (const Export& entry : export_table()) names.emplace_back(entry.name);
    for (const Command& command : command_table()) {
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
    if (const Command* command = find_command(command_table(), std::string(head)))
        return matching(command->choices, word);
    return {};
}

namespace {

std::string lines_of(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text.append(word).append("\n");
    return text;
}

/** The kind of value that an option takes: "none", "file", "words" with the words, or "other". */
std::string value_of(std::string_view option) {
    for (const OptionHelp& help : option_help()) {
        if (std::find(help.names.begin(), help.names.end(), option) == help.names.end()) continue;
        switch (help.takes) {
            case OptionHelp::Takes::nothing:
                return "none\n";
            case OptionHelp::Takes::file:
                return "file\n";
            case OptionHelp::Takes::choice:
                return "words\n" + lines_of(help.choices);
            case OptionHelp::Takes::other:
                return "other\n";
        }
    }
    return "none\n";
}

}  // namespace

std::string shell_completion_words(std::string_view what, std::string_view word) {
    if (what == "names") return lines_of(matching(names_of_calls(true, false), word));
    if (what == "options") return lines_of(matching(option_names(), word));
    if (what == "value") return value_of(word);
    if (const Command* command = find_command(command_table(), std::string(what)))
        return lines_of(matching(command->choices, word));
    return "";
}

}  // namespace kesh_host
