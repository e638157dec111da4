/**
 * @file   line_reader.h
 * @brief  Reads lines at a terminal, with editing, history, completion, and events as they arrive.
 */
#pragma once

#include <memory>
#include <string>

#include "commands/session.h"

namespace kesh_host {

class LineReader {
  public:
    explicit LineReader(Session& session);
    ~LineReader();
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    /** The next line without its end; false at Ctrl-D. */
    bool read(std::string& line);

  private:
    class Terminal;
    std::unique_ptr<Terminal> terminal_;
};

}  // namespace kesh_host
