/**
 * @file   plot.h
 * @brief  The `plot` command: curves from calls of the library, in the terminal, as SVG or PNG, or as JSON.
 */
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "library.h"
#include "options.h"
#include "print.h"
#include "progress.h"
#include "tasks.h"

namespace bench_host {

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
    std::vector<std::string> notes;  ///< a few numbers in words, below the picture
};

/** Takes the events of the tasks that a plot ran. */
using EventWriter = std::function<void(const std::vector<Event>&)>;

/** Carries out "plot KIND ...". Answers an exit code. @throws BadInput */
int draw_plot(const Library& library, const Options& options, const std::vector<std::string>& words,
              const PrintLook& look, const ProgressLook& progress, const EventWriter& write_events);

}  // namespace bench_host
