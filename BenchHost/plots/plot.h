/**
 * @file   plot.h
 * @brief  The contents of a plot, whatever draws it.
 */
#pragma once

#include <string>
#include <vector>

namespace kesh_host {

/** One curve, or the bars of a histogram. */
struct Curve {
    struct Point {
        double x;
        double y;
    };
    std::string name;
    std::vector<Point> points;
};

struct Plot {
    std::string title;
    std::string x_label;
    std::string y_label;
    bool bars = false;
    std::vector<Curve> curves;
    std::vector<std::string> notes;  ///< lines of text below the picture, with a few numbers
};

}  // namespace kesh_host
