/**
 * @file   gnuplot.cpp
 * @brief  Writes a script for gnuplot, runs gnuplot, and writes the picture.
 */
#include "plots/gnuplot.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "plots/plot.h"
#include "terminal/bad_input.h"
#include "terminal/output_file.h"

namespace kesh_host {

namespace {

/** A gnuplot string in single quotes: a quote inside is doubled, and nothing else needs an escape. */
std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text) result += c == '\'' ? "''" : std::string(1, c);
    return result + "'";
}

}  // namespace

std::string gnuplot_script(const Plot& plot, Picture kind) {
    std::string script = kind == Picture::svg
                             ? "set terminal svg size 900,560 dynamic background rgb 'white' font 'sans,14'\n"
                             : "set terminal pngcairo size 900,560 font 'sans,11'\n";
    script += fmt::format(
        "set title {} noenhanced\nset xlabel {} noenhanced\nset ylabel {} noenhanced\nset grid\nset key "
        "left top noenhanced\n",
        quoted(plot.title), quoted(plot.x_label), quoted(plot.y_label));
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
        // If a curve covers the first one, the first one is visible between the dashes.
        const char* look = plot.bars ? "boxes" : (i == 0 ? "lines linewidth 2" : "lines linewidth 2 dashtype 2");
        script += fmt::format("{}$curve{} using 1:2 with {} title {}", i == 0 ? "plot " : ", ", i, look,
                              quoted(plot.curves[i].name));
    }
    return script + "\n";
}

void check_picture_file(const std::string& path) {
    if (std::system("command -v gnuplot >/dev/null") != 0)
        throw BadInput("gnuplot is not installed; it draws SVG and PNG (Debian package gnuplot-nox)");
    check_writable(path);
}

void draw_with_gnuplot(const Plot& plot, Picture kind, const std::string& path) {
    // gnuplot reads the script from an unnamed file: no typed text reaches the shell, and no pipe breaks if gnuplot
    // ends early.
    const std::unique_ptr<FILE, int (*)(FILE*)> script(std::tmpfile(), std::fclose);
    const std::string text = gnuplot_script(plot, kind);
    if (!script || std::fwrite(text.data(), 1, text.size(), script.get()) != text.size() ||
        std::fflush(script.get()) != 0)
        throw OutputError(fmt::format("the commands for gnuplot cannot be stored: {}", std::strerror(errno)));
    FILE* gnuplot = popen(fmt::format("exec gnuplot /dev/fd/{} 2>/dev/null", fileno(script.get())).c_str(), "r");
    if (gnuplot == nullptr) throw OutputError("gnuplot cannot be started");
    std::string picture;
    std::array<char, 65536> buffer{};
    while (const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), gnuplot))
        picture.append(buffer.data(), got);
    if (pclose(gnuplot) != 0 || picture.empty()) throw OutputError(fmt::format("gnuplot could not draw {}", path));
    write_whole_file(path, picture);
}

}  // namespace kesh_host
