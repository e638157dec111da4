/**
 * @file   set_command.cpp
 * @brief  Changes and shows the settings of the prompt.
 */
#include "commands/set_command.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "answers/json.h"
#include "commands/options.h"
#include "commands/session.h"
#include "terminal/bad_input.h"
#include "terminal/exit_codes.h"
#include "terminal/output.h"
#include "terminal/wording.h"

namespace kesh_host {

namespace {

struct Setting {
    std::string_view name;
    bool Options::* value;
};
constexpr Setting settings[] = {{"json", &Options::json},
                                {"quiet", &Options::quiet},
                                {"all", &Options::all},
                                {"every-event", &Options::every_event}};

bool on_or_off(const std::string& word) {
    if (word == "on" || word == "off") return word == "on";
    throw BadInput(fmt::format("'{}' is neither on nor off", word));
}

}  // namespace

std::vector<std::string> setting_names() {
    std::vector<std::string> names;
    for (const Setting& setting : settings) names.emplace_back(setting.name);
    return names;
}

int change_settings(Session& session, const Request& request) {
    Options& defaults = session.defaults();
    const std::vector<std::string>& words = request.words;
    if (words.empty() && request.options.json) {
        nlohmann::ordered_json values;
        for (const Setting& setting : settings) values[std::string(setting.name)] = defaults.*setting.value;
        print(json_line(values));
        return exit_ok;
    }
    if (words.empty()) {
        for (const Setting& setting : settings)
            print(fmt::format("{:<12} {}\n", setting.name, defaults.*setting.value ? "on" : "off"));
        return exit_ok;
    }
    const auto named = std::find_if(std::begin(settings), std::end(settings),
                                    [&](const Setting& setting) { return setting.name == words[0]; });
    if (named == std::end(settings))
        throw BadInput(
            fmt::format("'{}' is not a setting; the settings are {}", words[0], listed(setting_names(), "and")));
    defaults.*(named->value) = words.size() < 2 || on_or_off(words[1]);
    return exit_ok;
}

}  // namespace kesh_host
