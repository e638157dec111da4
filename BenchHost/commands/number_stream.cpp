/**
 * @file   number_stream.cpp
 * @brief  Loops over numbers.
 */
#include "commands/number_stream.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <bit>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <set>

#include "answers/json.h"
#include "calls/expression.h"
#include "calls/interrupts.h"
#include "terminal/bad_input.h"
#include "terminal/duration.h"
#include "terminal/exit_codes.h"
#include "terminal/output.h"
#include "terminal/printable.h"
#include "terminal/progress_line.h"
#include "terminal/stopwatch.h"
#include "terminal/wording.h"

namespace kesh_host {

namespace {

using Json = nlohmann::ordered_json;

Json verdict_json(const std::string& typed, const cpp_int& value, bool prime) {
    return {{"number", typed}, {"value", value.str()}, {"bits", bit_length(value)}, {"prime", prime}};
}

std::string verdict_text(const NumberJob& job, bool prime) {
    return prime ? job.look.style.green("prime") : "not prime";
}

std::vector<cpp_int> read_candidates(const std::vector<std::string>& words) {
    std::vector<cpp_int> values;
    values.reserve(words.size());
    for (const std::string& word : words) values.push_back(read_candidate(word));
    return values;
}

/** Whether reading ended because of an error. For standard input, only the C stream knows this. */
bool read_failed(const std::istream& input) {
    return input.bad() || (&input == &std::cin && std::ferror(stdin) != 0);
}

/** At most this many numbers of a stream are tested in one call. */
constexpr std::size_t most_in_a_call = 512;

/** A line of a stream that contains a number, or should contain one. */
struct StreamLine {
    std::size_t number;  ///< counted from 1
    std::string text;
    cpp_int value;
    std::string mistake;  ///< why there is no value
};

StreamLine read_line(std::size_t number, const std::string& text) {
    try {
        return {number, text, read_candidate(text), {}};
    } catch (const BadInput& error) {
        return {number, text, 0, error.what()};
    }
}

/** Whether more of a pipe or a terminal can be read now. A number must be tested without waiting for a later one. */
bool more_to_read(int descriptor) {
    pollfd poll_record{.fd = descriptor, .events = POLLIN, .revents = 0};
    return poll(&poll_record, 1, 0) > 0;
}

/** The width of the column of numbers; longer numbers make their line longer. */
constexpr std::size_t column_width = 24;

}  // namespace

int test_numbers(const NumberJob& job, const std::vector<std::string>& words) {
    const std::vector<cpp_int> values = read_candidates(words);
    // The library's first test of a width also makes tables, which takes longer than the test: it is not timed.
    std::set<unsigned> widths;
    for (const cpp_int& value : values) {
        if (widths.insert(std::bit_ceil(bit_length(value))).second) job.test(value);
    }
    Json results = Json::array();
    const Stopwatch whole;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const Stopwatch watch;
        const bool prime = job.test(values[i]);
        const double seconds = watch.seconds();
        if (job.options.json) {
            results.push_back(verdict_json(words[i], values[i], prime));
            continue;
        }
        const std::string verdict = verdict_text(job, prime);
        if (job.look.quiet) {
            print(fmt::format("{}\n", prime ? 1 : 0));
            continue;
        }
        const unsigned bits = bit_length(values[i]);
        const std::string detail = job.look.style.dim(
            fmt::format("({} bit{}, {}, {})", bits, bits == 1 ? "" : "s", test_name(bits), format_duration(seconds)));
        if (words.size() == 1) {
            print(fmt::format("{}\n{} is {}.  {}\n", job.look.style.bold(prime ? "prime" : "not prime"), words[i],
                              prime ? "prime" : "not prime", detail));
        } else {
            print(fmt::format("{:<{}} {}{}  {}\n", words[i], column_width, verdict, prime ? "    " : "", detail));
        }
    }
    if (job.options.json)
        print(json_line(
            {{"export", "KESH_PrimeQ"}, {"status", "ok"}, {"numbers", results}, {"seconds", whole.seconds()}}));
    return exit_ok;
}

int walk_from_numbers(const NumberJob& job, const std::vector<std::string>& words) {
    if (job.options.next && job.options.previous) throw BadInput("--next and --previous cannot be used together");
    const bool upwards = job.options.next;
    const std::vector<cpp_int> values = read_candidates(words);
    int code = exit_ok;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const Stopwatch watch;
        Neighbour found;
        {
            const InterruptScope scope(3, Stoppable::yes);
            const ProgressLine line(job.progress,
                                    fmt::format("KESH_PrimeQ, {} prime {} {}", upwards ? "next" : "previous",
                                                upwards ? "after" : "before", words[i]),
                                    {});
            found = find_neighbour(job.test, values[i], upwards, stop_asked);
        }
        const cpp_int distance =
            found.found ? (upwards ? cpp_int(found.prime - values[i]) : cpp_int(values[i] - found.prime)) : cpp_int(0);
        if (job.options.json) {
            Json object = {{"export", "KESH_PrimeQ"}, {"walk", upwards ? "next" : "previous"},
                           {"number", words[i]},      {"status", found.found ? "ok" : "none"},
                           {"tested", found.tested},  {"seconds", watch.seconds()}};
            if (found.found)
                object.update(
                    {{"prime", found.prime.str()}, {"bits", bit_length(found.prime)}, {"distance", distance.str()}});
            print(json_line(object));
        } else if (found.found && job.look.quiet) {
            print(found.prime.str() + "\n");
        } else if (found.found) {
            const std::string detail =
                fmt::format("({} bits, {} tested, {})", bit_length(found.prime),
                            counted(found.tested, "candidate", "candidates"), format_duration(watch.seconds()));
            print(fmt::format("{}\nThe {} prime {} {} is {} {} {}.  {}\n", job.look.style.bold(found.prime.str()),
                              upwards ? "next" : "last", upwards ? "after" : "before", words[i], words[i],
                              upwards ? '+' : '-', distance.str(), job.look.style.dim(detail)));
        }
        if (found.found) continue;
        if (stop_asked()) {
            print_error("stopped\n");
            return exit_code_when_stopped();
        }
        if (!job.options.json) print_error(no_neighbour_text(upwards, words[i]) + "\n");
        code = exit_call_failed;
    }
    return code;
}

int test_number_stream(const NumberJob& job, const std::string& path) {
    std::ifstream file;
    const bool standard_input = path == "-";
    if (!standard_input) {
        file.open(path);
        if (!file) throw BadInput(fmt::format("the file {} cannot be read", path));
    }
    std::istream& input = standard_input ? std::cin : file;
    const std::string name = standard_input ? "standard input" : path;
    struct stat status{};
    const bool known = (standard_input ? fstat(STDIN_FILENO, &status) : stat(path.c_str(), &status)) == 0;
    if (known && S_ISDIR(status.st_mode)) throw BadInput(fmt::format("{} is a folder, not a file of numbers", name));
    const bool sized = known && S_ISREG(status.st_mode) && status.st_size > 0;

    const InterruptScope scope(3, Stoppable::yes);
    const Stopwatch watch;
    std::size_t bad = 0;
    std::atomic<std::size_t> tested = 0;
    std::atomic<std::size_t> primes = 0;
    std::atomic<double> read_bytes = 0;
    const auto verdicts = [&] {
        return fmt::format("{}, {} prime", counted(tested, "number", "numbers"), primes.load());
    };
    /** The number of tested numbers per second, once there is something to measure. */
    const auto rate = [&] {
        const double seconds = watch.seconds();
        return seconds < 0.1 ? "" : fmt::format(", {:.0f} a second", static_cast<double>(tested) / seconds);
    };
    {
        ProgressLine::Source source;
        if (sized)
            source.fraction = [&] { return std::optional<double>(read_bytes / static_cast<double>(status.st_size)); };
        source.note = [&] { return verdicts() + rate(); };
        ProgressLine line(job.progress, name, source);
        std::vector<StreamLine> waiting;
        const auto test_waiting = [&] {
            std::vector<cpp_int> values;
            for (const StreamLine& each : waiting) {
                if (each.mistake.empty()) values.push_back(each.value);
            }
            const std::size_t before = tested;
            const std::vector<bool> prime = job.test(values, [&](std::size_t done) {
                tested = before + done;
                return !stop_asked();
            });
            tested = before + prime.size();
            std::string results;
            std::size_t next = 0;
            for (const StreamLine& each : waiting) {
                if (!each.mistake.empty()) {
                    ++bad;
                    if (job.options.json) {
                        results +=
                            json_line({{"line", each.number}, {"status", "bad input"}, {"message", each.mistake}});
                        continue;
                    }
                    line.above(results);
                    results.clear();
                    print_error(fmt::format("line {}: {}\n", each.number, printable(each.mistake)));
                    continue;
                }
                if (next == prime.size()) break;  // stopped
                const bool is_prime = prime[next++];
                if (is_prime) ++primes;
                if (job.options.json)
                    results += json_line(verdict_json(each.text, each.value, is_prime));
                else if (!job.look.quiet)
                    results += fmt::format("{:<{}} {}\n", each.text, column_width, verdict_text(job, is_prime));
            }
            if (!results.empty()) line.above(results);
            waiting.clear();
        };
        std::string text;
        for (std::size_t number = 1; !stop_asked() && std::getline(input, text); ++number) {
            read_bytes = read_bytes + static_cast<double>(text.size() + 1);
            const std::size_t first = text.find_first_not_of(" \t\r");
            if (first != std::string::npos && text[first] != '#') {
                text.erase(text.find_last_not_of(" \t\r") + 1);
                waiting.push_back(read_line(number, text));
            }
            const bool last_for_now = !sized && (!standard_input || !more_to_read(STDIN_FILENO));
            if (waiting.size() == most_in_a_call || (!waiting.empty() && last_for_now)) test_waiting();
        }
        if (!stop_asked()) test_waiting();
    }
    const bool stopped = stop_asked();
    const bool unread = !stopped && read_failed(input);
    if (unread) print_error(fmt::format("{} could not be read completely\n", printable(name)));
    if (job.options.json) {
        print(json_line({{"export", "KESH_PrimeQ"},
                         {"status", stopped  ? "stopped"
                                    : unread ? "error"
                                             : "ok"},
                         {"tested", tested.load()},
                         {"primes", primes.load()},
                         {"bad_lines", bad},
                         {"seconds", watch.seconds()}}));
    } else {
        std::string summary = verdicts();
        if (bad > 0)
            summary += fmt::format(", {} line{}", bad, bad == 1 ? " that is not a number" : "s that are not numbers");
        if (stopped) summary += ", stopped";
        print(fmt::format("{}  {}\n", job.look.style.bold(summary),
                          job.look.style.dim(fmt::format("({}{})", format_duration(watch.seconds()), rate()))));
    }
    if (stopped) return exit_code_when_stopped();
    if (bad > 0) return exit_bad_input;
    return unread ? exit_call_failed : exit_ok;
}

}  // namespace kesh_host
