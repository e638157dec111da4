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
 * A word such as -5 or -2^3 is an argument, but CLI11 would treat it as an option. So this mark is put before the word.
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
            return good ? std::string() : fmt::format("'{}' is not a number from {} to {}", text, low, high);
        },
        "", "");
}

std::unique_ptr<CLI::App> make_app(Options& options, RawFlags& raw) {
    auto app = std::make_unique<CLI::App>("", "kesh-host");
    app->set_help_flag();
    app->add_option("words", options.words)->group("");
    app->positionals_at_end(false);

    app->add_flag("-h,--help", options.help, "show this text; with the name of an export, help on that export");
    app->add_flag("--list", options.list, "list every export with the kinds of its arguments and result");
    app->add_flag("--version", options.version,
                  "show the versions of the host, the library and the libraries that it uses");
    app->add_option("--library", options.library, "open this library instead of the one beside kesh-host")
        ->type_name(path_type);

    // The build and the shell use these, people do not: they are left out of the help.
    app->add_flag("--functions-page", options.functions_page)->group("");
    app->add_option("--complete", options.complete)->group("");

    const std::string output = "Output";
    app->add_flag("--json", options.json, "print one JSON object per call, on one line")->group(output);
    app->add_flag("-q,--quiet", options.quiet, "print only the result")->group(output);
    app->add_flag("--all", options.all, "print long tensors completely, not shortened in the middle")->group(output);
    app->add_option("--color", raw.colour, "use colours: " + listed(colour_names(), "or") + "; auto obeys NO_COLOR")
        ->type_name(colour_type)
        ->check(CLI::IsMember(colour_names()))
        ->group(output);

    const std::string calls = "Calls";
    app->add_flag("--progress", raw.progress,
                  "show progress even if the output is not a terminal; counts then run as tasks")
        ->group(calls);
    app->add_flag("--no-progress", raw.no_progress, "show no progress")->group(calls);
    app->add_flag("--async", options.call.background, "submit the count as a task; the prompt does not wait for it")
        ->group(calls);
    app->add_flag("--bare", options.call.bare, "make exactly one call: no task, no pieces, no progress callback")
        ->group(calls);
    app->add_option("--threads", options.threads,
                    "use N threads for counts and sieves from now on (PrimeCount_SetThreads)")
        ->type_name("N")
        ->check(CLI::Range(1, 1'000'000))
        ->group(calls);
    app->add_option("-d,--distance", options.distance, "the end of the range is START + D; give only START")
        ->type_name("D")
        ->group(calls);
    app->add_flag("--unchecked", options.call.unchecked, "pass any number of arguments, and any task id, to the export")
        ->group(calls);
    app->add_option("--events", options.events_file, "write every event of the tasks to a CSV file")
        ->type_name(file_type)
        ->group(calls);
    app->add_flag("--every-event", options.every_event, "print every \"Status\" event, not one per second")
        ->group(calls);

    const std::string primality = "KESH_PrimeQ";
    app->add_flag("--next", options.next, "find the next prime after each number")->group(primality);
    app->add_flag("--previous", options.previous, "find the last prime before each number")->group(primality);
    app->add_option("--file", options.file,
                    "test the numbers in a file, one per line (write - as the number for standard input)")
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
    app->add_flag("--null-io", raw.null_io, "pass a callback table without a task table")->group(faults);
    app->add_flag("--null-table", raw.null_table, "pass no callback table")->group(faults);
    app->add_option("--abort-after", options.call.abort_after, "press Ctrl-C automatically after this time")
        ->type_name("SECONDS")
        ->check(number_between(0, 1e9))
        ->group(faults);
    app->add_option("--leave-length", raw.leave_length,
                    "the position that MTensor_getInteger writes when it is made to fail")
        ->type_name("N")
        ->group(faults);

    const std::string plots = "Plots";
    app->add_option("--svg", options.svg, "write the plot as SVG (needs gnuplot)")->type_name(file_type)->group(plots);
    app->add_option("--png", options.png, "write the plot as PNG (needs gnuplot)")->type_name(file_type)->group(plots);
    app->add_option("--points", options.points, "draw curves with N points, 2 to 10000")
        ->type_name("N")
        ->check(CLI::Range(2, 10000))
        ->group(plots);

    const std::string endurance = "Endurance";
    app->add_option("--minutes", options.endurance.minutes, "how long 'endure' runs; 0 means one round of calls")
        ->type_name("N")
        ->check(number_between(0, 1e6))
        ->group(endurance);
    app->add_option("--load", options.endurance.load, "the part of the time that 'endure' spends in calls, at most 1")
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
            text = fmt::format("{} is not an option{}", typed, near.empty() ? "" : "; did you mean " + near[0] + "?");
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
