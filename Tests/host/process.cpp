/**
 * @file   process.cpp
 * @brief  fork, pipes and a pseudo-terminal.
 */
#include "host/process.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace kesh::test {

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void execute(const Arguments& arguments, const std::map<std::string, std::string>& environment) {
    // The developer's own settings must not change the tests.
    unsetenv("NO_COLOR");
    unsetenv("COLUMNS");
    setenv("XDG_STATE_HOME", "/dev/null", 1);  // no history file
    setenv("LC_ALL", "C.UTF-8", 1);
    setenv("TERM", "xterm", 1);
    for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
    std::vector<char*> words = {const_cast<char*>(KESH_HOST_PROGRAM)};
    for (const std::string& word : arguments) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    execv(KESH_HOST_PROGRAM, words.data());
    _exit(127);
}

/** In the child: the descriptor becomes the file, if one is named. */
void redirect(const std::string& file, int mode, int descriptor) {
    if (file.empty()) return;
    const int opened = open(file.c_str(), mode | O_CLOEXEC);
    if (opened < 0) _exit(127);
    dup2(opened, descriptor);
}

struct Pipe {
    Pipe() {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    }
    ~Pipe() {
        close_end(0);
        close_end(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    void close_end(std::size_t end) {
        if (ends[end] >= 0) close(ends[end]);
        ends[end] = -1;
    }
    std::array<int, 2> ends{};
};

int exit_code(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/** Appends the data that can be read; closes the pipe's end at the end of the data. */
void drain(Pipe& pipe, std::string& text) {
    std::array<char, 65536> buffer{};
    const ssize_t got = read(pipe.ends[0], buffer.data(), buffer.size());
    if (got > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(got));
    } else {
        pipe.close_end(0);
    }
}

}  // namespace

Finished run_host(const Arguments& arguments, const Surroundings& surroundings) {
    Pipe input;
    Pipe output;
    Pipe errors;
    const pid_t pid = fork();
    if (pid < 0) throw std::runtime_error("no process");
    if (pid == 0) {
        dup2(input.ends[0], STDIN_FILENO);
        dup2(output.ends[1], STDOUT_FILENO);
        dup2(errors.ends[1], STDERR_FILENO);
        redirect(surroundings.input_file, O_RDONLY, STDIN_FILENO);
        redirect(surroundings.output_file, O_WRONLY, STDOUT_FILENO);
        execute(arguments, surroundings.environment);
    }
    input.close_end(0);
    output.close_end(1);
    errors.close_end(1);
    std::signal(SIGPIPE, SIG_IGN);
    std::string left = surroundings.input;
    if (left.empty()) input.close_end(1);
    Finished finished;
    bool signalled = surroundings.signal == 0;
    while (output.ends[0] >= 0 || errors.ends[0] >= 0) {
        std::array<pollfd, 3> waits = {pollfd{output.ends[0], POLLIN, 0}, pollfd{errors.ends[0], POLLIN, 0},
                                       pollfd{input.ends[1], POLLOUT, 0}};
        if (poll(waits.data(), waits.size(), static_cast<int>(std::chrono::milliseconds(surroundings.limit).count())) <=
            0) {
            kill(pid, SIGKILL);
            break;
        }
        if (waits[0].revents != 0) drain(output, finished.output);
        if (waits[1].revents != 0) drain(errors, finished.errors);
        if (waits[2].revents != 0) {
            const ssize_t put = write(input.ends[1], left.data(), std::min<std::size_t>(left.size(), 4096));
            left.erase(0, put > 0 ? static_cast<std::size_t>(put) : left.size());
            if (left.empty()) input.close_end(1);
        }
        if (!signalled && finished.errors.find(surroundings.signal_when) != std::string::npos) {
            kill(pid, surroundings.signal);
            signalled = true;
        }
    }
    int status = 0;
    waitpid(pid, &status, 0);
    finished.code = exit_code(status);
    return finished;
}

TerminalHost::TerminalHost(const Arguments& arguments, unsigned short columns,
                           const std::map<std::string, std::string>& environment) {
    winsize size{};
    size.ws_row = 24;
    size.ws_col = columns;
    pid_ = forkpty(&terminal_, nullptr, nullptr, &size);
    if (pid_ < 0) throw std::runtime_error("no terminal");
    if (pid_ == 0) execute(arguments, environment);
}

TerminalHost::~TerminalHost() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    if (terminal_ >= 0) close(terminal_);
}

void TerminalHost::type(const std::string& keys) {
    if (write(terminal_, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
        throw std::runtime_error("the terminal takes no keys");
}

bool TerminalHost::read_some(std::chrono::milliseconds limit) {
    pollfd wait{terminal_, POLLIN, 0};
    if (poll(&wait, 1, static_cast<int>(limit.count())) <= 0) return true;
    std::array<char, 4096> buffer{};
    const ssize_t got = read(terminal_, buffer.data(), buffer.size());
    if (got <= 0) return false;
    screen_.append(buffer.data(), static_cast<std::size_t>(got));
    return true;
}

bool TerminalHost::expect(const std::string& text, std::chrono::seconds limit) {
    const auto end = Clock::now() + limit;
    for (bool open = true;;) {
        if (const std::size_t found = screen_.find(text, seen_); found != std::string::npos) {
            seen_ = found + text.size();
            return true;
        }
        if (!open || Clock::now() >= end) return false;
        open = read_some(std::chrono::milliseconds(100));
    }
}

int TerminalHost::wait(std::chrono::seconds limit) {
    const auto end = Clock::now() + limit;
    for (bool last_look = false; !last_look;) {
        last_look = Clock::now() >= end;
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            while (read_some(std::chrono::milliseconds(0)) && screen_.size() < 1'000'000) {
                pollfd more{terminal_, POLLIN, 0};
                if (poll(&more, 1, 0) <= 0) break;
            }
            pid_ = -1;
            return exit_code(status);
        }
        read_some(std::chrono::milliseconds(50));
    }
    return -1;
}

}  // namespace kesh::test
