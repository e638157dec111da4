/**
 * @file   plot_test.cpp
 * @brief  Curves, their drawing with characters, and the script for gnuplot.
 */

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "host/opened_library.h"
#include "plots/gnuplot.h"
#include "plots/plot.h"
#include "plots/plot_canvas.h"
#include "plots/plot_data.h"

namespace {

using namespace kesh_host;
using kesh::test::library;
using testing::HasSubstr;

PlotJob job(unsigned points) {
    return {.library = library(), .points = points, .progress = [](double) {}, .stop = [] { return false; }};
}

TEST(PlotData, Integrals) {
    // Li(10^6) = li(10^6) - li(2), and the expected twins below 10^6: published to the digits given.
    EXPECT_NEAR(logarithmic_integral(1e6), 78626.5, 0.1);
    EXPECT_NEAR(logarithmic_integral(2), 0, 1e-12);
    EXPECT_NEAR(expected_twins(1e6), 8248, 1);
    EXPECT_NEAR(expected_twins(2), 0, 1e-9);
}

TEST(PlotData, PrimesUpToX) {
    const Plot plot = pi_plot(job(11), 0, 1000);
    ASSERT_EQ(plot.curves.size(), 3U);
    EXPECT_EQ(plot.curves[0].points.front().y, 0);
    EXPECT_EQ(plot.curves[0].points[5].x, 500);
    EXPECT_EQ(plot.curves[0].points[5].y, 95);
    EXPECT_EQ(plot.curves[0].points.back().y, 168);
    EXPECT_THAT(plot.notes[0], HasSubstr("pi(x) = 168"));
}

TEST(PlotData, Gaps) {
    const Plot plot = gap_plot(job(2), 0, 100);
    std::size_t gaps = 0;
    for (const Curve::Point& point : plot.curves[0].points) gaps += static_cast<std::size_t>(point.y);
    EXPECT_EQ(gaps, 24U);
    EXPECT_EQ(plot.curves[0].points.front().x, 1);
    EXPECT_EQ(plot.curves[0].points.back().x, 8);
    EXPECT_THAT(plot.notes[0], HasSubstr("the largest is 8 (after 89)"));
    EXPECT_THAT(gap_plot(job(2), 24, 28).notes[0], HasSubstr("no gaps"));
}

TEST(PlotData, GapsBeyondTheNarrowedPrimes) {
    // Primes above 2^32 arrive by their low 32 bits, and gaps across pieces must not be lost.
    EXPECT_THAT(gap_plot(job(2), 4294967296, 4294967400).notes[0], HasSubstr("the largest is 46 (after 4294967311)"));
    const Plot pieces = gap_plot(job(2), 0, 120'000'000);
    std::size_t gaps = 0;
    for (const Curve::Point& point : pieces.curves[0].points) gaps += static_cast<std::size_t>(point.y);
    EXPECT_EQ(gaps, 6841648U - 1) << "one less than primes below 1.2 * 10^8";
}

TEST(PlotData, TwinsAreCountedWhole) {
    const Plot plot = twin_plot(job(50), 0, 1'000'000);
    EXPECT_EQ(plot.curves[0].points.back().y, 8169);
    EXPECT_THAT(plot.notes[0], HasSubstr("8169 pairs"));
}

TEST(PlotData, StopsWhenAsked) {
    PlotJob stopped = job(10);
    stopped.stop = [] { return true; };
    EXPECT_THROW(pi_plot(stopped, 0, 1000), PlotStopped);
    EXPECT_THROW(gap_plot(stopped, 0, 1000), PlotStopped);
    EXPECT_THROW(twin_plot(stopped, 0, 1000), PlotStopped);
}

/** Columns that a line takes: bytes that do not continue a character. */
std::size_t columns(const std::string& line) {
    return static_cast<std::size_t>(
        std::count_if(line.begin(), line.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }));
}

TEST(PlotCanvas, KeepsToItsSize) {
    const Plot plot = pi_plot(job(50), 0, 100000);
    for (const bool utf8 : {false, true}) {
        for (const unsigned width : {60U, 80U, 200U}) {
            std::istringstream lines(draw_in_terminal(plot, width, 22, utf8, {}));
            std::size_t rows = 0;
            for (std::string line; std::getline(lines, line); ++rows) EXPECT_LE(columns(line), width);
            EXPECT_EQ(rows, 22U);
        }
    }
}

TEST(PlotCanvas, DrawsWhereTheValuesAre) {
    Plot plot{.title = "t", .x_label = "x", .y_label = "y", .curves = {{"c", {{0, 0}, {1, 1}}}}, .notes = {}};
    std::istringstream lines(draw_in_terminal(plot, 20, 8, false, {}));
    std::vector<std::string> rows;
    for (std::string line; std::getline(lines, line);) rows.push_back(line);
    EXPECT_EQ(rows[1].back(), '*') << "the highest value top right";
    EXPECT_THAT(rows[4], HasSubstr("|*")) << "the lowest bottom left";
    plot.curves[0].points.clear();
    EXPECT_NO_THROW(draw_in_terminal(plot, 20, 8, true, {}));
}

TEST(PlotCanvas, AxisNumbers) {
    EXPECT_EQ(axis_number(0), "0");
    EXPECT_EQ(axis_number(123456), "123456");
    EXPECT_EQ(axis_number(78626.7), "78627");
    EXPECT_EQ(axis_number(1e6), "1e6");
    EXPECT_EQ(axis_number(1.234e12), "1.23e12");
    EXPECT_EQ(axis_number(1.5e-7), "1.5e-07");
    EXPECT_EQ(axis_number(0.25), "0.25");
}

TEST(Gnuplot, ScriptHoldsDataAndQuotes) {
    const Plot plot{
        .title = "it's", .x_label = "x", .y_label = "y", .bars = true, .curves = {{"c", {{1, 2}}}}, .notes = {}};
    const std::string script = gnuplot_script(plot, Picture::svg);
    EXPECT_THAT(script, testing::AllOf(HasSubstr("set title 'it''s'"), HasSubstr("\n1 2\n"), HasSubstr("with boxes")));
    EXPECT_THAT(gnuplot_script(plot, Picture::png), HasSubstr("pngcairo"));
}

}  // namespace
