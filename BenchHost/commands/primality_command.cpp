/**
 * @file   primality_command.cpp
 * @brief  Chooses between numbers of the line, of a file, and walks.
 */
#include "commands/primality_command.h"

#include "HostKit/host.h"
#include "calls/primality.h"
#include "commands/looks.h"
#include "commands/number_stream.h"
#include "commands/options.h"
#include "commands/session.h"
#include "terminal/bad_input.h"
#include "terminal/exit_codes.h"

namespace kesh_host {

int test_primality(Session& session, const Request& request) {
    const Options& options = request.options;
    const std::vector<std::string>& words = request.words;
    const PrimalityTest test(session.library());
    const NumberJob job{.test = test,
                        .options = options,
                        .look = look_of(options),
                        .progress = progress_look_of(options),
                        .errors = error_style_of(options)};
    int code = exit_bad_input;
    if (!options.file.empty() || (words.size() == 1 && words[0] == "-")) {
        if (options.next || options.previous)
            throw BadInput("--next and --previous walk from numbers on the command line, not from a file");
        if (!options.file.empty() && !words.empty())
            throw BadInput("numbers are taken either from --file or from the command line");
        code = test_number_stream(job, options.file.empty() ? "-" : options.file);
    } else {
        if (words.empty())
            throw BadInput(
                "KESH_PrimeQ takes numbers of up to 1024 bits; for example: KESH_PrimeQ 2^521-1 0xffff 10^40+121");
        code = options.next || options.previous ? walk_from_numbers(job, words) : test_numbers(job, words);
    }
    return host().breaches.take().empty() ? code : exit_breach;
}

}  // namespace kesh_host
