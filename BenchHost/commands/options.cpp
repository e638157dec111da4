/**
 * @file   options.cpp
 * @brief  Reads the options with CLI11, and lists the properties of each.
 */
#include "commands/options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <iterator>
#include <memory>
#include <utility>

#include "HostKit/fault_plan.h"
#include "calls/call.h"
#include "commands/suggest.h"
#include "terminal/bad_input.h"
#include "terminal/wording.h"

namespace kesh_host {

namespace {

/** The types of values that the shell can complete. */
constexpr const char* path_type = "PATH";
constexpr const char* file_type = "FILE";
constexpr const char* colour_type = "WHEN";
constexpr const char* fault_type = "FAULT";

/**
 * A word such as -5 or -2^3 is an argument; CLI11 would take it for an option. So this mark is put in front of it.
 */
constexpr char word_mark = '\x01';

bool looks_like_negative_number(const std::string& word) {
    return word.size() > 1 && word[0] == '-' &&
           (std::isdigit(static_cast<unsigned char>(word[1])) != 0 || word[1] == '(');
}

constexpr std::pair<std::string_view, ColourChoice> colours[] = {
    {"auto", ColourChoice::automatic}, {"always", ColourChoice::always}, {"never", ColourChoice::never}};

std::vector<std::string> colour_names() {
    std::vector<std::string> names;
    for (const auto& [name, choice] : colours) names.emplace_back(name);
    return names;
}

/** Values as CLI11 reads them, before they are turned into options. */
struct RawFlags {
    bool progress = false;
    bool no_progress = false;
    bool null_table = false;
    bool null_io = false;
    std::string colour;
    std::string leave_length;
};

mint read_length(const std::string& text) {
    mint length = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
    if (error != std::errc() || end != text.data() + text.size())
        throw BadInput(fmt::format("--leave-length {}: an integer such as 17 is expected", text));
    return length;
}

/** Like CLI::Range, but refuses "nan". */
CLI::Validator number_between(double low, double high) {
    return CLI::Validator(
        [low, high](const std::string& text) {
            double value = 0;
            const bool good = CLI::detail::lexical_cast(text, value) && value >= low && value <= high;
            return good ? std::string() : fmt::format("'{}' is no number from {} to {}", text, low, high);
        },
        "", "");
}

std::unique_ptr<CLI::App> make_app(Options& options, RawFlags& raw) {
    auto app = std::make_unique<CLI::App>("", "kesh-host");
    app->set_help_flag();
    app->add_option("words", options.words)->group("");
    app->positionals_at_end(false);

    app->add_flag("-h,--help", options.help, "this text; with an export's name, help on that");
    app->add_flag("--list", options.list, "every export with its argument kinds and result");
    app->add_flag("--version", options.version, "versions of host, library and what the library rests on");
    app->add_option("--library", options.library, "the library to open, instead of the one beside kesh-host")
        ->type_name(path_type);

    // For the build and the shell, not for people: left out of the help.
    app->add_flag("--functions-page", options.functions_page)->group("");
    app->add_option("--complete", options.complete)->group("");

    const std::string output = "Output";
    app->add_flag("--json", options.json, "one JSON object a call, on one line")->group(output);
    app->add_flag("-q,--quiet", options.quiet, "the bare result")->group(output);
    app->add_flag("--all", options.all, "tensors whole, not shortened in the middle")->group(output);
    app->add_option("--color", raw.colour, listed(colour_names(), "or") + "; NO_COLOR is honoured")
        ->type_name(colour_type)
        ->check(CLI::IsMember(colour_names()))
        ->group(output);

    const std::string calls = "Calls";
    app->add_flag("--progress", raw.progress, "show progress also where it is not a terminal; counts then run as tasks")
        ->group(calls);
    app->add_flag("--no-progress", raw.no_progress, "show none")->group(calls);
    app->add_flag("--async", options.call.background, "submit the count as a task; at the prompt return at once")
        ->group(calls);
    app->add_flag("--bare", options.call.bare, "make exactly the one call: no task, no pieces, no progress callback")
        ->group(calls);
    app->add_option("--threads", options.threads, "counts and sieves use N threads from now on (PrimeCount_SetThreads)")
        ->type_name("N")
        ->check(CLI::Range(1, 1'000'000))
        ->group(calls);
    app->add_option("-d,--distance", options.distance, "the range from START to START + D, in place of its end")
        ->type_name("D")
        ->group(calls);
    app->add_flag("--unchecked", options.call.unchecked,
                  "hand over the arguments whatever their number, and any task id")
        ->group(calls);
    app->add_option("--events", options.events_file, "write every event of the tasks to a CSV file")
        ->type_name(file_type)
        ->group(calls);
    app->add_flag("--every-event", options.every_event, "print every \"Status\" event, not one a second")->group(calls);

    const std::string primality = "KESH_PrimeQ";
    app->add_flag("--next", options.next, "walk to the next prime")->group(primality);
    app->add_flag("--previous", options.previous, "walk to the previous prime")->group(primality);
    app->add_option("--file", options.file,
                    "test the numbers of a file, one a line (- in place of a number: standard input)")
        ->type_name(file_type)
        ->group(primality);

    const std::string faults = "Faults";
    app->add_option("--fail", options.faults,
                    "make a callback fail: SLOT=CODE, or =null, =throw, =throw-int, =slow; with @K only its K-th call")
        ->type_name(fault_type)
        ->take_all()
        ->expected(1)
        ->allow_extra_args(false)
        ->group(faults);
    app->add_flag("--null-io", raw.null_io, "hand over a callback table without a task table")->group(faults);
    app->add_flag("--null-table", raw.null_table, "hand over no callback table")->group(faults);
    app->add_option("--abort-after", options.call.abort_after, "press Ctrl-C by itself after that many seconds")
        ->type_name("SECONDS")
        ->check(number_between(0, 1e9))
        ->group(faults);
    app->add_option("--leave-length", raw.leave_length, "position that a faulted MTensor_getInteger leaves behind")
        ->type_name("N")
        ->group(faults);

    const std::string plots = "Plots";
    app->add_option("--svg", options.svg, "write the plot as SVG (needs gnuplot)")->type_name(file_type)->group(plots);
    app->add_option("--png", options.png, "write the plot as PNG (needs gnuplot)")->type_name(file_type)->group(plots);
    app->add_option("--points", options.points, "number of points of a curve, 2 to 10000")
        ->type_name("N")
        ->check(CLI::Range(2, 10000))
        ->group(plots);

    const std::string endurance = "Endurance";
    app->add_option("--minutes", options.endurance.minutes, "how long 'endure' goes on; 0 for one round of calls")
        ->type_name("N")
        ->check(number_between(0, 1e6))
        ->group(endurance);
    app->add_option("--load", options.endurance.load, "share of the time that 'endure' spends in calls, up to 1")
        ->type_name("X")
        ->check(number_between(0.01, 1))
        ->group(endurance);
    return app;
}

}  // namespace

Options parse_options(const std::vector<std::string>& arguments, const Options& defaults) {
    Options options = defaults;
    options.words.clear();
    RawFlags raw;
    const auto app = make_app(options, raw);

    // CLI11 takes the words in reverse order.
    std::vector<std::string> marked;
    for (auto word = arguments.rbegin(); word != arguments.rend(); ++word) {
        marked.push_back(looks_like_negative_number(*word) || *word == "-" || word->starts_with(word_mark)
                             ? word_mark + *word
                             : *word);
    }
    try {
        app->parse(marked);
    } catch (const CLI::ParseError& error) {
        std::string text = error.what();
        std::replace(text.begin(), text.end(), '\n', ' ');
        if (const auto* extras = dynamic_cast<const CLI::ExtrasError*>(&error); extras != nullptr) {
            const std::string typed = text.substr(text.rfind(' ') + 1);
            const auto near = nearest_names(typed, option_names());
            text = fmt::format("{} is no option{}", typed, near.empty() ? "" : "; did you mean " + near[0] + "?");
        }
        throw BadInput(fmt::format("{}{} --help lists the options", text, text.ends_with('?') ? "" : ";"));
    }
    const auto unmark = [](std::string& word) {
        if (word.starts_with(word_mark)) word.erase(0, 1);
    };
    for (std::string& word : options.words) unmark(word);
    for (std::string* value : {&raw.leave_length, &options.distance, &options.file, &options.library,
                               &options.events_file, &options.svg, &options.png})
        unmark(*value);
    if (!raw.leave_length.empty()) options.leave_length = read_length(raw.leave_length);
    if (raw.progress) options.call.progress = CallSettings::Progress::on;
    if (raw.no_progress) options.call.progress = CallSettings::Progress::off;
    if (raw.null_io) options.call.table = TableChoice::without_io;
    if (raw.null_table) options.call.table = TableChoice::null;
    options.call.events_wanted = !options.events_file.empty();
    for (const auto& [name, choice] : colours) {
        if (raw.colour == name) options.colour = choice;
    }
    return options;
}

bool asks_for_json(const std::vector<std::string>& arguments) {
    return std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
}

std::vector<OptionHelp> option_help() {
    Options options;
    RawFlags raw;
    const auto app = make_app(options, raw);
    std::vector<OptionHelp> list;
    for (const CLI::Option* option :
         app->get_options([](const CLI::Option* candidate) { return !candidate->get_group().empty(); })) {
        OptionHelp help{.group = option->get_group(),
                        .names = {},
                        .value = {},
                        .meaning = option->get_description(),
                        .takes = OptionHelp::Takes::nothing,
                        .choices = {}};
        for (const std::string& name : option->get_snames()) help.names.push_back("-" + name);
        for (const std::string& name : option->get_lnames()) help.names.push_back("--" + name);
        if (option->get_items_expected_max() > 0) {
            // The values after a colon are left out: the text names them.
            const std::string type = option->get_type_name();
            help.value = type.substr(0, type.find(':'));
            help.takes = OptionHelp::Takes::other;
            if (help.value == path_type || help.value == file_type) help.takes = OptionHelp::Takes::file;
            if (help.value == colour_type) {
                help.takes = OptionHelp::Takes::choice;
                help.choices = colour_names();
            }
            if (help.value == fault_type) {
                help.takes = OptionHelp::Takes::choice;
                for (const FaultSlot& slot : fault_slots()) help.choices.push_back(std::string(slot.name) + "=");
            }
        }
        list.push_back(std::move(help));
    }
    return list;
}

std::vector<std::string> option_names() {
    std::vector<std::string> names;
    for (const OptionHelp& option : option_help()) {
        std::copy_if(option.names.begin(), option.names.end(), std::back_inserter(names),
                     [](const std::string& name) { return name.starts_with("--"); });
    }
    return names;
}

}  // namespace kesh_host
