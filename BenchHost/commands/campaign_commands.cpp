/**
 * @file   campaign_commands.cpp
 * @brief  Runs the campaigns endure and faults.
 */
#include "commands/campaign_commands.h"

#include <fmt/format.h>

#include <stdexcept>
#include <string>

#include "HostKit/export_table.h"
#include "campaigns/endurance.h"
#include "campaigns/fault_page.h"
#include "commands/names.h"
#include "commands/session.h"
#include "terminal/bad_input.h"
#include "terminal/exit_codes.h"
#include "terminal/output.h"

namespace kesh_host {

namespace {

void refuse_json(const Request& request, std::string_view command) {
    if (request.options.json) throw BadInput(fmt::format("'{}' cannot print JSON", command));
}

}  // namespace

int run_endurance(Session& session, const Request& request) {
    refuse_json(request, "endure");
    return endure(session.library(), request.options.endurance);
}

int run_faults(Session& session, const Request& request) {
    refuse_json(request, "faults");
    // Every case must begin in a process in which nothing has been called.
    if (request.at_prompt) throw BadInput("'faults' works only on the command line: kesh-host faults");
    for (const std::string& word : request.words) {
        if (find_export(word) == nullptr) throw BadInput(unknown_name(session.commands(), word));
    }
    try {
        print(fault_page(session.library(), request.words));
        return exit_ok;
    } catch (const std::runtime_error& error) {
        print_error(fmt::format("kesh-host: {}\n", error.what()));
        return exit_call_failed;
    }
}

}  // namespace kesh_host
