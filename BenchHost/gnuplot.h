/**
 * @file   gnuplot.h
 * @brief  Plots as files, drawn by gnuplot.
 */
#pragma once

#include <string>

#include "plot.h"

namespace bench_host {

enum class Picture { svg, png };

/** The commands that draw the plot into the file. */
std::string gnuplot_script(const Plot& plot, Picture kind, const std::string& path);

/** Draws the plot into the file. @throws BadInput when gnuplot is missing or refuses */
void draw_with_gnuplot(const Plot& plot, Picture kind, const std::string& path);

}  // namespace bench_host
