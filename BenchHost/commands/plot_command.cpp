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
#include "answers/print_look.h"
#include "calls/arguments.h"
#include "calls/call.h"
#include "calls/caller.h"
#include "calls/interrupts.h"
#include "commands/command.h"
#include "commands/looks.h"
#include "commands/options.h"
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
#include "terminal/wording.h"

namespace kesh_host {

namespace {

constexpr unsigned default_points = 100;
constexpr unsigned terminal_rows = 22;
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

/** Runs a count as a task and records its events. */
Plot event_plot(Session& session, const Request& request) {
    const std::vector<std::string>& words = request.words;
    const Export* entry = words.size() < 2 ? nullptr : find_export(words[1]);
    if (entry == nullptr || entry->route != Route::as_task) {
        throw BadInput("plot events takes a count that can run as a task, as in plot events PrimeCount_PrimePi 10^14");
    }
    CallSettings settings = request.options.call;
    settings.progress = CallSettings::Progress::automatic;
    settings.background = true;
    host().tasks.keep_events(true);
    host().tasks.take_events();
    const Caller caller(session.library(), progress_look_of(request.options));
    Outcome outcome = caller.call(*entry, {words.begin() + 2, words.end()}, settings);
    const std::vector<ArgumentValue> arguments = outcome.arguments;
    if (outcome.task) outcome = caller.wait_for_task(outcome.task->id, settings);
    const std::vector<Event> events = host().tasks.take_events();
    session.events().write(request.options, events);
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

/** A plot of calls over a range. */
template <Plot (*draw)(const PlotJob&, umint, umint), umint default_begin>
Plot range_plot(Session& session, const Request& request) {
    const unsigned points = request.options.points;
    std::atomic<double> fraction = 0;
    const PlotJob job{.library = session.library(),
                      .points = points == 0 ? default_points : points,
                      .progress = [&](double part) { fraction = part; },
                      .stop = [] { return interrupts_seen() > 0; }};
    const InterruptScope scope(3, Stoppable::yes);
    const ProgressLine line(progress_look_of(request.options), "plot " + request.words[0],
                            {.fraction = [&] { return std::optional<double>(fraction.load()); },
                             .note = [&] { return std::string(job.stop() ? "stopping" : ""); },
                             .tick = {}});
    const Ends ends = read_range(request.words, default_begin);
    return draw(job, ends.a, ends.b);
}

struct PlotKind {
    std::string name;
    std::string arguments;
    Plot (*make)(Session&, const Request&);
};

const std::vector<PlotKind>& kinds() {
    static const std::vector<PlotKind> list = {
        {"pi", "[A] B", range_plot<pi_plot, 2>},
        {"gaps", "A B", range_plot<gap_plot, 0>},
        {"twins", "[A] B", range_plot<twin_plot, 0>},
        {"events", "EXPORT ARGUMENT", event_plot},
    };
    return list;
}

std::string usage() {
    std::vector<std::string> forms;
    for (const PlotKind& kind : kinds()) forms.push_back(fmt::format("plot {} {}", kind.name, kind.arguments));
    return listed(forms, "or");
}

Plot make_plot(Session& session, const Request& request) {
    const std::vector<std::string>& words = request.words;
    if (words.empty()) throw BadInput(fmt::format("plot needs a kind; write {}", usage()));
    for (const PlotKind& kind : kinds()) {
        if (kind.name == words[0]) return kind.make(session, request);
    }
    throw BadInput(fmt::format("there is no plot '{}'; write {}", words[0], usage()));
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

std::vector<std::string> plot_kinds() {
    std::vector<std::string> names;
    for (const PlotKind& kind : kinds()) names.push_back(kind.name);
    return names;
}

int draw_plot(Session& session, const Request& request) {
    const Options& options = request.options;
    const std::vector<std::string>& words = request.words;
    const PrintLook look = look_of(options);
    for (const std::string& file : {options.svg, options.png}) {
        if (!file.empty()) check_picture_file(file);
    }
    Plot plot;
    const Stopwatch watch;
    try {
        plot = make_plot(session, request);
    } catch (const PlotStopped&) {
        const Style style = error_style_of(options);
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
