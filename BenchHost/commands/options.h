/**
 * @file   options.h
 * @brief  Options and words of one command, of the shell's line or of one line at the prompt.
 */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "calls/caller.h"
#include "campaigns/endurance.h"
#include "terminal/terminal.h"

namespace kesh_host {

struct Options {
    std::vector<std::string> words;  ///< the export or command, and its arguments

    std::string library;
    bool help = false;
    bool list = false;
    bool version = false;
    bool functions_page = false;  ///< print the reference page
    std::string complete;         ///< print words for the shell's completion

    bool json = false;
    bool quiet = false;
    bool all = false;  ///< tensors whole
    ColourChoice colour = ColourChoice::automatic;

    CallSettings call;
    std::optional<int> threads;  ///< of the counts, from this call on
    std::string distance;        ///< of a range: its end is so far from its begin

    bool next = false;  ///< KESH_PrimeQ: go to the next prime
    bool previous = false;
    std::string file;  ///< KESH_PrimeQ: numbers from a file

    bool every_event = false;
    std::string events_file;

    std::vector<std::string> faults;
    std::optional<mint> leave_length;

    std::string svg;
    std::string png;
    unsigned points = 0;

    EnduranceLook endurance;
};

/**
 * Reads a command. Options not given keep the value they have in `defaults`, which is how the prompt hands its own on
 * to every line.
 * @throws BadInput
 */
Options parse_options(const std::vector<std::string>& arguments, const Options& defaults);

/** Whether --json is among the words, for a line whose options cannot be read. */
bool asks_for_json(const std::vector<std::string>& arguments);

/** The text of --help, laid out for lines of `width` columns. */
std::string help_text(unsigned width);
/** The text of "help" at the prompt, which fits a small terminal. */
std::string prompt_help_text(unsigned width);
/** Columns for text on standard output that reads well. */
unsigned help_width();

/** The long names of all options, for completion. */
std::vector<std::string> option_names();

/** The words that are commands rather than exports, with one line each. */
struct CommandWord {
    std::string_view name;
    std::string_view usage;
    std::string_view meaning;
    bool prompt_only;
};
const std::vector<CommandWord>& command_words();

}  // namespace kesh_host
