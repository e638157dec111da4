/**
 * @file   help_page.cpp
 * @brief  The text of --help and of the help at the prompt.
 */
#include "commands/help_page.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "HostKit/fault_plan.h"
#include "commands/options.h"
#include "terminal/layout.h"
#include "terminal/terminal.h"

namespace kesh_host {

namespace {

struct Example {
    std::string_view words;
    std::string_view meaning;
};
constexpr Example examples[] = {
    {"PrimeSieve_CountPrimes 0 10^10", "counts the primes up to ten billion"},
    {"PrimeSieve_CountTwins 10^18 -d 10^9", "counts twins from 10^18 to 10^18 + 10^9"},
    {"PrimeCount_PrimePi 10^17", "shows a progress bar; Ctrl-C stops it"},
    {"PrimeCount_ExprPrimePi 10^21", "counts up to a number of more than 64 bits"},
    {"PrimeSieve_ListPrimes 10^6 10^6+200", "prints a tensor as a table"},
    {"PrimeSieve_NextPrime 2^61 --json", "prints JSON, for programs"},
    {"KESH_PrimeQ 2^521-1 2^127-1 0xffff", "tests numbers of up to 1024 bits"},
    {"KESH_PrimeQ 10^300 --next", "finds the next prime above the number"},
    {"plot pi 2 10^6", "draws pi(x), x / ln x and Li(x)"},
};
constexpr std::string_view integers =
    "Integers: 1_000_000, 1,000,000, 1e9, 10^12, 2^61-1, 10^9/7, 3*(10^6+1), -5, 0xff. For a range you may give only "
    "the end; it then begins at 0.";

/** A name and what it means, in two columns; a name that is too long for its column is on a separate line. */
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

unsigned help_width() {
    constexpr unsigned widest_readable = 110;
    return std::min(terminal_width(STDOUT_FILENO), widest_readable);
}

std::string help_text(std::span<const Command> commands, unsigned width) {
    std::string text =
        "kesh-host calls the exports of libVelmoraKesh.so by name, as a host would.\n\n"
        "Usage: kesh-host [OPTIONS] EXPORT [ARGUMENTS...]   one call\n"
        "       kesh-host [OPTIONS] COMMAND [ARGUMENTS...]  one of the commands below\n"
        "       kesh-host [OPTIONS]                         a prompt, or commands from a pipe\n\n"
        "Commands (* means: only at the prompt):\n";
    for (const Command& word : commands)
        text += help_entry(fmt::format("  {}{}", word.prompt_only ? '*' : ' ', word.usage), word.meaning, option_column,
                           width);

    std::string group;
    for (const OptionHelp& option : option_help()) {
        if (option.group != group) {
            group = option.group;
            text += fmt::format("\n{}:\n", group);
        }
        std::string name = fmt::format("{}", fmt::join(option.names, ", "));
        if (!option.value.empty()) name += " " + option.value;
        text += help_entry("   " + name, option.meaning, option_column, width);
    }
    text += "\nCallbacks that --fail can make fail, and how:\n";
    for (const FaultSlot& slot : fault_slots())
        text += fmt::format("   {:<38} {}\n", slot.name, fmt::join(slot.forms, ", "));
    text += "\nExamples:\n" + example_lines("kesh-host ", width);
    return text + "\n" + wrapped(fmt::format("{} In a shell, put '*' and parentheses in quotes.", integers), width, 0) +
           "\n" +
           wrapped(
               "Exit status: 0 success, 1 the call failed, 2 bad input (nothing was called), 3 no library, 4 the "
               "library broke the host protocol, 130 stopped by Ctrl-C.",
               width, 0) +
           "\n";
}

std::string prompt_help_text(std::span<const Command> commands, unsigned width) {
    std::string text = "Each line is a call or a command. Calls:\n" + example_lines("", width) + "Commands:\n";
    for (const Command& word : commands)
        text += help_entry(fmt::format("  {}", word.usage), word.meaning, option_column, width);
    return text +
           wrapped(fmt::format("{} Tab completes, ?NAME explains an export, --help lists the options, Ctrl-C deletes "
                               "the line or stops the call.",
                               integers),
                   width, 0) +
           "\n";
}

}  // namespace kesh_host
