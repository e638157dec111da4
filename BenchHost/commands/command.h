/**
 * @file   command.h
 * @brief  What a command is.
 */
#pragma once

#include <string>
#include <vector>

#include "commands/options.h"

namespace kesh_host {

class Session;

/** A line of the shell or of the prompt, read. */
struct Request {
    const Options& options;
    std::vector<std::string> words;  ///< what follows the name
    bool at_prompt = false;
};

/** A word that is carried out and is no export. The one table of them is in command_table.cpp. */
struct Command {
    /** Returns an exit code. @throws BadInput */
    using Run = int (*)(Session& session, const Request& request);

    std::string name;
    std::string usage;
    std::string meaning;
    Run run = nullptr;  ///< null: the prompt itself carries it out
    bool prompt_only = false;
    std::vector<std::string> choices = {};  ///< what the first argument may be, if that is known
};

}  // namespace kesh_host
