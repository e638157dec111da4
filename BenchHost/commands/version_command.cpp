/**
 * @file   version_command.cpp
 * @brief  Prints the versions of the host, the library and its dependencies.
 */
#include "commands/version_command.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <string>

#include "HostKit/library.h"
#include "Shared/intx/level.h"
#include "answers/json.h"
#include "calls/counting_reach.h"
#include "commands/session.h"
#include "terminal/exit_codes.h"
#include "terminal/output.h"

namespace kesh_host {

namespace {

nlohmann::ordered_json version_json(const Library& library) {
    nlohmann::ordered_json versions = {{"kesh-host", KESH_HOST_VERSION},
                                       {"library", library.path().string()},
                                       {"interface_version", library.interface_version()}};
    for (const char* name : {"primesieve", "primecount"}) {
        if (const auto version = library.dependency_version((std::string(name) + "_version").c_str()))
            versions[name] = *version;
    }
    if (const std::string silent = why_counts_are_silent(library); !silent.empty()) versions["counts"] = silent;
    // The library chooses its kernels with the same code, which is compiled into the library and the host.
    versions["kernels"] = kesh::name(kesh::supported_level());
    return versions;
}

std::string version_text(const Library& library) {
    const nlohmann::ordered_json versions = version_json(library);
    std::string text;
    for (const auto& [name, value] : versions.items()) {
        if (name == "kernels") {
            text += fmt::format("kernels of the wide primality tests: {}\n", value.get<std::string>());
        } else if (name == "counts") {
            text += value.get<std::string>() + '\n';
        } else if (name == "interface_version") {
            text.insert(text.size() - 1, fmt::format(" (interface version {})", value.get<mint>()));
        } else {
            text += fmt::format("{} {}\n", name, value.get<std::string>());
        }
    }
    return text;
}

}  // namespace

int show_version(Session& session, const Request& request) {
    const Library& library = session.library();
    print(request.options.json ? json_line(version_json(library)) : version_text(library));
    return exit_ok;
}

}  // namespace kesh_host
