/**
 * @file   progress_text.cpp
 * @brief  Draws the bar or the spinner, and the time left.
 */
#include "terminal/progress_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "terminal/duration.h"

namespace kesh_host {

namespace {

/** The time left is shown once this part of the work is done, or, for long work, after this many seconds. */
constexpr double earliest_estimate = 0.02;
constexpr double latest_estimate_time = 2;
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
    // Label, bar and tail share the line; the last columns stay free for the ^C that the terminal prints, so that it
    // does not wrap.
    const std::size_t room = width > tail.size() + 5 ? width - tail.size() - 5 : 0;
    const std::string name = label.substr(0, room > 12 ? room - 12 : 0);
    const auto cells =
        static_cast<unsigned>(std::clamp<std::size_t>(room > name.size() ? room - name.size() : 0, 0, 40));
    return fmt::format("{} {}{}", name, bar(part, cells, look), tail);
}

}  // namespace kesh_host
