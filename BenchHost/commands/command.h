/**
 * @file   command.h
 * @brief  The description of a command, and of a line that requests one.
 */
#pragma once

#include <string>
#include <vector>

#include "commands/options.h"

namespace kesh_host {

class Session;

/** A line of the shell or of the prompt after it has been read. */
struct Request {
    const Options& options;
    std::vector<std::string> words;  ///< the words after the name
    bool at_prompt = false;
};

/** A command of the host. command_table.cpp has the table of all commands. */
struct Command {
    /** Returns an exit code. @throws BadInput */
    using Run = int (*)(Session& session, const Request& request);

    std::string name;
    std::string usage;
    std::string meaning;
    Run run = nullptr;  ///< null if the prompt itself executes the command
    bool prompt_only = false;
    std::vector<std::string> choices = {};  ///< the possible first arguments, if they are known
};

}  // namespace kesh_host
