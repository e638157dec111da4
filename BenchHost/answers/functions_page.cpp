/**
 * @file   functions_page.cpp
 * @brief  Writes the Markdown of the reference page from the table of exports.
 */
#include "answers/functions_page.h"

#include <fmt/format.h>

#include <optional>

#include "HostKit/export_table.h"

namespace kesh_host {

namespace {

constexpr std::string_view introduction = R"(# Functions that the library exports

<!-- Made by: kesh-host --functions-page > docs/functions.md -->

These are all functions that `libVelmoraKesh.so` exports for a host. [Batch](batch.md) describes the other C functions of
`kesh_prime.h`. A host calls the functions with this signature:

```c
int NAME(VelmoraLibraryData libData, mint Argc, MArgument *Args, MArgument Res);
```

The function stores its result in the result slot `Res` and returns an error code: 0 after a success, 6
(`LIBRARY_FUNCTION_ERROR`) if the number of arguments is wrong, and the other codes that are listed at "Errors"
([causes of code 6](host-interface.md#causes-of-code-6)). It writes the result slot only if the code is 0. `KESH_PrimeQ` and
the two lifecycle functions have plain C signatures, which are shown below.

An *integer* is a signed 64-bit machine integer. Functions on unsigned numbers take the same 64 bits, so that values of 2^63
and above appear as negative integers. A *task id* is an integer that `PrimeCount_CreateTask` returned.

"Stop" says how a call that can take minutes can be stopped. Functions without this line do not take that long.

The examples are calls by [kesh-host](kesh-host.md). `...` stands for lines that are left out, such as the elapsed time.
)";

std::string signature(const Export& entry) {
    if (entry.name == "VelmoraLibrary_getVersion") return "mint VelmoraLibrary_getVersion(void);";
    if (entry.name == "VelmoraLibrary_initialize") return "int VelmoraLibrary_initialize(VelmoraLibraryData libData);";
    if (entry.name == "KESH_PrimeQ") return "mbool KESH_PrimeQ(const umint *limbs, mint length, mbool *answer);";
    return "";
}

std::string anchor(std::string_view heading) {
    std::string text;
    for (const char c : heading) text += c == ' ' ? '-' : static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return text;
}

/** "{2, 3, 5}" as the lines that -q prints. */
std::string tensor_lines(std::string_view braces) {
    std::string lines;
    for (const char c : braces.substr(1, braces.size() - 2)) {
        if (c == ',') {
            lines += '\n';
        } else if (c != ' ') {
            lines += c;
        }
    }
    return lines;
}

std::string example_block(const Export& entry) {
    const bool list = entry.result == Kind::tensor;
    std::string block = fmt::format("```console\n$ kesh-host {}{}", list ? "-q " : "", entry.name);
    for (const std::string_view word : entry.example) {
        const bool quotes = word.find_first_of("*(){}") != std::string_view::npos;
        block += quotes ? fmt::format(" '{}'", word) : fmt::format(" {}", word);
    }
    block += '\n';
    if (list) return block + tensor_lines(entry.example_result) + "\n```\n";
    if (!entry.example_result.empty()) block += fmt::format("{}\n", entry.example_result);
    return block + "...\n```\n";
}

std::string section(const Export& entry) {
    std::string text = fmt::format("\n### {}\n\n", entry.name);
    if (const std::string plain = signature(entry); !plain.empty()) text += fmt::format("```c\n{}\n```\n\n", plain);
    std::string summary(entry.summary);
    summary[0] = static_cast<char>(summary[0] >= 'a' && summary[0] <= 'z' && !summary.starts_with("pi(") &&
                                           !summary.starts_with("phi(")
                                       ? summary[0] - 'a' + 'A'
                                       : summary[0]);
    text += fmt::format("{}.\n\n", summary);
    text += "| | kind | meaning |\n|---|---|---|\n";
    for (const Parameter& parameter : entry.parameters)
        text += fmt::format("| {} | {} | {} |\n", parameter.name, kind_name(parameter.kind), parameter.meaning);
    text += fmt::format("| result | {} | |\n\n", kind_name(entry.result));
    text += fmt::format("Errors: {}.\n\nCost: {}.\n\n", entry.errors, entry.cost);
    if (!entry.stop.empty()) text += fmt::format("Stop: {}.\n\n", entry.stop);
    return text + example_block(entry);
}

}  // namespace

std::string functions_page() {
    std::string page(introduction);
    page += '\n';
    const Export* before = nullptr;
    for (const Export& entry : export_table()) {
        const bool begins = before == nullptr || before->family != entry.family;
        if (begins)
            page += fmt::format("{}- [{}](#{}):", before == nullptr ? "" : "\n", family_title(entry.family),
                                anchor(family_title(entry.family)));
        page += fmt::format("{} [{}](#{})", begins ? "" : ",", entry.name, anchor(entry.name));
        before = &entry;
    }
    page += '\n';
    before = nullptr;
    for (const Export& entry : export_table()) {
        if (before == nullptr || before->family != entry.family)
            page += fmt::format("\n## {}\n", family_title(entry.family));
        before = &entry;
        page += section(entry);
    }
    return page;
}

}  // namespace kesh_host
