/**
 * @file   progress_text.h
 * @brief  The progress line at one moment: bar and time left if a percentage is known, else the elapsed time.
 */
#pragma once

#include <optional>
#include <string>

#include "terminal/terminal.h"

namespace kesh_host {

/** How the line looks. */
struct ProgressLook {
    bool visible = false;  ///< draw the line
    bool in_place = true;  ///< redraw one line (terminal), or print a new line from time to time (file, pipe)
    bool utf8 = false;
    Style style;
};

/**
 * The progress line at one moment, fitted to `width` columns.
 * @param fraction part of the work that is done, 0 to 1; none if only the elapsed time is known
 * @param note      replaces the time left, for example "stopping"
 */
std::string render_progress(const std::string& label, std::optional<double> fraction, double elapsed,
                            const std::string& note, unsigned width, const ProgressLook& look);

}  // namespace kesh_host
