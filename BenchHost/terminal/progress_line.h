/**
 * @file   progress_line.h
 * @brief  Shows the progress of a call on standard error.
 */
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "terminal/progress_text.h"

namespace kesh_host {

/** Draws the line on standard error from a thread of its own while it exists, and removes the line at its end. */
class ProgressLine {
  public:
    struct Source {
        std::function<std::optional<double>()> fraction;
        std::function<std::string()> note;  ///< may be empty
        /** Called about ten times a second, visible or not; turns Ctrl-C into a stop request. */
        std::function<void()> tick;
    };

    ProgressLine(ProgressLook look, std::string label, Source source);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    /** Writes text to standard output above the line, which is drawn again below it. */
    void above(const std::string& text);
    ProgressLine& operator=(const ProgressLine&) = delete;

  private:
    void run();
    void draw(double elapsed);
    void erase();

    ProgressLook look_;
    std::string label_;
    Source source_;
    std::chrono::steady_clock::time_point start_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool over_ = false;
    bool drawn_ = false;
    double last_line_ = 0;
    std::thread thread_;
};

}  // namespace kesh_host
