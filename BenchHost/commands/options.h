/**
 * @file   options.h
 * @brief  The options and words of one command, from the command line or from a line at the prompt.
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
    bool all = false;  ///< print long tensors completely
    ColourChoice colour = ColourChoice::automatic;

    CallSettings call;
    std::optional<int> threads;  ///< the number of threads of the counts, from this call on
    std::string distance;        ///< the distance from the beginning of a range to its end

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
 * Reads a command. Options that are not given keep their value in `defaults`; the prompt passes its own options to
 * every line in this way.
 * @throws BadInput
 */
Options parse_options(const std::vector<std::string>& arguments, const Options& defaults);

/** Whether --json is among the words. It is used for lines whose options cannot be read. */
bool asks_for_json(const std::vector<std::string>& arguments);

/** The properties of an option, for the help and for completion. */
struct OptionHelp {
    enum class Takes { nothing, file, choice, other };

    std::string group;
    std::vector<std::string> names;  ///< with their dashes, short ones first
    std::string value;               ///< the name of its value in the help; empty if it has no value
    std::string meaning;
    Takes takes = Takes::nothing;
    std::vector<std::string> choices;  ///< beginnings of the values, if these are known
};
/** Every option for people, in the order of the help. */
std::vector<OptionHelp> option_help();

/** The long names of all options, for completion. */
std::vector<std::string> option_names();

}  // namespace kesh_host
