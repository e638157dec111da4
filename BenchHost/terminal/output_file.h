/**
 * @file   output_file.h
 * @brief  Files that the host writes: pictures and tables of events. What cannot be written is said, before the work
 * where that can be known, and never passes as written.
 */
#pragma once

#include <stdexcept>
#include <string>

namespace kesh_host {

/** Something that was to be written could not be. what() is one line. */
class OutputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** Asks whether the file can be written, or made in its folder. Changes nothing. @throws BadInput */
void check_writable(const std::string& path);

/** Replaces the file's content. @throws OutputError */
void write_whole_file(const std::string& path, const std::string& content);

/** Whether all that was printed has reached standard output. */
bool standard_output_complete();

}  // namespace kesh_host
