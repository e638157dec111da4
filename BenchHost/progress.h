/**
 * @file   progress.h
 * @brief  The line that shows how far a call is: bar and time left where a percentage is known, elapsed time otherwise.
 */
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "terminal.h"

namespace bench_host {

/** "35 us", "2.4 ms", "0.42 s", "12.3 s", "2 min 05 s", "1 h 03 min". */
std::string format_duration(double seconds);

/** How the line looks. */
struct ProgressLook {
    bool visible = false;  ///< draw at all
    bool in_place = true;  ///< redraw one line (terminal), or print a line now and then (file, pipe)
    bool utf8 = false;
    Style style;
};

/**
 * The progress line at one moment, fitted to `width` columns.
 * @param fraction  part of the work that is done, 0 to 1; none where only the elapsed time is known
 * @param note      replaces the time left, for example "stopping"
 */
std::string render_progress(const std::string& label, std::optional<double> fraction, double elapsed,
                            const std::string& note, unsigned width, const ProgressLook& look);

/** Draws on standard error from a thread of its own while it lives; the line is gone afterwards. */
class ProgressLine {
  public:
    struct Source {
        std::function<std::optional<double>()> fraction;
        std::function<std::string()> note;  ///< may be empty
        /** Called about ten times a second, visible or not: where Ctrl-C is turned into a stop request. */
        std::function<void()> tick;
    };

    ProgressLine(ProgressLook look, std::string label, Source source);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    /** Writes text to standard output where the line stands; the line is drawn again below it. */
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

}  // namespace bench_host
