/**
 * @file   main.cpp
 * @brief  The program kesh-host: makes one call, or opens the prompt.
 */
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <exception>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "HostKit/library.h"
#include "answers/functions_page.h"
#include "answers/json.h"
#include "answers/refusal.h"
#include "calls/interrupts.h"
#include "commands/command_table.h"
#include "commands/execute.h"
#include "commands/help_command.h"
#include "commands/options.h"
#include "commands/session.h"
#include "prompt/completion.h"
#include "prompt/prompt.h"
#include "terminal/bad_input.h"
#include "terminal/exit_codes.h"
#include "terminal/output.h"
#include "terminal/output_file.h"
#include "terminal/printable.h"
#include "terminal/terminal.h"

namespace {

using namespace kesh_host;

int run(const std::vector<std::string>& arguments) {
    Options options;
    try {
        options = parse_options(arguments, Options{});
    } catch (const BadInput& error) {
        return report_bad_input(asks_for_json(arguments), {}, error.what());
    }
    if (options.functions_page) return print(functions_page()), exit_ok;
    if (!options.complete.empty())
        return print(shell_completion_words(options.complete, options.words.empty() ? "" : options.words[0])), exit_ok;
    // Help must work without a library.
    if (options.help && options.words.empty()) return print_help(command_table(), options.json), exit_ok;

    Session session(options, command_table());
    install_interrupt_handler();
    if (!options.words.empty() || options.list || options.version || options.help)
        return execute(session, options, false);
    return is_terminal(STDIN_FILENO) ? run_prompt(session) : run_script(session);
}

}  // namespace

int main(int argc, char** argv) {
    // Only the character set: numbers have a decimal point in every locale.
    std::setlocale(LC_CTYPE, "");
    int code = exit_ok;
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    try {
        code = run(arguments);
    } catch (const LibraryError& error) {
        if (asks_for_json(arguments)) {
            print(json_line({{"export", nullptr}, {"status", "no library"}, {"message", error.what()}}));
        } else {
            print_error(fmt::format("kesh-host: {}\n", printable(error.what())));
        }
        code = exit_no_library;
    } catch (const std::exception& error) {
        print_error(fmt::format("kesh-host: {}\n", printable(error.what())));
        code = exit_call_failed;
    }
    if (!standard_output_complete()) {
        print_error("kesh-host: not everything could be written to standard output\n");
        code = std::max<int>(code, exit_call_failed);
    }
    // Detached workers of the library may still run, so no static destructor may run.
    _exit(code);
}
