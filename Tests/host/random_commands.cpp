/**
 * @file   random_commands.cpp
 * @brief  Tests the program with random command lines and scripts, made of meaningful words and of any bytes.
 *
 *     host_random_commands [--seed N] [--cases N | --minutes M]
 *
 * Whatever is typed, kesh-host must end by itself with one of its exit statuses and write printable lines, with --json
 * only JSON. Most cases use a library whose calls return at once, so that a case that does not end is the host's fault;
 * the others call the real library with small numbers. Case k of seed s is the same each time: a failure is printed
 * with k and s.
 */
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "HostKit/export_table.h"
#include "HostKit/fault_plan.h"
#include "commands/options.h"
#include "commands/plot_command.h"
#include "host/process.h"
#include "terminal/printable.h"

namespace {

using namespace kesh::test;

struct Case {
    Arguments arguments;
    std::string input;
    bool json = false;    ///< every line of standard output is JSON
    bool script = false;  ///< commands come from the input
};

class Generator {
  public:
    Generator(std::uint64_t seed, std::uint64_t number) : random_(seed * 1'000'003 + number) {}

    Case make() {
        Case made;
        real_ = one_in(5);
        made.script = one_in(3);
        made.json = one_in(2);
        if (!real_) made.arguments = {"--library", KESH_QUICK_LIBRARY};
        if (!real_) append(made.arguments, {"--abort-after", "0.5"});
        if (made.script) {
            const auto lines = up_to(12);
            for (std::size_t i = 0; i < lines; ++i)
                made.input += line() + pick<std::string>({"\n", "\n", "\r\n", "\n\n"});
            if (one_in(4)) made.input += bytes(200, true);
        } else {
            append(made.arguments, command());
            if (one_in(6)) std::shuffle(made.arguments.begin() + (real_ ? 0 : 4), made.arguments.end(), random_);
            // Numbers for "-"; other commands read no input.
            const auto lines = up_to(5);
            for (std::size_t i = 0; i < lines; ++i) made.input += (one_in(3) ? bytes(20, true) : number()) + "\n";
        }
        if (made.json) made.arguments.insert(made.arguments.begin(), "--json");
        return made;
    }

  private:
    bool one_in(unsigned n) {
        return random_() % n == 0;
    }
    std::size_t up_to(std::size_t most) {
        return random_() % (most + 1);
    }
    template <typename T>
    T pick(const std::vector<T>& choices) {
        return choices[random_() % choices.size()];
    }
    static void append(Arguments& words, const Arguments& more) {
        words.insert(words.end(), more.begin(), more.end());
    }

    /** Bytes of any kind; an argument of a process holds no NUL. */
    std::string bytes(std::size_t most, bool nul) {
        static constexpr std::string_view usual = " -_,.()[]{}'\"?+*/^0123456789aexPn\t\r\xc3\xa9";
        std::string text;
        const bool letters = one_in(2);
        for (std::size_t length = up_to(most); length > 0; --length) {
            const char byte = letters ? usual[random_() % usual.size()] : static_cast<char>(random_());
            if (nul || byte != '\0') text += byte;
        }
        return text;
    }

    std::string number() {
        if (real_) return std::to_string(one_in(2) ? up_to(100) : up_to(100'000));
        return pick<std::string>({"0",          "1",        "-1",
                                  "100",        "10^6",     "2^31",
                                  "2^32+15",    "10^18",    "2^63-1",
                                  "2^63",       "2^64-1",   "2^64",
                                  "1,000,000",  "1_000",    "1e9",
                                  "10^9/7",     "-2^63",    "0xff",
                                  "3*(10^6+1)", "2^1024-1", "1/0",
                                  "7.5",        "new",      "{7, 0}",
                                  "10^10^10",   "1,00",     std::to_string(random_())});
    }

    std::string word() {
        switch (up_to(real_ ? 1 : 3)) {
            case 0:
            case 1:
                return number();
            case 2:
                return bytes(12, false);
            default: {
                std::string changed = number();
                const std::size_t place = up_to(changed.size());
                changed.insert(place, bytes(2, false));
                return changed;
            }
        }
    }

    Arguments option() {
        static const std::vector<std::string> flags = [] {
            std::vector<std::string> names;
            for (const kesh_host::OptionHelp& option : kesh_host::option_help()) {
                if (option.takes != kesh_host::OptionHelp::Takes::nothing) continue;
                names.insert(names.end(), option.names.begin(), option.names.end());
            }
            return names;
        }();
        if (one_in(2)) {
            const std::string flag = pick(flags);
            // Both libraries dereference the table without a check, and the real one all its other pointers, too.
            if (flag == "--null-table" || (real_ && (flag == "--null-io" || flag == "--unchecked"))) return {};
            return {flag};
        }
        switch (up_to(8)) {
            case 0:
                return {"--color", pick<std::string>({"auto", "never", "maybe"})};
            case 1:
                return {"--threads", real_ ? "1" : word()};
            case 2:
                return {pick<std::string>({"-d", "--distance"}), word()};
            case 3:
                return {"--points", pick<std::string>({"2", "5", "1", "99999", "x"})};
            case 4:
                return {"--events", pick<std::string>({"events.csv", "/dev/full", "/nonexistent/x", ".", "/dev/null"})};
            case 5:
                return {"--file", pick<std::string>({"/dev/null", "/nonexistent/x", ".", "-", "events.csv"})};
            case 6:
                return real_ ? Arguments{} : Arguments{"--fail", fault()};
            case 7:
                return one_in(8) ? Arguments{pick<std::string>({"--svg", "--png"}),
                                             pick<std::string>({"x.svg", "/dev/full", "."})}
                                 : Arguments{"--leave-length", word()};
            default:
                return real_ ? Arguments{} : Arguments{fmt::format("-{}", bytes(8, false))};
        }
    }

    std::string fault() {
        const auto& slots = kesh_host::fault_slots();
        const auto& slot = slots[random_() % slots.size()];
        std::string text(slot.name);
        // A null pointer in place of a tensor's data would be dereferenced.
        const std::string form(pick(slot.forms));
        text += "=" + (form == "code" ? pick<std::string>({"3", "77", "-1"}) : form == "null" ? "slow" : form);
        if (one_in(3)) text += "@" + pick<std::string>({"1", "2", "x"});
        return one_in(5) ? bytes(10, false) : text;
    }

    Arguments command() {
        Arguments words;
        const auto add_numbers = [&](std::size_t count) {
            for (std::size_t i = 0; i < count; ++i) words.push_back(word());
        };
        const auto& table = kesh_host::export_table();
        switch (up_to(9)) {
            case 0:
                if (!real_) add_numbers(up_to(4));
                break;
            case 1: {
                words = {pick<std::string>({"list", "help", "version", "tasks", "stop", "wait", "set", "?",
                                            "?PrimeSieve_NthPrime", "nonsense"})};
                if (one_in(3))
                    words.push_back(pick<std::string>({"json", "PrimeSieve_NthPrime", "quiet", "plot", "1", "on"}));
                break;
            }
            case 2:
                words = {"plot", one_in(5) ? "x" : pick(kesh_host::plot_kinds())};
                if (words[1] == "events") words.emplace_back("PrimeCount_PrimePi");
                add_numbers(1 + up_to(1));
                break;
            case 3:
                words = {pick<std::string>({"KESH_PrimeQ", "KESH_PrimeQ", "next-prime", "previous-prime", "primes"})};
                if (one_in(3)) {
                    words.emplace_back("-");
                } else {
                    add_numbers(up_to(4));
                }
                break;
            default: {
                const auto& entry = table[random_() % table.size()];
                words = {std::string(entry.name)};
                if (!real_ && one_in(10)) words[0].insert(up_to(words[0].size()), bytes(2, false));
                add_numbers(one_in(6) ? up_to(4) : entry.parameters.size());
            }
        }
        while (one_in(2)) append(words, option());
        return words;
    }

    std::string line() {
        if (one_in(5)) return bytes(60, true);
        const Arguments words = command();
        if (one_in(4) && !words.empty())
            return fmt::format("{}({})", words[0], fmt::join(words.begin() + 1, words.end(), ", "));
        std::string text;
        for (const std::string& word : words) text += fmt::format(fmt::runtime(one_in(6) ? "\"{}\" " : "{} "), word);
        return text;
    }

    std::mt19937_64 random_;
    bool real_ = false;
};

bool has(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

/** What is wrong with the end of the case; empty if nothing is. */
std::string fault_of(const Case& tried, const Finished& run) {
    if (run.code == 128 + SIGKILL) return "it did not end";
    if (run.code >= 5 && run.code != 130) return fmt::format("it ended with status {}", run.code);
    if (has(run.errors, "Sanitizer") || has(run.errors, "runtime error:")) return "a sanitizer has found something";
    for (const std::string* text : {&run.output, &run.errors}) {
        std::istringstream lines(*text);
        for (std::string line; std::getline(lines, line);) {
            std::erase(line, '\t');
            // JSON, which an option or a line of a script may turn on, leaves DEL as it is.
            if (kesh_host::printable(line) != line && !(text == &run.output && nlohmann::json::accept(line)))
                return "it wrote an unprintable line: " + kesh_host::printable(line);
        }
    }
    // A line of a script may change the form of the output, and so may a word after "--".
    const bool plain = has(tried.input, "set") ||
                       std::find(tried.arguments.begin(), tried.arguments.end(), "--") != tried.arguments.end();
    if (!tried.json || plain) return "";
    std::istringstream lines(run.output);
    for (std::string line; std::getline(lines, line);) {
        if (!nlohmann::json::accept(line)) return "it wrote a line that is no JSON: " + line;
    }
    return "";
}

std::uint64_t number_after(const Arguments& words, const char* option, std::uint64_t otherwise) {
    const auto found = std::find(words.begin(), words.end(), option);
    return found == words.end() || found + 1 == words.end() ? otherwise
                                                            : std::strtoull((found + 1)->c_str(), nullptr, 10);
}

}  // namespace

int main(int argc, char** argv) {
    const Arguments words(argv + 1, argv + argc);
    const std::uint64_t seed = number_after(words, "--seed", 1);
    const std::uint64_t first = number_after(words, "--first", 0);
    const std::uint64_t minutes = number_after(words, "--minutes", 0);
    const std::uint64_t cases = number_after(words, "--cases", minutes > 0 ? ~std::uint64_t{0} : 400);
    // With the address sanitizer too, a list that does not fit the memory is an exception.
    setenv("ASAN_OPTIONS", "allocator_may_return_null=1", 0);
    // Cases write their files into a folder of their own; it stays if one of them is wrong.
    char folder[] = "/tmp/kesh_random_XXXXXX";
    if (mkdtemp(folder) == nullptr || chdir(folder) != 0) return 2;

    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(minutes);
    std::uint64_t tried = 0;
    std::uint64_t wrong = 0;
    for (; tried < cases && (minutes == 0 || std::chrono::steady_clock::now() < end); ++tried) {
        const Case made = Generator(seed, first + tried).make();
        const Finished run = run_host(made.arguments, {.input = made.input, .limit = std::chrono::minutes(2)});
        const std::string fault = fault_of(made, run);
        if (fault.empty()) continue;
        ++wrong;
        std::vector<std::string> shown;
        for (const std::string& word : made.arguments) shown.push_back(fmt::format("'{}'", kesh_host::printable(word)));
        fmt::print("--seed {} --first {}: {}\n  kesh-host {}\n  input: {}\n  errors: {}\n", seed, first + tried, fault,
                   fmt::join(shown, " "), kesh_host::printable(made.input), kesh_host::printable(run.errors));
        std::fflush(stdout);
    }
    fmt::print("{} command lines and scripts from seed {}, {} wrong\n", tried, seed, wrong);
    if (wrong != 0) return 1;
    std::filesystem::remove_all(folder);
    return 0;
}
