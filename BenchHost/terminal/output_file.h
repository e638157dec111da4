/**
 * @file   output_file.h
 * @brief  The files that the host writes: pictures and tables of events. Every failure to write is reported; if it can
 *         be known before the work begins, it is reported then.
 */
#pragma once

#include <stdexcept>
#include <string>

namespace kesh_host {

/** A file or standard output could not be written. what() is one line. */
class OutputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** Checks whether the file can be written, or created in its folder. Changes nothing. @throws BadInput */
void check_writable(const std::string& path);

/** Replaces the file's content. @throws OutputError */
void write_whole_file(const std::string& path, const std::string& content);

/** Whether all that was printed has reached standard output. */
bool standard_output_complete();

}  // namespace kesh_host
