/**
 * @file   gnuplot.cpp
 * @brief  Writes a script and feeds it to gnuplot.
 */
#include "gnuplot.h"

#include <fmt/format.h>
#include <sys/wait.h>

#include <cstdio>

#include "arguments.h"

namespace bench_host {

namespace {

/** A gnuplot string in single quotes: a quote inside is doubled, and that is all there is to escape. */
std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text) result += c == '\'' ? "''" : std::string(1, c);
    return result + "'";
}

}  // namespace

std::string gnuplot_script(const Plot& plot, Picture kind, const std::string& path) {
    std::string script = kind == Picture::svg
                             ? "set terminal svg size 900,560 dynamic background rgb 'white' font 'sans,14'\n"
                             : "set terminal pngcairo size 900,560 font 'sans,11'\n";
    script += fmt::format(
        "set output {}\nset title {} noenhanced\nset xlabel {} noenhanced\nset ylabel {} noenhanced\nset grid\nset key "
        "left top noenhanced\n",
        quoted(path), quoted(plot.title), quoted(plot.x_label), quoted(plot.y_label));
    // Room at the right for half of the last number.
    script += "set format x '%.10g'\nset format y '%.10g'\nset rmargin 7\n";
    if (plot.bars) script += "set style fill solid 0.6\nset boxwidth 1.6\nset key off\nset xrange [0:]\n";
    for (std::size_t i = 0; i < plot.curves.size(); ++i) {
        script += fmt::format("$curve{} << END\n", i);
        for (const Curve::Point& point : plot.curves[i].points)
            script += fmt::format("{:.17g} {:.17g}\n", point.x, point.y);
        script += "END\n";
    }
    for (std::size_t i = 0; i < plot.curves.size(); ++i) {
        // Where a curve covers the first, that one shows through the dashes.
        const char* look = plot.bars ? "boxes" : (i == 0 ? "lines linewidth 2" : "lines linewidth 2 dashtype 2");
        script += fmt::format("{}$curve{} using 1:2 with {} title {}", i == 0 ? "plot " : ", ", i, look,
                              quoted(plot.curves[i].name));
    }
    return script + "\n";
}

void draw_with_gnuplot(const Plot& plot, Picture kind, const std::string& path) {
    // The shell sees constant text only; everything typed goes through the script.
    FILE* pipe = popen("command -v gnuplot >/dev/null || exit 127; exec gnuplot 2>/dev/null", "w");
    if (pipe == nullptr) throw BadInput("gnuplot cannot be started");
    const std::string script = gnuplot_script(plot, kind, path);
    std::fwrite(script.data(), 1, script.size(), pipe);
    const int status = pclose(pipe);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 127)
        throw BadInput("gnuplot is not installed; it draws SVG and PNG (Debian package gnuplot-nox)");
    if (status != 0) throw BadInput(fmt::format("gnuplot could not draw {}", path));
}

}  // namespace bench_host
