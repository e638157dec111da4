/**
 * @file   options.cpp
 * @brief  The options, by CLI11, and the help text.
 */
#include "commands/options.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <memory>

#include "HostKit/fault_plan.h"
#include "calls/call.h"
#include "commands/suggest.h"
#include "terminal/bad_input.h"
#include "terminal/layout.h"

namespace kesh_host {

namespace {

/**
 * A word such as -5 or -2^3 is an argument; CLI11 would take it for an option. It travels with this mark in front.
 */
constexpr char word_mark = '\x01';

bool looks_like_negative_number(const std::string& word) {
    return word.size() > 1 && word[0] == '-' &&
           (std::isdigit(static_cast<unsigned char>(word[1])) != 0 || word[1] == '(');
}

/** Options that the flags set by name. */
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

/** As CLI::Range, which lets "nan" pass. */
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
        ->type_name("PATH");

    // For the build and the shell, not for people: left out of the help.
    app->add_flag("--functions-page", options.functions_page)->group("");
    app->add_option("--complete", options.complete)->group("");

    const std::string output = "Output";
    app->add_flag("--json", options.json, "one JSON object a call, on one line")->group(output);
    app->add_flag("-q,--quiet", options.quiet, "the bare result")->group(output);
    app->add_flag("--all", options.all, "tensors whole, not shortened in the middle")->group(output);
    app->add_option("--color", raw.colour, "auto, always or never; NO_COLOR is honoured")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}))
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
        ->type_name("FILE")
        ->group(calls);
    app->add_flag("--every-event", options.every_event, "print every \"Status\" event, not one a second")->group(calls);

    const std::string primality = "KESH_PrimeQ";
    app->add_flag("--next", options.next, "walk to the next prime")->group(primality);
    app->add_flag("--previous", options.previous, "walk to the previous prime")->group(primality);
    app->add_option("--file", options.file,
                    "test the numbers of a file, one a line (- in place of a number: standard input)")
        ->type_name("FILE")
        ->group(primality);

    const std::string faults = "Faults";
    app->add_option("--fail", options.faults,
                    "make a callback fail: SLOT=CODE, or =null, =throw, =throw-int, =slow; with @K only its K-th call")
        ->type_name("FAULT")
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
    app->add_option("--svg", options.svg, "write the plot as SVG (needs gnuplot)")->type_name("FILE")->group(plots);
    app->add_option("--png", options.png, "write the plot as PNG (needs gnuplot)")->type_name("FILE")->group(plots);
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

struct Example {
    std::string_view words;
    std::string_view meaning;
};
constexpr Example examples[] = {
    {"PrimeSieve_CountPrimes 0 10^10", "the primes below ten billion"},
    {"PrimeSieve_CountTwins 10^18 -d 10^9", "from 10^18 to 10^18 + 10^9"},
    {"PrimeCount_PrimePi 10^17", "with a bar; Ctrl-C stops it"},
    {"PrimeCount_ExprPrimePi 10^21", "beyond 64 bits, as text"},
    {"PrimeSieve_ListPrimes 10^6 10^6+200", "a tensor, as a table"},
    {"PrimeSieve_NextPrime 2^61 --json", "for programs"},
    {"KESH_PrimeQ 2^521-1 2^127-1 0xffff", "up to 1024 bits"},
    {"KESH_PrimeQ 10^300 --next", "the first prime above it"},
    {"plot pi 2 10^6", "pi(x), x / ln x and Li(x)"},
};
constexpr std::string_view integers =
    "Integers: 1_000_000, 1,000,000, 1e9, 10^12, 2^61-1, 10^9/7, 3*(10^6+1), -5, 0xff. Of a range the "
    "end alone is enough: it begins at 0.";

/** A name and what it means, in two columns; a name too long for its column has a line of its own. */
std::string help_entry(const std::string& name, std::string_view meaning, unsigned column, unsigned width) {
    const std::string gap =
        name.size() + 1 < column ? std::string(column - name.size(), ' ') : "\n" + std::string(column, ' ');
    return name + gap + wrapped(std::string(meaning), width, column) + '\n';
}

constexpr unsigned option_column = 30;
constexpr unsigned example_column = 51;

std::string example_lines(std::string_view program, unsigned width) {
    std::string text;
    for (const Example& example : examples)
        text += help_entry(fmt::format("  {}{}", program, example.words), example.meaning, example_column, width);
    return text;
}

}  // namespace

const std::vector<CommandWord>& command_words() {
    static const std::vector<CommandWord> words = {
        {"list", "list", "every export with its argument kinds and result", false},
        {"help", "help [NAME]", "help, or help on one export; ?NAME at the prompt", false},
        {"version", "version", "versions of host, library and what the library rests on", false},
        {"plot", "plot KIND ...",
         "curves in the terminal, or as SVG or PNG with --svg FILE, --png FILE; KIND is pi, gaps, twins or events",
         false},
        {"next-prime", "next-prime NUMBER...", "the prime above each number of up to 1024 bits", false},
        {"previous-prime", "previous-prime NUMBER...", "the prime below each number", false},
        {"primes", "primes FROM COUNT", "COUNT primes from FROM on, one a line, of up to 1024 bits", false},
        {"faults", "faults [EXPORT...]", "every callback goes wrong in every way, and what comes of it", false},
        {"endure", "endure", "half an hour of mixed calls, every answer checked; see --minutes", false},
        {"tasks", "tasks", "the asynchronous tasks and what became of them", true},
        {"stop", "stop", "ends the task that is counting now (Ctrl-C does it while you wait for one)", true},
        {"wait", "wait [ID]", "waits for a task, or for all, with a progress bar", true},
        {"set", "set [WHAT on|off]",
         "how the next lines print; WHAT is json, quiet, all or every-event; without arguments shows it", true},
        {"quit", "quit", "leaves; so do exit and Ctrl-D", true},
    };
    return words;
}

Options parse_options(const std::vector<std::string>& arguments, const Options& defaults) {
    Options options = defaults;
    options.words.clear();
    RawFlags raw;
    const auto app = make_app(options, raw);

    // CLI11 takes the words last first.
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
    if (raw.colour == "always") options.colour = ColourChoice::always;
    if (raw.colour == "never") options.colour = ColourChoice::never;
    return options;
}

bool asks_for_json(const std::vector<std::string>& arguments) {
    return std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
}

unsigned help_width() {
    constexpr unsigned widest_readable = 110;
    return std::min(terminal_width(STDOUT_FILENO), widest_readable);
}

std::string help_text(unsigned width) {
    Options options;
    RawFlags raw;
    const auto app = make_app(options, raw);
    std::string text =
        "kesh-host calls the exports of libVelmoraKesh.so by name, as a host would.\n\n"
        "Usage: kesh-host [OPTIONS] EXPORT [ARGUMENTS...]   one call\n"
        "       kesh-host [OPTIONS] COMMAND [ARGUMENTS...]  one of the commands below\n"
        "       kesh-host [OPTIONS]                         a prompt, or lines of a pipe\n\n"
        "Commands (those with * at the prompt only):\n";
    for (const CommandWord& word : command_words())
        text += help_entry(fmt::format("  {}{}", word.prompt_only ? '*' : ' ', word.usage), word.meaning, option_column,
                           width);

    std::string group;
    for (const CLI::Option* option :
         app->get_options([](const CLI::Option* candidate) { return !candidate->get_group().empty(); })) {
        if (option->get_group() != group) {
            group = option->get_group();
            text += fmt::format("\n{}:\n", group);
        }
        std::string name = option->get_name(false, true);
        if (const std::size_t comma = name.find(','); comma != std::string::npos) name.insert(comma + 1, " ");
        // After a colon stand the values that are taken, which the text names.
        const std::string type = option->get_type_name();
        if (option->get_items_expected_max() > 0) name += " " + type.substr(0, type.find(':'));
        text += help_entry("   " + name, option->get_description(), option_column, width);
    }
    text += "\nSlots of --fail, and the forms they take:\n";
    for (const FaultSlot& slot : fault_slots())
        text += fmt::format("   {:<38} {}\n", slot.name, fmt::join(slot.forms, ", "));
    text += "\nExamples:\n" + example_lines("kesh-host ", width);
    return text + "\n" + wrapped(fmt::format("{} In a shell, write '*' and brackets in quotes.", integers), width, 0) +
           "\n" +
           wrapped(
               "Exit status: 0 done, 1 the call failed, 2 bad input and nothing called, 3 no library, 4 the library "
               "broke the host protocol, 130 interrupted.",
               width, 0) +
           "\n";
}

std::string prompt_help_text(unsigned width) {
    std::string text = "A line is a call or a command. Calls:\n" + example_lines("", width) + "Commands:\n";
    for (const CommandWord& word : command_words())
        text += help_entry(fmt::format("  {}", word.usage), word.meaning, option_column, width);
    return text +
           wrapped(fmt::format("{} Tab completes, ?NAME explains an export, --help lists the options, Ctrl-C drops "
                               "the line or stops the call.",
                               integers),
                   width, 0) +
           "\n";
}

std::vector<std::string> option_names() {
    Options options;
    RawFlags raw;
    const auto app = make_app(options, raw);
    std::vector<std::string> names;
    for (const CLI::Option* option :
         app->get_options([](const CLI::Option* candidate) { return !candidate->get_group().empty(); })) {
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
    return names;
}

}  // namespace kesh_host
