/**
 * @file   progress_line.cpp
 * @brief  Redraws the progress line from a thread of its own.
 */
#include "terminal/progress_line.h"

#include <unistd.h>

#include <cstdio>

#include "terminal/terminal.h"

namespace kesh_host {

namespace {

using namespace std::chrono_literals;

/** Calls shorter than this show nothing. */
constexpr double quiet_time = 0.5;
constexpr auto redraw_interval = 100ms;
/** Seconds between two lines if the line cannot be redrawn. */
constexpr double line_interval = 2;

}  // namespace

ProgressLine::ProgressLine(ProgressLook look, std::string label, Source source)
    : look_(look),
      label_(std::move(label)),
      source_(std::move(source)),
      start_(std::chrono::steady_clock::now()),
      thread_([this] { run(); }) {}

ProgressLine::~ProgressLine() {
    {
        const std::lock_guard lock(mutex_);
        over_ = true;
    }
    wake_.notify_all();
    thread_.join();
    erase();
}

void ProgressLine::erase() {
    if (!drawn_ || !look_.in_place) return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    drawn_ = false;
}

void ProgressLine::above(const std::string& text) {
    const std::lock_guard lock(mutex_);
    if (drawn_) std::fflush(stdout);
    erase();
    std::fputs(text.c_str(), stdout);
    // The order on the screen depends on this only if both streams share a terminal.
    if (look_.visible) std::fflush(stdout);
}

void ProgressLine::run() {
    std::unique_lock lock(mutex_);
    while (!wake_.wait_for(lock, redraw_interval, [this] { return over_; })) {
        if (source_.tick) source_.tick();
        const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
        if (look_.visible && elapsed >= quiet_time) draw(elapsed);
    }
}

void ProgressLine::draw(double elapsed) {
    if (!look_.in_place && elapsed - last_line_ < line_interval) return;
    last_line_ = elapsed;
    const auto fraction = source_.fraction ? source_.fraction() : std::nullopt;
    const std::string note = source_.note ? source_.note() : "";
    const std::string line = render_progress(label_, fraction, elapsed, note, terminal_width(STDERR_FILENO), look_);
    std::fputs((look_.in_place ? "\r\033[K" + line : line + "\n").c_str(), stderr);
    std::fflush(stderr);
    drawn_ = true;
}

}  // namespace kesh_host
