/**
 * @file   session.h
 * @brief  The common state of the commands of one process: the opened library, the options for every line, the events.
 */
#pragma once

#include <span>

#include "HostKit/library.h"
#include "commands/command.h"
#include "commands/event_output.h"
#include "commands/options.h"

namespace kesh_host {

class Session {
  public:
    /** Opens the library. @throws LibraryError */
    Session(const Options& defaults, std::span<const Command> commands);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Library& library() const {
        return library_;
    }
    std::span<const Command> commands() const {
        return commands_;
    }
    const Options& defaults() const {
        return defaults_;
    }
    /** The command set changes these. */
    Options& defaults() {
        return defaults_;
    }
    EventOutput& events() {
        return events_;
    }

  private:
    Options defaults_;
    std::span<const Command> commands_;
    Library library_;
    EventOutput events_;
};

}  // namespace kesh_host
