/**
 * @file   number_stream.cpp
 * @brief  Loops over numbers.
 */
#include "number_stream.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>

#include "arguments.h"
#include "exit_codes.h"
#include "interrupts.h"
#include "printable.h"
#include "session.h"
#include "stopwatch.h"

namespace bench_host {

namespace {

using Json = nlohmann::ordered_json;

bool stop_asked() {
    return interrupts_seen() > 0;
}

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

/** Whether reading ended by an error. Of standard input only the C stream knows. */
bool read_failed(const std::istream& input) {
    return input.bad() || (&input == &std::cin && std::ferror(stdin) != 0);
}

/** Numbers shorter than this stand in a column. */
constexpr std::size_t column_width = 24;

}  // namespace

int test_numbers(const NumberJob& job, const std::vector<std::string>& words) {
    const std::vector<cpp_int> values = read_candidates(words);
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
    if (job.options.next && job.options.previous) throw BadInput("--next and --previous exclude each other");
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
        if (!job.options.json)
            print_error(
                fmt::format("there is no prime {} {} within 1024 bits\n", upwards ? "above" : "below", words[i]));
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
    {
        ProgressLine::Source source;
        if (sized)
            source.fraction = [&] { return std::optional<double>(read_bytes / static_cast<double>(status.st_size)); };
        source.note = verdicts;
        ProgressLine line(job.progress, name, source);
        std::string text;
        for (std::size_t number = 1; !stop_asked() && std::getline(input, text); ++number) {
            read_bytes = read_bytes + static_cast<double>(text.size() + 1);
            if (const std::size_t first = text.find_first_not_of(" \t\r");
                first == std::string::npos || text[first] == '#')
                continue;
            while (text.back() == '\r' || text.back() == ' ' || text.back() == '\t') text.pop_back();
            try {
                const cpp_int value = read_candidate(text);
                const bool prime = job.test(value);
                ++tested;
                if (prime) ++primes;
                if (job.options.json) {
                    line.above(json_line(verdict_json(text, value, prime)));
                } else if (!job.look.quiet) {
                    line.above(fmt::format("{:<{}} {}\n", text, column_width, verdict_text(job, prime)));
                }
            } catch (const BadInput& error) {
                ++bad;
                if (job.options.json) {
                    line.above(json_line({{"line", number}, {"status", "bad input"}, {"message", error.what()}}));
                } else {
                    line.above("");
                    print_error(fmt::format("line {}: {}\n", number, printable(error.what())));
                }
            }
        }
    }
    const bool stopped = stop_asked();
    const bool unread = !stopped && read_failed(input);
    if (unread) print_error(fmt::format("{} cannot be read to its end\n", printable(name)));
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
        if (bad > 0) summary += fmt::format(", {} line{} no number", bad, bad == 1 ? " that is" : "s that are");
        if (stopped) summary += ", stopped";
        print(fmt::format("{}  {}\n", job.look.style.bold(summary),
                          job.look.style.dim(fmt::format("({})", format_duration(watch.seconds())))));
    }
    if (stopped) return exit_code_when_stopped();
    if (bad > 0) return exit_bad_input;
    return unread ? exit_call_failed : exit_ok;
}

}  // namespace bench_host
