/**
 * @file   duration.cpp
 * @brief  Formats times for people.
 */
#include "terminal/duration.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace kesh_host {

std::string format_duration(double seconds) {
    if (seconds < 1e-3) return fmt::format("{:.0f} us", std::max(seconds * 1e6, 1.0));
    if (seconds < 0.0995) return fmt::format("{:.1f} ms", seconds * 1e3);
    if (seconds < 10) return fmt::format("{:.2f} s", seconds);
    if (seconds < 100) return fmt::format("{:.1f} s", seconds);
    const auto whole = static_cast<long>(std::lround(seconds));
    if (whole < 3600) return fmt::format("{} min {:02} s", whole / 60, whole % 60);
    return fmt::format("{} h {:02} min", whole / 3600, whole / 60 % 60);
}

}  // namespace kesh_host
