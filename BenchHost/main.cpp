/**
 * @file   main.cpp
 * @brief  kesh-host: one call, or the prompt.
 */
#include <fmt/format.h>
#include <unistd.h>
#include <clocale>
#include <exception>
#include <string>
#include <vector>

#include "exit_codes.h"
#include "functions_page.h"
#include "interrupts.h"
#include "options.h"
#include "print.h"
#include "prompt.h"
#include "session.h"

namespace {

using namespace bench_host;

int run(const std::vector<std::string>& arguments) {
    Options options;
    try {
        options = parse_options(arguments, Options{});
    } catch (const BadInput& error) {
        print_error(fitted(fmt::format("{}\n", error.what()), STDERR_FILENO));
        return exit_bad_input;
    }
    if (options.functions_page) return print(functions_page()), exit_ok;
    if (!options.complete.empty()) return print(shell_completion_words(options.complete)), exit_ok;
    // Help must not depend on a library being there.
    if (options.help && options.words.empty()) return print(help_text(help_width())), exit_ok;

    Session session(options);
    install_interrupt_handler();
    if (!options.words.empty() || options.list || options.version || options.help)
        return session.execute(options, false);
    return is_terminal(STDIN_FILENO) ? run_prompt(session) : run_script(session);
}

}  // namespace

int main(int argc, char** argv) {
    // Character set only: numbers keep their point, whatever the country.
    std::setlocale(LC_CTYPE, "");
    int code = exit_ok;
    try {
        code = run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const LibraryError& error) {
        print_error(fmt::format("kesh-host: {}\n", error.what()));
        code = exit_no_library;
    }
    std::fflush(stdout);
    // Detached workers of the library may still run: static destructors must not be pulled from under them.
    _exit(code);
}
