/**
 * @file   export_help.cpp
 * @brief  The list of exports, and everything about one of them.
 */
#include "answers/export_help.h"

#include <fmt/format.h>

#include <optional>

#include "terminal/layout.h"

namespace kesh_host {

std::string list_text(const PrintLook& look) {
    std::string text;
    std::optional<Family> family;
    for (const Export& entry : export_table()) {
        if (family != entry.family) {
            text += fmt::format("{}{}\n", family ? "\n" : "", look.style.bold(family_title(entry.family)));
            family = entry.family;
        }
        std::string signature = fmt::format("{}(", entry.name);
        for (std::size_t i = 0; i < entry.parameters.size(); ++i) {
            signature += fmt::format("{}{}: {}", i == 0 ? "" : ", ", entry.parameters[i].name,
                                     kind_name(entry.parameters[i].kind));
        }
        signature += fmt::format(") -> {}", kind_name(entry.result));
        constexpr unsigned column = 66;
        if (look.width >= column + 50) {
            text += fmt::format("  {:<{}} {}\n", signature, column,
                                look.style.dim(wrapped(std::string(entry.summary), look.width, column + 3)));
        } else {
            text += fmt::format("  {}\n      {}\n", signature,
                                look.style.dim(wrapped(std::string(entry.summary), look.width, 6)));
        }
    }
    return text;
}

std::string export_help(const Export& entry, const PrintLook& look) {
    std::string text = fmt::format("{}\n  {}\n", look.style.bold(usage_line(entry)),
                                   wrapped(std::string(entry.summary), look.width, 2));
    const auto line = [&](std::string_view name, std::string_view meaning) {
        text += fmt::format("  {:<9} {}\n", name, wrapped(std::string(meaning), look.width, 12));
    };
    for (const Parameter& parameter : entry.parameters)
        line(parameter.name, fmt::format("{}: {}", kind_name(parameter.kind), parameter.meaning));
    line("result", kind_name(entry.result));
    line("errors", entry.errors);
    line("cost", entry.cost);
    if (!entry.stop.empty()) line("stop", entry.stop);
    std::string example(entry.name);
    for (const std::string_view word : entry.example) example.append(" ").append(word);
    if (!entry.example_result.empty()) example.append("   gives ").append(entry.example_result);
    line("example", example);
    return text;
}

}  // namespace kesh_host
