/**
 * @file   progress.cpp
 * @brief  Rendering, and the thread that redraws.
 */
#include "progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace bench_host {

namespace {

using namespace std::chrono_literals;

/** Calls shorter than this show nothing. */
constexpr double quiet_time = 0.5;
/** The time left is worth telling once this part of the work is done, or, of long work, after so many seconds. */
constexpr double earliest_estimate = 0.02;
constexpr double latest_estimate_time = 2;
constexpr auto redraw_interval = 100ms;
/** Seconds between two lines where the line cannot be redrawn. */
constexpr double line_interval = 2;

std::string bar(double fraction, unsigned cells, const ProgressLook& look) {
    const auto filled = static_cast<unsigned>(std::lround(fraction * cells));
    std::string done;
    std::string left;
    for (unsigned i = 0; i < cells; ++i)
        (i < filled ? done : left) += look.utf8 ? (i < filled ? "█" : "░") : (i < filled ? "#" : "-");
    return look.style.green(done) + look.style.dim(left);
}

std::string spinner(double elapsed, const ProgressLook& look) {
    constexpr std::array<const char*, 4> plain = {"|", "/", "-", "\\"};
    constexpr std::array<const char*, 8> braille = {"⠋", "⠙", "⠸", "⠴", "⠦", "⠧", "⠇", "⠏"};
    const auto step = static_cast<std::size_t>(elapsed * 10);
    return look.utf8 ? braille[step % braille.size()] : plain[step % plain.size()];
}

}  // namespace

std::string format_duration(double seconds) {
    if (seconds < 1e-3) return fmt::format("{:.0f} us", std::max(seconds * 1e6, 1.0));
    if (seconds < 0.0995) return fmt::format("{:.1f} ms", seconds * 1e3);
    if (seconds < 10) return fmt::format("{:.2f} s", seconds);
    if (seconds < 100) return fmt::format("{:.1f} s", seconds);
    const auto whole = static_cast<long>(std::lround(seconds));
    if (whole < 3600) return fmt::format("{} min {:02} s", whole / 60, whole % 60);
    return fmt::format("{} h {:02} min", whole / 3600, whole / 60 % 60);
}

std::string render_progress(const std::string& label, std::optional<double> fraction, double elapsed,
                            const std::string& note, unsigned width, const ProgressLook& look) {
    const std::string time = format_duration(elapsed);
    if (!fraction) {
        const std::string tail = fmt::format("  {}{}", time, note.empty() ? "" : ", " + note);
        const std::size_t room = width > tail.size() + 7 ? width - tail.size() - 7 : 8;
        return fmt::format("{} {}{}", spinner(elapsed, look), label.substr(0, room), tail);
    }
    const double part = std::clamp(*fraction, 0.0, 1.0);
    std::string tail = fmt::format(" {:5.1f} %  {}", part * 100, time);
    if (!note.empty()) {
        tail += ", " + note;
    } else if (part > earliest_estimate || (part > 0 && elapsed >= latest_estimate_time)) {
        tail += fmt::format(", {} left", format_duration(elapsed * (1 - part) / part));
    }
    // Label, bar and tail share the line; the last columns stay free for the terminal's own ^C, so that it does not
    // wrap.
    const std::size_t room = width > tail.size() + 5 ? width - tail.size() - 5 : 0;
    const std::string name = label.substr(0, room > 12 ? room - 12 : 0);
    const auto cells =
        static_cast<unsigned>(std::clamp<std::size_t>(room > name.size() ? room - name.size() : 0, 0, 40));
    return fmt::format("{} {}{}", name, bar(part, cells, look), tail);
}

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
    // Only where both share a terminal does the order on the screen depend on it.
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

}  // namespace bench_host
