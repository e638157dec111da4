/**
 * @file   plot_command.cpp
 * @brief  Reads the plot command, computes with a progress line, and draws.
 */
#include "commands/plot_command.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <nlohmann/json.hpp>

#include "HostKit/export_table.h"
#include "HostKit/host.h"
#include "HostKit/task.h"
#include "answers/event_lines.h"
#include "answers/json.h"
#include "calls/arguments.h"
#include "calls/call.h"
#include "calls/caller.h"
#include "calls/interrupts.h"
#include "plots/gnuplot.h"
#include "plots/plot.h"
#include "plots/plot_canvas.h"
#include "plots/plot_data.h"
#include "terminal/bad_input.h"
#include "terminal/duration.h"
#include "terminal/exit_codes.h"
#include "terminal/layout.h"
#include "terminal/output.h"
#include "terminal/printable.h"
#include "terminal/progress_line.h"
#include "terminal/stopwatch.h"
#include "terminal/terminal.h"

namespace kesh_host {

namespace {

constexpr unsigned default_points = 100;
constexpr unsigned terminal_rows = 22;
constexpr std::string_view usage = "plot pi [A] B, plot gaps A B, plot twins [A] B or plot events EXPORT ARGUMENT";

struct Ends {
    umint a;
    umint b;
};

/** The range of a plot: one number is its upper end. */
Ends read_range(const std::vector<std::string>& words, umint default_begin) {
    static const Export range{.name = "plot",
                              .family = Family::sieve,
                              .parameters = {{"a", Kind::integer, ""}, {"b", Kind::integer, ""}},
                              .result = Kind::none,
                              .summary = "",
                              .sentence = "",
                              .errors = "",
                              .cost = "",
                              .example = {"2", "10^6"},
                              .example_result = ""};
    std::vector<std::string> both(words.begin() + 1, words.end());
    if (both.size() == 1) both.insert(both.begin(), std::to_string(default_begin));
    if (both.size() != 2)
        throw BadInput(fmt::format("plot {} takes a range, as in plot {} 2 10^6", words[0], words[0]));
    const auto arguments = bind_arguments(range, both, false);
    const mint a = std::get<mint>(arguments[0].value);
    const mint b = std::get<mint>(arguments[1].value);
    if (a < 0 || b <= a)
        throw BadInput(
            fmt::format("plot {}: the range {} to {} is empty or begins below 0", words[0], both[0], both[1]));
    return {static_cast<umint>(a), static_cast<umint>(b)};
}

/** Runs a count as a task and takes down its events. */
Plot event_plot(const Library& library, const Options& options, const std::vector<std::string>& words,
                const ProgressLook& progress, const EventWriter& write_events) {
    const Export* entry = words.size() < 2 ? nullptr : find_export(words[1]);
    if (entry == nullptr || entry->route != Route::as_task) {
        throw BadInput("plot events takes a count that can run as a task, as in plot events PrimeCount_PrimePi 10^14");
    }
    CallSettings settings = options.call;
    settings.progress = CallSettings::Progress::automatic;
    settings.background = true;
    host().tasks.keep_events(true);
    host().tasks.take_events();
    const Caller caller(library, progress);
    Outcome outcome = caller.call(*entry, {words.begin() + 2, words.end()}, settings);
    const std::vector<ArgumentValue> arguments = outcome.arguments;
    if (outcome.task) outcome = caller.wait_for_task(outcome.task->id, settings);
    const std::vector<Event> events = host().tasks.take_events();
    write_events(events);
    if (outcome.status == Status::stopped) throw PlotStopped{};

    const std::string what = call_text(*entry, arguments);
    Plot plot{.title = fmt::format("Events of {} over time", what),
              .x_label = "seconds",
              .y_label = "percent done",
              .curves = {},
              .notes = {}};
    Curve percent{"Status", {}};
    std::string end = "no result";
    for (const Event& event : events) {
        if (event.name == "Status" && event.value)
            percent.points.push_back({event.seconds, std::get<mreal>(*event.value)});
        if (event.name == "Result" || event.name == "Error")
            end = fmt::format("{} {} after {}", event.name, event_value_text(event.value),
                              format_duration(event.seconds));
    }
    plot.notes = {fmt::format("{}, {:.0f} a second; {}",
                              counted(percent.points.size(), "\"Status\" event", "\"Status\" events"),
                              static_cast<double>(percent.points.size()) / std::max(outcome.seconds, 1e-3), end)};
    plot.curves = {std::move(percent)};
    return plot;
}

Plot make_plot(const Library& library, const Options& options, const std::vector<std::string>& words,
               const ProgressLook& progress, const EventWriter& write_events) {
    if (words.empty()) throw BadInput(fmt::format("plot what? There are {}", usage));
    if (words[0] == "events") return event_plot(library, options, words, progress, write_events);
    std::atomic<double> fraction = 0;
    const PlotJob job{.library = library,
                      .points = options.points == 0 ? default_points : options.points,
                      .progress = [&](double part) { fraction = part; },
                      .stop = [] { return interrupts_seen() > 0; }};
    const InterruptScope scope(3, Stoppable::yes);
    const ProgressLine line(progress, "plot " + words[0],
                            {.fraction = [&] { return std::optional<double>(fraction.load()); },
                             .note = [&] { return std::string(job.stop() ? "stopping" : ""); },
                             .tick = {}});
    if (words[0] == "pi") {
        const Ends ends = read_range(words, 2);
        return pi_plot(job, ends.a, ends.b);
    }
    if (words[0] == "gaps") {
        const Ends ends = read_range(words, 0);
        return gap_plot(job, ends.a, ends.b);
    }
    if (words[0] == "twins") {
        const Ends ends = read_range(words, 0);
        return twin_plot(job, ends.a, ends.b);
    }
    throw BadInput(fmt::format("there is no plot '{}'; there are {}", words[0], usage));
}

nlohmann::ordered_json plot_json(const Plot& plot, const std::string& kind) {
    nlohmann::ordered_json curves = nlohmann::ordered_json::array();
    for (const Curve& curve : plot.curves) {
        nlohmann::ordered_json points = nlohmann::ordered_json::array();
        for (const Curve::Point& point : curve.points) points.push_back({point.x, point.y});
        curves.push_back({{"name", curve.name}, {"points", std::move(points)}});
    }
    return {{"plot", kind}, {"title", plot.title}, {"curves", std::move(curves)}, {"notes", plot.notes}};
}

}  // namespace

int draw_plot(const Library& library, const Options& options, const std::vector<std::string>& words,
              const PrintLook& look, const ProgressLook& progress, const EventWriter& write_events) {
    for (const std::string& file : {options.svg, options.png}) {
        if (!file.empty()) check_picture_file(file);
    }
    Plot plot;
    const Stopwatch watch;
    try {
        plot = make_plot(library, options, words, progress, write_events);
    } catch (const PlotStopped&) {
        const Style style(STDERR_FILENO, options.colour);
        print_error(fmt::format("{} plot {} after {}\n", style.yellow("stopped:"),
                                printable(fmt::format("{}", fmt::join(words, " "))), format_duration(watch.seconds())));
        return exit_code_when_stopped();
    }
    if (options.json) {
        print(json_line(plot_json(plot, words[0])));
    } else {
        if (options.svg.empty() && options.png.empty())
            print(draw_in_terminal(plot, look.width, terminal_rows, utf8_locale(), look.style));
        for (const std::string& note : plot.notes) print(fitted(note + "\n", STDOUT_FILENO));
    }
    for (const auto& [kind, file] : {std::pair{Picture::svg, options.svg}, std::pair{Picture::png, options.png}}) {
        if (file.empty()) continue;
        draw_with_gnuplot(plot, kind, file);
        if (!options.json) print(fmt::format("written to {}\n", printable(file)));
    }
    return host().breaches.take().empty() ? exit_ok : exit_breach;
}

}  // namespace kesh_host
