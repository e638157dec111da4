/**
 * @file   process.h
 * @brief  Runs kesh-host as users do: as a process with pipes, and as a process on a pseudo-terminal.
 */
#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace kesh::test {

using Arguments = std::vector<std::string>;

struct Finished {
    int code = -1;       ///< exit status, or 128 + signal
    std::string output;  ///< standard output
    std::string errors;  ///< standard error
};

/** The environment of a process besides its arguments. */
struct Surroundings {
    std::string input = {};                                 ///< standard input
    std::string input_file = {};                            ///< standard input is this file instead
    std::string output_file = {};                           ///< standard output goes to this file
    std::map<std::string, std::string> environment = {};    ///< set on top of the test's own
    std::chrono::seconds limit = std::chrono::minutes(20);  ///< without output, after which it is killed
    int signal = 0;                                         ///< sent once `signal_when` has appeared on standard error
    std::string signal_when = {};
};

/** Runs kesh-host to its end. */
Finished run_host(const Arguments& arguments, const Surroundings& surroundings = {});

/** kesh-host on a pseudo-terminal, of 80 columns by default. */
class TerminalHost {
  public:
    explicit TerminalHost(const Arguments& arguments, unsigned short columns = 80,
                          const std::map<std::string, std::string>& environment = {});
    ~TerminalHost();
    TerminalHost(const TerminalHost&) = delete;
    TerminalHost& operator=(const TerminalHost&) = delete;

    void type(const std::string& keys);
    /** Reads until the text appears after the text last expected; false if it does not in time. */
    bool expect(const std::string& text, std::chrono::seconds limit = std::chrono::minutes(20));
    /** Waits for the end; returns the exit code, or -1 if the process does not end in time. */
    int wait(std::chrono::seconds limit = std::chrono::minutes(20));
    /** The end of the output, for messages. */
    std::string recent() const {
        return screen_.substr(screen_.size() > 500 ? screen_.size() - 500 : 0);
    }
    /** All that has been written to the terminal. */
    const std::string& screen() const {
        return screen_;
    }

  private:
    bool read_some(std::chrono::milliseconds limit);

    pid_t pid_ = -1;
    int terminal_ = -1;
    std::string screen_;
    std::size_t seen_ = 0;
};

}  // namespace kesh::test
