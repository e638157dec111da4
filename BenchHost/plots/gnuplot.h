/**
 * @file   gnuplot.h
 * @brief  Plots as files, drawn by gnuplot.
 */
#pragma once

#include <string>

#include "plots/plot.h"

namespace kesh_host {

enum class Picture { svg, png };

/** The commands with which gnuplot draws the plot to its standard output. */
std::string gnuplot_script(const Plot& plot, Picture kind);

/** Checks before the work begins whether a picture can be drawn and its file can be written. @throws BadInput */
void check_picture_file(const std::string& path);

/** Draws the plot into the file. @throws OutputError if gnuplot fails or the file cannot be written */
void draw_with_gnuplot(const Plot& plot, Picture kind, const std::string& path);

}  // namespace kesh_host
