/**
 * @file   plot_canvas.h
 * @brief  A plot drawn with characters.
 */
#pragma once

#include <string>

#include "plots/plot.h"
#include "terminal/terminal.h"

namespace kesh_host {

/**
 * The plot in `width` columns and `height` rows, with axes and legend, in braille dots, or in letters without UTF-8.
 */
std::string draw_in_terminal(const Plot& plot, unsigned width, unsigned height, bool utf8, const Style& style);

/** 1.2e+12 and the like, short enough for an axis. */
std::string axis_number(double value);

}  // namespace kesh_host
