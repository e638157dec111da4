/**
 * @file   plot_canvas.cpp
 * @brief  Draws a plot with characters: scales the curves, sets the dots, and adds the axes.
 */
#include "plots/plot_canvas.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "plots/plot.h"

namespace kesh_host {

namespace {

/** The dots of one braille character: two columns, four rows, in the order of the code's bits. */
constexpr std::array<std::array<unsigned, 2>, 4> braille_bits = {
    {{0x01, 0x08}, {0x02, 0x10}, {0x04, 0x20}, {0x40, 0x80}}};
/** One letter for each curve, if there is no braille. */
constexpr std::string_view letters = "*o+x#";

struct Box {
    double x_low = std::numeric_limits<double>::max();
    double x_high = std::numeric_limits<double>::lowest();
    double y_low = 0;
    double y_high = std::numeric_limits<double>::lowest();
};

Box box_of(const Plot& plot) {
    Box box;
    bool any = false;
    for (const Curve& curve : plot.curves) {
        for (const Curve::Point& point : curve.points) {
            any = true;
            box.x_low = std::min(box.x_low, point.x);
            box.x_high = std::max(box.x_high, point.x);
            box.y_low = std::min(box.y_low, point.y);
            box.y_high = std::max(box.y_high, point.y);
        }
    }
    if (!any) return {0, 1, 0, 1};
    if (plot.bars) box.x_low = 0;
    if (box.x_high <= box.x_low) box.x_high = box.x_low + 1;
    if (box.y_high <= box.y_low) box.y_high = box.y_low + 1;
    return box;
}

std::string utf8(unsigned code) {
    return {static_cast<char>(0xe0 | (code >> 12)), static_cast<char>(0x80 | ((code >> 6) & 0x3f)),
            static_cast<char>(0x80 | (code & 0x3f))};
}

/** The drawing area: cells of characters, each with its dots and the curve that set the last of them. */
class Canvas {
  public:
    Canvas(unsigned columns, unsigned rows, bool braille)
        : columns_(columns),
          rows_(rows),
          braille_(braille),
          dots_(std::size_t{columns} * rows, 0),
          curves_(dots_.size(), 0) {}

    unsigned dot_columns() const {
        return braille_ ? columns_ * 2 : columns_;
    }
    unsigned dot_rows() const {
        return braille_ ? rows_ * 4 : rows_;
    }

    /** Sets the dot; y counts from the bottom. */
    void dot(unsigned x, unsigned y, unsigned curve) {
        if (x >= dot_columns() || y >= dot_rows()) return;
        const unsigned from_above = dot_rows() - 1 - y;
        const unsigned cell = braille_ ? from_above / 4 * columns_ + x / 2 : from_above * columns_ + x;
        dots_[cell] |= braille_ ? braille_bits[from_above % 4][x % 2] : 1;
        curves_[cell] = curve;
    }

    std::string row(unsigned index, const Style& style) const {
        std::string text;
        for (unsigned column = 0; column < columns_; ++column) {
            const unsigned cell = index * columns_ + column;
            if (dots_[cell] == 0) {
                text += ' ';
            } else {
                const std::string mark =
                    braille_ ? utf8(0x2800 + dots_[cell]) : std::string(1, letters[curves_[cell] % letters.size()]);
                text += paint(mark, curves_[cell], style);
            }
        }
        return text;
    }

    static std::string paint(const std::string& text, unsigned curve, const Style& style) {
        switch (curve % 3) {
            case 0:
                return style.green(text);
            case 1:
                return style.yellow(text);
            default:
                return style.blue(text);
        }
    }

  private:
    unsigned columns_;
    unsigned rows_;
    bool braille_;
    std::vector<unsigned> dots_;
    std::vector<unsigned> curves_;
};

class Scale {
  public:
    Scale(double low, double high, unsigned dots) : low_(low), factor_((dots - 1) / (high - low)) {}
    unsigned operator()(double value) const {
        return static_cast<unsigned>(std::lround(std::max(0.0, (value - low_) * factor_)));
    }

  private:
    double low_;
    double factor_;
};

void draw_line(Canvas& canvas, const Curve& curve, unsigned index, const Scale& x, const Scale& y) {
    for (std::size_t i = 1; i < curve.points.size(); ++i) {
        const auto& from = curve.points[i - 1];
        const auto& to = curve.points[i];
        const double steps = std::max({1.0, std::abs(static_cast<double>(x(to.x)) - x(from.x)),
                                       std::abs(static_cast<double>(y(to.y)) - y(from.y))});
        for (unsigned step = 0; step <= static_cast<unsigned>(steps); ++step) {
            const double part = step / steps;
            canvas.dot(x(from.x + part * (to.x - from.x)), y(from.y + part * (to.y - from.y)), index);
        }
    }
    if (curve.points.size() == 1) canvas.dot(x(curve.points[0].x), y(curve.points[0].y), index);
}

void draw_bars(Canvas& canvas, const Curve& curve, unsigned index, const Scale& x, const Scale& y) {
    for (const Curve::Point& point : curve.points) {
        for (unsigned height = 0; height <= y(point.y); ++height) canvas.dot(x(point.x), height, index);
    }
}

}  // namespace

std::string axis_number(double value) {
    const double size = std::abs(value);
    if (size < 1e6 && (size >= 1000 || value == std::floor(value))) return fmt::format("{:.0f}", value);
    std::string text = fmt::format("{:.3g}", value);
    if (const std::size_t sign = text.find("e+"); sign != std::string::npos)
        text.erase(sign + 1, text[sign + 2] == '0' ? 2 : 1);
    return text;
}

std::string draw_in_terminal(const Plot& plot, unsigned width, unsigned height, bool utf8_wanted, const Style& style) {
    const Box box = box_of(plot);
    const std::string top = axis_number(box.y_high);
    const std::string bottom = axis_number(box.y_low);
    const auto margin = static_cast<unsigned>(std::max({top.size(), bottom.size(), std::size_t{4}}));
    const unsigned columns = std::max(10U, width > margin + 3 ? width - margin - 3 : 10);
    const unsigned rows = std::max(4U, height > 4 ? height - 4 : 4);

    Canvas canvas(columns, rows, utf8_wanted);
    const Scale x(box.x_low, box.x_high, canvas.dot_columns());
    const Scale y(box.y_low, box.y_high, canvas.dot_rows());
    // The first curve is drawn last, so that it is on top.
    for (auto i = static_cast<unsigned>(plot.curves.size()); i-- > 0;) {
        plot.bars ? draw_bars(canvas, plot.curves[i], i, x, y) : draw_line(canvas, plot.curves[i], i, x, y);
    }

    const std::string vertical = utf8_wanted ? "│" : "|";
    const std::string corner = utf8_wanted ? "└" : "+";
    std::string text = fmt::format("{}\n", style.bold(plot.title));
    for (unsigned row = 0; row < rows; ++row) {
        const std::string& label = row == 0 ? top : row + 1 == rows ? bottom : std::string();
        text += fmt::format("{:>{}} {}{}\n", label, margin, vertical, canvas.row(row, style));
    }
    text += fmt::format("{:>{}} {}", "", margin, corner);
    for (unsigned column = 0; column < columns; ++column) text += utf8_wanted ? "─" : "-";
    const std::string left = axis_number(box.x_low);
    const std::string right = axis_number(box.x_high);
    text += fmt::format("\n{:>{}} {}{:^{}}{}\n", "", margin + 1, left, plot.x_label,
                        columns > left.size() + right.size() ? columns - left.size() - right.size() : 1, right);
    if (plot.bars) return text;
    std::string legend;
    for (unsigned i = 0; i < plot.curves.size(); ++i) {
        const std::string mark = utf8_wanted ? "━━" : std::string(2, letters[i % letters.size()]);
        legend += fmt::format("{}{} {}", i == 0 ? "" : "   ", Canvas::paint(mark, i, style), plot.curves[i].name);
    }
    return text + fmt::format("{:>{}} {}\n", "", margin + 1, legend);
}

}  // namespace kesh_host
