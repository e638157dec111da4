/**
 * @file   event_files.h
 * @brief  The tasks' events as CSV files, for programs and plots.
 */
#pragma once

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "HostKit/task.h"

namespace kesh_host {

/** The CSV files that have been created. */
class EventFiles {
  public:
    /** Creates a file, once for each path, with the header "seconds,task,event,value". @throws BadInput */
    void open(const std::string& path);
    /** Appends the events to a file that has been created. @throws OutputError */
    void append(const std::string& path, const std::vector<Event>& events);
    /** Whether the file has been created and contains no event. */
    bool holds_header_alone(const std::string& path) const;

  private:
    struct CsvFile {
        std::ofstream stream;
        std::size_t events = 0;
    };

    std::map<std::string, CsvFile> files_;
};

}  // namespace kesh_host
